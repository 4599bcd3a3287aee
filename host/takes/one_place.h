#pragma once

#include "host/takes/take.h"

namespace mien {

/// Whether all markers are in one place, to a micrometre, in every frame that has two or more; false where
/// none has.
bool IsOnePlace(const Take& take);

} // namespace mien
