#pragma once

#include "host/base/long_vector.h"
#include "host/cleaning/rigid_fit.h"
#include "host/takes/frame_span.h"
#include "host/takes/take.h"
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
/// `motions` transform the body of `fit` into each frame of `seen` (as many frames as motions), whose markers are
/// the body's points. `spans` are known motions that follow each other without a break. Spans shorter than five stay as
/// they are, and so do the first two and the last two motions of each. Returns the share, 0 to 1.
double CalmMotion(LongVector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans, const RigidFit& fit,
                  const Take& seen, std::size_t threads = 1);

} // namespace mien
