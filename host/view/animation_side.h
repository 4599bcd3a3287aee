#pragma once

#include "host/animation/animated_head.h"
#include "host/animation/animation.h"
#include "host/view/view_page.h"

#include <string>
#include <utility>
#include <vector>

namespace mien {

/// The curves of an animation: templates, shapes, the head's turn and motion from the neutral pose, where the
/// eyes look. Those that it does not have are left out, and those of the head without `has_head`.
std::vector<ViewCurves> CurvesOf(const Animation& animation, bool has_head);

/// A head that follows an animation (AnimateHead, AnimateFace), without a place. An avatar that looks along -z is
/// turned round.
ViewHead HeadOf(AnimatedHead head, std::string name);

/// An animation without its take.
ViewSide SideOfAnimation(const Animation& animation);

/// A page of this one side with the animation's clock.
ViewPage PageOf(const Animation& animation, ViewSide side);

} // namespace mien
