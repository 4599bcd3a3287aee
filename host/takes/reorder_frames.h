#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Puts the take's frames into another order: what was at place `order[i]` comes to place i. `order` has
/// every place once.
void ReorderFrames(Take& take, const std::vector<std::size_t>& order);

} // namespace mien
