#pragma once

#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_take.h"
#include "host/takes/take.h"

namespace mien {

/// Adds to a solved take where the eyes look, if the take shows it: by its own directions (Take::gaze), or
/// else by the performer's irises.
///
/// 1. A direction in the take's axes is turned into the head's. An iris is measured against the eye's anchors
///    and its own place on the neutral face; it is carried by an eye of which it is 10.5 mm away from the
///    centre: an eyeball has a radius of 12 mm, an iris of 5.85.
/// 2. An eye whose Close is 0.7 or more is left out: the lid covers its pupil. Not for eye angles, whose
///    apps already did that.
/// 3. The eyes look in one direction, the mean of both: no tracker of these sees them converge. Eye angles of
///    an app are kept apart.
/// 4. What the neutral face looks at is straight ahead: the median over its frames, or over all if they are
///    not of this take, is turned there. Irises have their neutral place already.
/// 5. Angles are limited to 50 degrees. Gaps up to half a second, such as blinks, are filled on a straight
///    line; in longer ones the eyes look straight ahead, with the fade of missing markers.
/// 6. The angles are smoothed if asked for.
void SolveGaze(SolvedTake& solved, const Take& take, const Performer& performer, const Neutral& neutral,
               const SolveOptions& options);

} // namespace mien
