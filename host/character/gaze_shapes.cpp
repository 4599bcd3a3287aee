#include "host/character/gaze_shapes.h"

#include "host/character/arkit_names.h"

#include <algorithm>
#include <iterator>
#include <numbers>
#include <string_view>

namespace mien {

namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct Look {
  std::string_view name;
  std::size_t eye;
  bool is_vertical;
  double full; // degrees
};

constexpr Look kLooks[] = {
    {"eyeLookOutLeft", 0, false, 35},  {"eyeLookInLeft", 0, false, -35}, {"eyeLookDownLeft", 0, true, 35},
    {"eyeLookUpLeft", 0, true, -25},   {"eyeLookInRight", 1, false, 35}, {"eyeLookOutRight", 1, false, -35},
    {"eyeLookDownRight", 1, true, 35}, {"eyeLookUpRight", 1, true, -25},
};

} // namespace

std::vector<GazeShape> GazeShapesOf(const Character& character) {
  std::vector<GazeShape> shapes;
  for (std::size_t p = 0; p < character.parts.size(); ++p)
    for (std::size_t s = 0; s < character.parts[p].shapes.size(); ++s) {
      const auto meaning = FindArkitName(character.parts[p].shapes[s]);
      if (!meaning) continue;
      const auto look = std::find_if(std::begin(kLooks), std::end(kLooks), [&](const Look& known) {
        return known.name == kArkitNames[meaning->name];
      });
      if (look != std::end(kLooks))
        shapes.push_back({p, s, look->eye, look->is_vertical, look->full * kDegree});
    }
  return shapes;
}

} // namespace mien
