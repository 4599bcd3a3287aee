#pragma once

#include "host/compare/comparison.h"
#include "host/view/view_page.h"

namespace mien {

/// A page of two animations or two takes on the frames that they have in common, with how each curve differs.
/// Animations are shown on the built-in head.
ViewPage PageOf(const Comparison& comparison);

} // namespace mien
