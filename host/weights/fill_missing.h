#pragma once

#include "host/weights/weight_take.h"

#include <cstddef>

namespace mien {

/// Fills what is missing in a take's weights and angles, as missing markers are filled (rest_in_gaps.h): on
/// the straight line from the value before to the value after, which fades to 0 within `fade_s` seconds and
/// leaves 0 in the same time before the next value. Returns the frames in which a weight was missing.
std::size_t FillMissing(WeightTake& take, double fade_s);

} // namespace mien
