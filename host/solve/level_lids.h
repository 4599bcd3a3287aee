#pragma once

#include "host/animation/animation.h"

namespace mien {

/// Takes the slow part out of the eyes' Close, which a lowered gaze causes: the lid follows the eye. What is
/// left are blinks.
///
/// The floor of a frame is the 40th percentile of the two seconds around it, averaged over 0.3 s, and at most
/// 0.5. From there up to 1 the weight is stretched to 0 to 1, so that a closed eye stays closed however long
/// it is. The price: an eye that is held half shut opens slowly, and the correlation with the lid's height
/// falls. Nothing is measured across dropped frames.
///
/// It is meant for weights of the performer's own range, in which a blink is 1.
void LevelLids(Animation& animation);

} // namespace mien
