#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/takes/frame_span.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Takes out of a rigid body's motion what its points' own noise puts in.
///
/// Each motion is drawn towards the parabola of least squares through the five motions around it (A. Savitzky, M. J. E. Golay,
/// "Smoothing and differentiation of data by simplified least squares procedures", Anal. Chem. 36 (1964)), by one share for the
/// whole take: what the noise of the points explains of the distance between the two, as variances. A quick shake of the
/// head is farther from the parabola than noise explains, so it is hardly touched.
///
/// `motions` carry the body of `fit` to where `frames` (size: motions; of each as many points as the body) have it. `spans`:
/// motions that are known and follow each other without a break; shorter ones than five stay, and so do the first and the last
/// two of each. Returns the share, 0 to 1.
double CalmMotion(std::vector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans, const RigidFit& fit,
                  const std::vector<RigidBody::Points>& frames);

} // namespace mien
