#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Width and height of the video in pixels, both above 0.
struct ImageSize {
  double width = 0, height = 0;
};

/// "1280x720"; nothing for any other text.
std::optional<ImageSize> ParseImageSize(std::string_view text);

/// Millimetres, 50 to 400: such as a face is wide; nothing for any other text.
std::optional<double> ParseFaceWidth(std::string_view text);

/// What a file of mesh landmarks does not say.
struct MeshOptions {
  std::optional<ImageSize> image = {}; ///< 16:9 is assumed otherwise
  std::optional<double> face_width_mm =
      {};                ///< from point 234 to 454, above 0; the canonical eyes give the scale otherwise
  bool mirrored = false; ///< the video was: left and right change places

  bool IsDefault() const { return !image && !face_width_mm && !mirrored; }
};

/// "lm0", "lm1" ...
std::vector<std::string> MeshMarkers(std::size_t count);

/// Turns a take whose positions are a tracker's into millimetres, and notes what it assumes. The tracker's x
/// points to the image's right, y down and z away from the camera; x and y are parts of the image's width and
/// height, and z is in the scale of x, or all are in pixels, which the values show. The take's axes are (x,
/// -y, -z): the face of a performer who looks at the camera looks along +z, with y up and x to the
/// performer's left.
///
/// The scale is one for the whole take. It gives the outer corners of the eyes (points 33 and 263) their
/// distance on the canonical face, 88.918 mm, or points 234 and 454 the user's face width, in the median of
/// the frames that have both. A take with no such frame has unknown scale. In pixels, z may be in another
/// unit; then it is scaled so that the face is as deep as the canonical one. A take without any z is flat, with
/// a note.
///
/// `take` has MeshMarkers of 468 or 478. Throws InputError if the two points are in one place.
void MeshToMillimetres(Take& take, const std::string& file, const MeshOptions& options);

} // namespace mien
