#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// The same frames with these markers alone (indices, in this order). Leaves out sightings, events and notes.
Take PickMarkers(const Take& take, const std::vector<std::size_t>& markers);

} // namespace mien
