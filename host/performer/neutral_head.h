#pragma once

#include "host/performer/performer.h"
#include "mien/base/geometry.h"

namespace mien {

/// The rigid transform from a face that looks along +z, with x to its own left and y up, to the neutral pose.
///
/// x points from the markers of the right parts to those of the left parts; y from the mouth (if it has no
/// markers, from the nostrils or the cheeks) to the brows (if they have none, the eyes), perpendicular to x.
/// The origin is the mean of the head markers or, without any, of all. Throws InputError if the performer
/// lacks markers for this, or if they are on a line.
VgeAMatrix NeutralHead(const Performer& performer, const NeutralPose& neutral);

} // namespace mien
