#pragma once

#include "host/inspect/terminal.h"

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A weight over the frames of a take, to be drawn.
struct DrawnWeight {
  std::string name;
  std::vector<double> values;                               ///< (size: frames)
  std::vector<std::pair<std::size_t, std::size_t>> flagged; ///< first and last frame, by index
};

/// The weights that move most, at most six, as lines as wide as the terminal: a cell for each run of frames,
/// as high as the largest weight in it, from 0 to 1 or to the largest of all. Below a weight with flags is a
/// line that marks their cells, and below all are times. Empty if no weight moves.
///
/// Of weights that move by the same range, the first. `times` has an element per frame.
std::string WeightPicture(std::span<const double> times, std::vector<DrawnWeight> weights,
                          const Terminal& terminal);

} // namespace mien
