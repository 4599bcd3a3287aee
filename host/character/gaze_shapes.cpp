#include "host/character/gaze_shapes.h"

#include "host/character/arkit_names.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <numbers>
#include <string>
#include <string_view>

namespace mien {

namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct Look {
  std::string_view name;
  std::array<double, 2> eyes;
  bool is_vertical;
  double full; // degrees
};

constexpr std::array<double, 2> kLeft = {1, 0}, kRight = {0, 1}, kBoth = {0.5, 0.5};
constexpr Look kLooks[] = {
    {"eyeLookOutLeft", kLeft, false, 35},   {"eyeLookInLeft", kLeft, false, -35},
    {"eyeLookDownLeft", kLeft, true, 35},   {"eyeLookUpLeft", kLeft, true, -25},
    {"eyeLookInRight", kRight, false, 35},  {"eyeLookOutRight", kRight, false, -35},
    {"eyeLookDownRight", kRight, true, 35}, {"eyeLookUpRight", kRight, true, -25},
    {"lookLeft", kBoth, false, 35},         {"lookRight", kBoth, false, -35},
    {"lookDown", kBoth, true, 35},          {"lookUp", kBoth, true, -25},
};

} // namespace

std::vector<GazeShape> GazeShapesOf(const Character& character) {
  std::vector<GazeShape> shapes;
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s) {
      const std::string& shape = character.parts[p].shapes[s];
      const auto meaning = FindArkitName(shape);
      const std::string_view name = meaning ? kArkitNames[meaning->name] : std::string_view(shape);
      const auto look = std::find_if(std::begin(kLooks), std::end(kLooks),
                                     [&](const Look& known) { return known.name == name; });
      if (look != std::end(kLooks))
        shapes.push_back({p, s, look->eyes, look->is_vertical, look->full * kDegree});
    }
  return shapes;
}

} // namespace mien
