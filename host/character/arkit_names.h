#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace mien {

/// The 52 shape names that phone face capture made common, in the order in which its apps write them to CSV: jawRight
/// and mouthRight come before jawLeft and mouthLeft. Other programs use other orders, so never go by position.
// clang-format off
inline constexpr std::array<std::string_view, 52> kArkitNames = {
    "eyeBlinkLeft", "eyeLookDownLeft", "eyeLookInLeft", "eyeLookOutLeft", "eyeLookUpLeft", "eyeSquintLeft", "eyeWideLeft",
    "eyeBlinkRight", "eyeLookDownRight", "eyeLookInRight", "eyeLookOutRight", "eyeLookUpRight", "eyeSquintRight",
    "eyeWideRight",
    "jawForward", "jawRight", "jawLeft", "jawOpen",
    "mouthClose", "mouthFunnel", "mouthPucker", "mouthRight", "mouthLeft", "mouthSmileLeft", "mouthSmileRight",
    "mouthFrownLeft", "mouthFrownRight", "mouthDimpleLeft", "mouthDimpleRight", "mouthStretchLeft", "mouthStretchRight",
    "mouthRollLower", "mouthRollUpper", "mouthShrugLower", "mouthShrugUpper", "mouthPressLeft", "mouthPressRight",
    "mouthLowerDownLeft", "mouthLowerDownRight", "mouthUpperUpLeft", "mouthUpperUpRight",
    "browDownLeft", "browDownRight", "browInnerUp", "browOuterUpLeft", "browOuterUpRight",
    "cheekPuff", "cheekSquintLeft", "cheekSquintRight", "noseSneerLeft", "noseSneerRight", "tongueOut"};
// clang-format on

/// Which of the 52 a name means.
struct ArkitMatch {
  std::size_t name;

  /// Heads exist that have browInnerUp and cheekPuff in two halves: of these the one; otherwise both sides.
  enum class Half { Both, Left, Right } half;

  friend bool operator==(const ArkitMatch&, const ArkitMatch&) = default;
};

/// Matches whatever the letter case and separators: "Eye_Blink_Left", "eyeBlink_L" and "EyeBlinkL" mean eyeBlinkLeft. A
/// prefix that ends in something other than a letter ("Head.jawOpen", "A01_Jaw_Open") and what follows the last letter
/// ("jawOpen.001") do not matter; but behind another of the 52 ("browDownL_browOuterUpL", a corrective for both at once) it
/// means none.
std::optional<ArkitMatch> FindArkitName(std::string_view name);

} // namespace mien
