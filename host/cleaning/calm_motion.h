#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/takes/frame_span.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Removes from a rigid body's motion what the noise of its points adds.
///
/// Each motion is moved towards the least-squares parabola through the five motions around it (A. Savitzky,
/// M. J. E. Golay, "Smoothing and differentiation of data by simplified least squares procedures", Anal.
/// Chem. 36 (1964)), by one share for the whole take: the variance that the points' noise explains, over the
/// variance of the distance from the parabola. A quick shake of the head is much farther from the parabola
/// than noise explains, so it hardly changes.
///
/// `motions` transform the body of `fit` into each of `frames` (size: motions; each has as many points as the
/// body). `spans` are known motions that follow each other without a break. Spans shorter than five stay as
/// they are, and so do the first two and the last two motions of each. Returns the share, 0 to 1.
double CalmMotion(std::vector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans, const RigidFit& fit,
                  const std::vector<RigidBody::Points>& frames);

} // namespace mien
