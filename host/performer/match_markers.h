#pragma once

#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// The indices of `names` among the take's markers.
std::vector<std::size_t> MarkerIndices(const Take& take, const std::vector<std::string>& names);

/// Throws InputError for every marker that the performer names and the take lacks, each by its place in the
/// performer file, with the name in the take that comes near.
void CheckMarkers(const Performer& performer, const Take& take);

} // namespace mien
