#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Landmark CSV: what trackers of 68 face landmarks in video write. One row per frame and face; columns are
/// found by their names, among any others: `timestamp` (seconds), `X_0`..`X_67`, `Y_0`..`Y_67`, `Z_0`..`Z_67`
/// (millimetres), and if there `frame`, `face_id`, `success`, `confidence`. Frames and times may have other
/// names and be missing (csv_frames.h). Gaze is read from its columns (gaze_columns.h).
///
/// The file's axes are the camera's: x to the image's right, y down, z away from the camera. The take's are
/// (x, -y, -z): the face of a performer who looks at the camera looks along +z, with y up and x to the
/// performer's left. The markers are "lm0" to "lm67". A frame with success 0 is a gap of all of them, without
/// that column one with a confidence below 0.5. A landmark at (0, 0, 0), the camera itself, was not tracked.
/// One with a cell that is empty, NaN or infinite is a gap, with a note.
///
/// A file that has `x_0`..`x_67`, `y_0`..`y_67` (pixels) instead gives (x, -y, 0) in pixels, and a note; (0,
/// 0) was not tracked.
bool IsLandmarkCsv(const std::vector<std::string_view>& columns);

/// Whether the columns of such a table have landmarks at all: trackers may leave them out.
bool HasLandmarks(const std::vector<std::string_view>& columns);

/// Of several faces, reads the one of `face_id`, or without it the first. `input_rate` is the rate of a table
/// without times. Throws InputError if there is no row of the face, and for a landmark beyond 67: the table
/// is of another scheme, in which the first 68 are other places of the face.
Take ReadLandmarkCsv(std::string_view bytes, const std::string& file,
                     std::optional<std::int64_t> face_id = std::nullopt,
                     const std::optional<FrameRate>& input_rate = std::nullopt);

/// Writes a take that has the markers lm0 to lm67: millimetres with `decimals` digits (0 or more; trackers
/// write 1), times with 3 digits or `decimals`, whichever is more. Throws InputError if a marker is missing.
void WriteLandmarkCsv(const Take& take, std::ostream& out, int decimals = 1);

} // namespace mien
