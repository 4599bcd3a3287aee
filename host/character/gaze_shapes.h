#pragma once

#include "host/character/character.h"

#include <array>
#include <cstddef>
#include <vector>

namespace mien {

/// A shape of a character that follows an eye: one that means `eyeLookUpLeft` and the like, in any spelling; or
/// that follows both: `lookUp`, `lookDown`, `lookLeft` and `lookRight`, as avatars spell them.
///
/// Its weight is the angle divided by `full`, and 0 for an angle of the other sign. At a weight of 1 an eye
/// looks 35 degrees in, out or down, or 25 up. So do the weights of phone apps, which measure both: 33 to 36
/// degrees sideways, 35 down and 24 up. An eye can turn by some 45 degrees; from about 30 on the head follows
/// it.
struct GazeShape {
  std::size_t part = 0;
  std::size_t shape = 0;           ///< of the part
  std::array<double, 2> eyes = {}; ///< the share of the performer's left and of the right eye: 1 together
  bool is_vertical = false;
  double full = 0; ///< radians, with the sign of the yaw (positive to the left) or the pitch (positive down)
};

/// All of them, in the character's order.
std::vector<GazeShape> GazeShapesOf(const Character& character);

} // namespace mien
