#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace mien {

/// A pose that a performer is asked for, to measure what their face does at full strength.
struct GuidedPose {
  std::string_view name;                   ///< "jaw-open"
  std::string_view what;                   ///< to do, for the performer
  int seconds;                             ///< how long to hold it
  std::vector<std::string_view> shapes;    ///< of the 52 of phone face capture, those at full strength
  std::vector<std::string_view> templates; ///< those that read 1 in it: "Mouth.Open"
};

/// The fixed list of 17, in the order in which they are performed. The first is the face at rest. Together
/// they show every template of the face. Poses are symmetric, except for those that push the mouth to a side.
std::span<const GuidedPose> GuidedPoses();

/// The one of this name; null if there is none.
const GuidedPose* FindGuidedPose(std::string_view name);

inline constexpr std::string_view kRestPose = "rest";

} // namespace mien
