#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// The same frames with only these markers (indices, in this order), without sightings, events and notes.
Take PickMarkers(const Take& take, const std::vector<std::size_t>& markers, std::size_t threads = 1);

/// The same without a frame: for others of these markers in the same axes.
Take WithoutFrames(const Take& take, const std::vector<std::size_t>& markers);

} // namespace mien
