#pragma once

#include "host/takes/take.h"

namespace mien::trc {

/// Turns positions at exactly 0 0 0 into gaps, with a note, where the marker's nearest other position is a
/// millimetre or more away: programs without empty cells write a marker so that they did not see. A marker
/// that moves through this point is near it in other frames too.
void ClearZeros(Take& take);

} // namespace mien::trc
