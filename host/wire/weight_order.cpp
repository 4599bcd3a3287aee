#include "host/wire/weight_order.h"

#include "host/character/arkit_names.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>

namespace mien {

namespace {

using Names = std::array<std::string, 52>;

// clang-format off
constexpr std::string_view kFace[] = {
    "browInnerUp", "browDownLeft", "browDownRight", "browOuterUpLeft", "browOuterUpRight",
    "eyeLookUpLeft", "eyeLookUpRight", "eyeLookDownLeft", "eyeLookDownRight", "eyeLookInLeft",
    "eyeLookInRight", "eyeLookOutLeft", "eyeLookOutRight", "eyeBlinkLeft", "eyeBlinkRight", "eyeSquintLeft", "eyeSquintRight",
    "eyeWideLeft", "eyeWideRight", "cheekPuff", "cheekSquintLeft", "cheekSquintRight", "noseSneerLeft",
    "noseSneerRight"};
constexpr std::string_view kJaw[] = {"jawOpen", "jawForward", "jawLeft", "jawRight"};
constexpr std::string_view kFunnel[] = {"mouthFunnel", "mouthPucker"};
constexpr std::string_view kSideways[] = {"mouthLeft", "mouthRight"};
constexpr std::string_view kMouth[] = {
    "mouthRollUpper", "mouthRollLower", "mouthShrugUpper", "mouthShrugLower", "mouthClose", "mouthSmileLeft",
    "mouthSmileRight", "mouthFrownLeft", "mouthFrownRight", "mouthDimpleLeft", "mouthDimpleRight",
    "mouthUpperUpLeft", "mouthUpperUpRight", "mouthLowerDownLeft", "mouthLowerDownRight", "mouthPressLeft",
    "mouthPressRight", "mouthStretchLeft", "mouthStretchRight"};
constexpr std::string_view kTongue[] = {"tongueOut"};
// clang-format on

Names Joined(std::initializer_list<std::span<const std::string_view>> groups) {
  Names names;
  auto end = names.begin();
  for (const auto group : groups) end = std::copy(group.begin(), group.end(), end);
  return names;
}

Names PhoneNames() {
  Names names;
  std::copy(kArkitNames.begin(), kArkitNames.end(), names.begin());
  for (const std::string_view right : {"jawRight", "mouthRight"}) {
    const auto at = std::find(names.begin(), names.end(), right);
    std::iter_swap(at, at + 1); // the left one follows it
  }
  return names;
}

} // namespace

const Names& NamesInOrder(WeightOrder order) {
  static const Names phone = PhoneNames();
  static const Names jaw_first = Joined({kFace, kJaw, kFunnel, kSideways, kMouth, kTongue});
  static const Names jaw_last = Joined({kFace, kFunnel, kMouth, kSideways, kJaw, kTongue});
  return order == WeightOrder::Phone ? phone : order == WeightOrder::JawFirst ? jaw_first : jaw_last;
}

} // namespace mien
