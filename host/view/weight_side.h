#pragma once

#include "host/view/view_page.h"
#include "host/weights/weight_take.h"

namespace mien {

/// A recording of weights on the built-in head. What is missing in it is filled as `mien retarget` fills it, and
/// shown as gaps. `page` keeps what the head follows.
ViewSide SideOfWeights(WeightTake take, ViewPage& page);

/// The same on a head of its own. Throws InputError as AnimateHead does.
ViewSide SideOfWeights(WeightTake take, const Glb& head, const HeadNodes& nodes, ViewPage& page);

} // namespace mien
