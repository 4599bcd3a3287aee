#pragma once

#include "host/takes/take.h"

namespace mien::trc {

/// Makes a gap of each position at exactly 0 0 0 of a marker whose nearest other position is a millimetre or more from
/// there, and notes it: programs that have no empty cell write an unseen marker so. A marker that does move through there is
/// near it in other frames too.
void ClearZeros(Take& take);

} // namespace mien::trc
