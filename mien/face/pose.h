#pragma once

// The rest pose of a part and the poses of its templates, as states. Not installed.

#include "mien/face/part.h"
#include "mien/face/part_state.h"

#include <algorithm>
#include <iterator>

namespace mien::detail {

inline VFacePartState PoseOf(const VgeTVector (&points)[7]) {
  VFacePartState pose;
  std::copy(std::begin(points), std::end(points), pose.mPoints);
  return pose;
}

inline VFacePartState RestPose(const VFacePart& part) { return PoseOf(part.mDefaultPoints); }

inline VFacePartState TemplatePose(const VFacePart& part, int j) {
  return PoseOf(part.mTemplates[j]->mPoints);
}

/// What template `j` at a weight adds to the rest pose.
inline VFacePartState WeightedDelta(const VFacePart& part, int j, double weight) {
  VFacePartState delta;
  for (int i = 0; i < 7; ++i) {
    const VgeTVector &full = part.mTemplates[j]->mPoints[i], &rest = part.mDefaultPoints[i];
    delta.mPoints[i] = {(full.x - rest.x) * weight, (full.y - rest.y) * weight, (full.z - rest.z) * weight};
  }
  return delta;
}

} // namespace mien::detail
