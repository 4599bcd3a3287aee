#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// The indices of `names` among the take's markers, in the order of the names; of markers with one name the first. The
/// take must have them all: throws std::bad_optional_access otherwise. CheckMarkers tells a user which are missing.
std::vector<std::size_t> MarkerIndices(const Take& take, const std::vector<std::string>& names);

} // namespace mien
