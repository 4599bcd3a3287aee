#include "host/weights/eyes_of_shapes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numbers>
#include <optional>
#include <string_view>

namespace mien {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kSideways = 35 * kDegree, kDown = 35 * kDegree, kUp = 25 * kDegree;

} // namespace

bool SetEyesOfShapes(WeightTake& take) {
  if (!take.eyes.empty()) return false;
  constexpr std::string_view kNames[2][4] = {
      // towards the performer's left and right, down, up
      {"eyeLookOutLeft", "eyeLookInLeft", "eyeLookDownLeft", "eyeLookUpLeft"},
      {"eyeLookInRight", "eyeLookOutRight", "eyeLookDownRight", "eyeLookUpRight"}};
  std::array<std::array<std::size_t, 4>, 2> columns{};
  for (const std::size_t eye : {0U, 1U})
    for (std::size_t i = 0; i < 4; ++i) {
      const auto found = std::find(take.names.begin(), take.names.end(), kNames[eye][i]);
      if (found == take.names.end()) return false;
      columns[eye][i] = static_cast<std::size_t>(found - take.names.begin());
    }
  take.eyes.resize(take.frames.size());
  for (std::size_t f = 0; f < take.frames.size(); ++f)
    for (const std::size_t eye : {0U, 1U}) {
      const auto weight = [&](std::size_t i) { return take.Weight(f, columns[eye][i]); };
      take.eyes[f][eye] = {.yaw = kSideways * (weight(0) - weight(1)),
                           .pitch = kDown * weight(2) - kUp * weight(3)};
    }
  return true;
}

} // namespace mien
