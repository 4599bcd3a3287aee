#pragma once

#include "host/weights/weight_take.h"

namespace mien {

/// Gives a take without angles of the eyes those that its eyeLook shapes mean: a weight of 1 is 35 degrees in,
/// out or down, or 25 up, as in host/character/gaze_shapes.h. Nothing without all eight of these shapes, and
/// where the take has angles. Returns whether it did.
bool SetEyesOfShapes(WeightTake& take);

} // namespace mien
