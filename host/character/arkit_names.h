#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace mien {

/// The 52 shape names that phone face capture made common, in the order in which its apps write them to CSV:
/// jawRight and mouthRight come before jawLeft and mouthLeft. Other programs use other orders, so never rely
/// on positions.
// clang-format off
inline constexpr std::array<std::string_view, 52> kArkitNames = {
    "eyeBlinkLeft", "eyeLookDownLeft", "eyeLookInLeft", "eyeLookOutLeft", "eyeLookUpLeft", "eyeSquintLeft",
    "eyeWideLeft",
    "eyeBlinkRight", "eyeLookDownRight", "eyeLookInRight", "eyeLookOutRight", "eyeLookUpRight",
    "eyeSquintRight", "eyeWideRight",
    "jawForward", "jawRight", "jawLeft", "jawOpen",
    "mouthClose", "mouthFunnel", "mouthPucker", "mouthRight", "mouthLeft", "mouthSmileLeft",
    "mouthSmileRight",
    "mouthFrownLeft", "mouthFrownRight", "mouthDimpleLeft", "mouthDimpleRight", "mouthStretchLeft",
    "mouthStretchRight",
    "mouthRollLower", "mouthRollUpper", "mouthShrugLower", "mouthShrugUpper", "mouthPressLeft",
    "mouthPressRight", "mouthLowerDownLeft", "mouthLowerDownRight", "mouthUpperUpLeft", "mouthUpperUpRight",
    "browDownLeft", "browDownRight", "browInnerUp", "browOuterUpLeft", "browOuterUpRight",
    "cheekPuff", "cheekSquintLeft", "cheekSquintRight", "noseSneerLeft", "noseSneerRight", "tongueOut"};
// clang-format on

/// Which of the 52 a name means.
struct ArkitMatch {
  std::size_t name; ///< index in kArkitNames

  /// Some heads have browInnerUp and cheekPuff in two halves: which of them the name means; otherwise both.
  enum class Half { Both, Left, Right } half;

  friend bool operator==(const ArkitMatch&, const ArkitMatch&) = default;
};

/// Finds the meaning of a name, ignoring letter case and separators: "Eye_Blink_Left", "eyeBlink_L" and
/// "EyeBlinkL" mean eyeBlinkLeft. A prefix that does not end in a letter ("Head.jawOpen", "A01_Jaw_Open") and
/// everything after the last letter ("jawOpen.001") are ignored. If the prefix is also one of the 52
/// ("browDownL_browOuterUpL", a corrective for both), the name means none.
std::optional<ArkitMatch> FindArkitName(std::string_view name);

} // namespace mien
