#pragma once

#include "host/weights/weight_take.h"

namespace mien {

/// Exchanges left and right, for a take of a mirrored video or of an app that confuses them: the names of
/// shapes and templates, and the angles of eyes and head, and the head's place. Names without a side stay.
void SwapSides(WeightTake& take);

} // namespace mien
