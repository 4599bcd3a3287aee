#pragma once

#include "host/performer/performer.h"
#include "mien/base/geometry.h"

namespace mien {

/// The rigid transform from a face that looks along +z, x to its own left, y up, to where the neutral pose
/// has it.
///
/// x runs from the markers of the right parts to those of the left ones; y from the mouth (or else the
/// nostrils, or the cheeks) to the brows (or else the eyes), square to x; the origin is the middle of the
/// head markers, or else of all. Throws InputError where the performer has not the markers for that, or they
/// lie on a line.
VgeAMatrix NeutralHead(const Performer& performer, const NeutralPose& neutral);

} // namespace mien
