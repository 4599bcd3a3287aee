#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Up to five of these markers (indices) that are rigid relative to each other: the distance between any two
/// of them hardly changes over the take. A cap and skin that slides below it do not mix. Markers that are
/// far apart are preferred to close ones. Fewer than three if no three are rigid.
std::vector<std::size_t> ChooseHeadMarkers(const Take& take, const std::vector<std::size_t>& candidates);

} // namespace mien
