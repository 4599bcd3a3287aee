#pragma once

#include "mien/base/geometry.h"

#include <array>
#include <cstddef>

namespace mien {

/// Where on a face a marker may be. Each region except those on the mid-line exists on both sides.
enum Region : std::size_t {
  kInnerBrow,
  kMiddleBrow,
  kOuterBrow,
  kGlabella, ///< between the brows
  kForehead,
  kMiddleForehead,
  kUpperLid,
  kLowerLid,
  kInnerEyeCorner,
  kOuterEyeCorner,
  kNoseRoot,
  kNoseTip,
  kNoseSide,
  kNoseWing,
  kUpperCheek,
  kCheekbone,
  kMiddleCheek,
  kLowerCheek,
  kUpperLip,
  kMiddleUpperLip,
  kMouthCorner,
  kLowerLip,
  kMiddleLowerLip,
  kSideChin,
  kMiddleChin,
  kJawSide
};

inline constexpr std::size_t kRegionCount = kJawSide + 1;

/// A region's usual place and how far markers there are from it (standard deviation per axis), in millimetres
/// of an average adult face: x sideways from the mid-line, not negative; y up and z forward from the root of
/// the nose between the inner corners of the eyes. Proportions, not measures: a face is scaled to them.
struct RegionPlace {
  std::array<double, 3> place;
  std::array<double, 3> deviation;

  bool IsOnMidLine() const { return place[0] == 0; }
};

/// In the order of Region.
const std::array<RegionPlace, kRegionCount>& FaceAtlas();

/// How well each region explains a marker at `place` (the atlas's axes, either side): 1 at the region's own
/// place, towards 0 with the distance.
std::array<double, kRegionCount> RegionLikelihoods(const VgeTVector& place);

} // namespace mien
