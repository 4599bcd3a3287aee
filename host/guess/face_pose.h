#pragma once

#include "mien/base/geometry.h"

#include <optional>
#include <vector>

namespace mien {

/// How a cloud of markers lies on the average face.
struct FacePose {
  VgeAMatrix to_face; ///< a rotation, a scale and a shift, from the cloud's axes to those of the atlas
  double scale = 1;   ///< of `to_face`

  /// The mean over the markers of the logarithm of their likelihood: -0.3 to -0.9 for markers on a face,
  /// -4.6 for markers that are all far from every region.
  double fit = 0;

  /// The fit of the best pose that looks or stands another way, by 45 degrees or more; -4.6 if there is none.
  double rival_fit = 0;
};

/// Finds the pose in which the atlas (face_atlas.h) explains the markers best: the mid-line is a plane of
/// symmetry of the cloud, and every direction in it is tried as up, either way out of the face. `points` in
/// millimetres. Nothing if they have no plane of symmetry.
std::optional<FacePose> FindFacePose(const std::vector<VgeTVector>& points);

/// The same for slightly other points, near a pose that was found; the rival's fit is kept.
FacePose ImproveFacePose(const std::vector<VgeTVector>& points, const FacePose& pose);

} // namespace mien
