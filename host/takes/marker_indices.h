#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// The indices of `names` among the take's markers, in the order of the names; of equal names the first. The
/// take must have all of them: throws std::bad_optional_access otherwise. CheckMarkers reports to users which
/// are missing.
std::vector<std::size_t> MarkerIndices(const Take& take, const std::vector<std::string>& names);

} // namespace mien
