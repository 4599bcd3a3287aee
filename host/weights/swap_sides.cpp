#include "host/weights/swap_sides.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace mien {
namespace {

// "mouthSmileLeft" for "mouthSmileRight", "LeftEye.Close", "Mouth.CornersUpL"; any other name as it is.
std::string OtherSide(const std::string& name) {
  for (const auto& [from, to] : {std::pair<std::string_view, std::string_view>("Left", "Right"),
                                 std::pair<std::string_view, std::string_view>("Right", "Left")}) {
    if (name.ends_with(from)) return name.substr(0, name.size() - from.size()) + std::string(to);
    if (name.starts_with(from)) return std::string(to) + name.substr(from.size());
  }
  if (name.starts_with("Mouth.Corners") && name.ends_with('L')) return name.substr(0, name.size() - 1) + 'R';
  if (name.starts_with("Mouth.Corners") && name.ends_with('R')) return name.substr(0, name.size() - 1) + 'L';
  return name;
}

} // namespace

void SwapSides(WeightTake& take) {
  for (std::string& name : take.names) name = OtherSide(name);
  for (Eyes& eyes : take.eyes) {
    std::swap(eyes[0], eyes[1]);
    for (EyeAngles& eye : eyes) eye.yaw = -eye.yaw;
  }
  for (HeadAngles& head : take.heads) {
    head.yaw = -head.yaw;
    head.roll = -head.roll;
  }
  for (Point& place : take.head_places) place.x = -place.x;
}

} // namespace mien
