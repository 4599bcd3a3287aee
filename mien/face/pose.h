#pragma once

/// @file
/// The rest pose of a part and the poses of its templates, as states. Not installed.

#include "mien/face/part.h"
#include "mien/face/part_state.h"

#include <algorithm>
#include <iterator>

namespace mien::detail {

/// A state of these points.
inline VFacePartState PoseOf(const VgeTVector (&points)[7]) {
  VFacePartState pose;
  std::copy(std::begin(points), std::end(points), pose.mPoints);
  return pose;
}

/// The rest pose of a part.
inline VFacePartState RestPose(const VFacePart& part) { return PoseOf(part.mDefaultPoints); }

/// The pose of template `j` of a part.
inline VFacePartState TemplatePose(const VFacePart& part, int j) {
  return PoseOf(part.mTemplates[j]->mPoints);
}

/// Adds to `points` the offset from the rest pose that template `j` has at this weight.
inline void AddDelta(VgeTVector (&points)[7], const VFacePart& part, int j, double weight) {
  const VgeTVector *const full = part.mTemplates[j]->mPoints, *const rest = part.mDefaultPoints;
  for (int i = 0; i < 7; ++i) {
    points[i].x += (full[i].x - rest[i].x) * weight;
    points[i].y += (full[i].y - rest[i].y) * weight;
    points[i].z += (full[i].z - rest[i].z) * weight;
  }
}

} // namespace mien::detail
