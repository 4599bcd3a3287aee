#pragma once

#include "host/takes/take.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Landmark CSV: what trackers of 68 face landmarks in video write. One row per frame and face; columns are
/// known by their names, among any others: `timestamp` (seconds), `X_0`..`X_67`, `Y_0`..`Y_67`, `Z_0`..`Z_67`
/// (millimetres), and if there `frame`, `face_id`, `success`.
///
/// The file's axes are the camera's: x to the image's right, y down, z away from the camera. The take's are
/// (x, -y, -z): the face of a performer who looks at the camera looks along +z, with y up and x to the
/// performer's left. The markers are "lm0" to "lm67". A frame with success 0 is a gap of all of them; a
/// landmark at (0, 0, 0), the camera itself, was not tracked. Of several faces the first is read.
bool IsLandmarkCsv(const std::vector<std::string_view>& columns);
Take ReadLandmarkCsv(std::string_view bytes, const std::string& file);

/// Writes a take that has the markers lm0 to lm67. Millimetres get `decimals` digits (0 or more; trackers
/// write 1), times 3 or, if that is more, `decimals`. Throws InputError if a marker is missing.
void WriteLandmarkCsv(const Take& take, std::ostream& out, int decimals = 1);

} // namespace mien
