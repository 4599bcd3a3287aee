#pragma once

#include "host/takes/take.h"

namespace mien {

/// Makes gaps of positions of which a coordinate is beyond a kilometre, with a note: no take of a face has any, and they
/// would decide every mean and sum that they enter.
void ClearFarPositions(Take& take);

/// Whether all markers are in one place, to a micrometre, in every frame that has two or more; false where none has.
bool IsOnePlace(const Take& take);

} // namespace mien
