#pragma once

#include "host/performer/performer.h"
#include "host/takes/take.h"

namespace mien {

/// Throws InputError for every marker that the performer names and the take lacks, each by its place in the
/// performer file, with the name in the take that comes near.
void CheckMarkers(const Performer& performer, const Take& take);

} // namespace mien
