#pragma once

#include "host/animation/animation.h"
#include "host/weights/weight_take.h"

namespace mien {

/// A recording without missing values as an animation: its clock, the head and the eyes, and its weights. Those
/// of templates are in the order of all templates, 0 for those that it lacks; all others are shapes, and the
/// animation has no templates.
Animation ToAnimation(const WeightTake& take);

} // namespace mien
