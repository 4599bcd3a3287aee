#pragma once

#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

/// Which points mirror each other about x = 0 (size: points): a point of the other side, the point itself on
/// the mid-line, or nothing. Of all ways to pair the sides, it is the one with the least sum of squared
/// distances to mirror images; a pair is at most 13 mm from symmetry, and a point without one counts as much
/// as such a pair.
std::vector<std::optional<std::size_t>> FindCounterparts(const std::vector<VgeTVector>& points);

} // namespace mien
