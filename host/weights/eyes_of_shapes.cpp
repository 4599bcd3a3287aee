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

std::optional<EyesOfShapes> EyesOfShapes::Among(const std::vector<std::string>& names) {
  constexpr std::string_view kNames[2][4] = {
      // towards the performer's left and right, down, up
      {"eyeLookOutLeft", "eyeLookInLeft", "eyeLookDownLeft", "eyeLookUpLeft"},
      {"eyeLookInRight", "eyeLookOutRight", "eyeLookDownRight", "eyeLookUpRight"}};
  EyesOfShapes eyes;
  for (const std::size_t eye : {0U, 1U})
    for (std::size_t i = 0; i < 4; ++i) {
      const auto found = std::find(names.begin(), names.end(), kNames[eye][i]);
      if (found == names.end()) return std::nullopt;
      eyes.columns_[eye][i] = static_cast<std::size_t>(found - names.begin());
    }
  return eyes;
}

Eyes EyesOfShapes::At(std::span<const double> weights) const {
  Eyes eyes;
  for (const std::size_t eye : {0U, 1U}) {
    const auto weight = [&](std::size_t i) { return weights[columns_[eye][i]]; };
    eyes[eye] = {.yaw = kSideways * (weight(0) - weight(1)), .pitch = kDown * weight(2) - kUp * weight(3)};
  }
  return eyes;
}

bool SetEyesOfShapes(WeightTake& take) {
  if (!take.eyes.empty()) return false;
  const std::optional<EyesOfShapes> eyes = EyesOfShapes::Among(take.names);
  if (!eyes) return false;
  const std::size_t names = take.names.size();
  take.eyes.resize(take.frames.size());
  for (std::size_t f = 0; f < take.frames.size(); ++f)
    take.eyes[f] = eyes->At(take.weights.subspan(f * names, names));
  return true;
}

} // namespace mien
