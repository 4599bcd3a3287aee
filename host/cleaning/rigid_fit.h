#pragma once

#include "host/cleaning/rigid_body.h"
#include "host/cleaning/rigid_fit_lanes.h"
#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace mien {

/// Finds the motion of a rigid body of any number of points: the rigid transform of least squares, in which
/// each point has the weight 1 / spread². Beyond three times the noise (a marker that slipped, skin that an
/// expression moves) the weight falls with the fourth power of the distance. The nearer half of the points
/// always keeps its full weight.
class RigidFit {
public:
  explicit RigidFit(RigidBody body)
      : body_(std::move(body)), constants_(FitBodyOf(body_)), frame_(body_.places.size(), 1) {}

  const RigidBody& Body() const { return body_; }

  /// The transform from the body's frame to the frame of `seen` (size: places). Nothing if fewer than three
  /// points are visible, or nearly on one line. Allocates nothing.
  std::optional<VgeAMatrix> Solve(const RigidBody::Points& seen);

private:
  RigidBody body_;
  FitBody constants_;
  FitFrames frame_;
};

/// The most frames of a take that LearnRigidBody looks at: evenly spread over it, from the first on.
inline constexpr std::size_t kMostLearnedFrames = 1000;

/// Learns the body of these markers (indices) from a whole take. Its frame has the take's axes and the body's
/// pose in the frame in which most of the markers are visible.
///
/// A place is the median over all frames. The spread is estimated from the 90th percentile of the deviations,
/// so that a marker that moves in a fifth of the frames has a large one; the noise from the median. The fewer
/// markers there are, the more similar the spreads are made: a marker that seems to be still may be one that
/// the fit follows.
///
/// A marker has a place if it is visible in the frame with most markers, or in any other together with three
/// that have a place. Of a take with more than a thousand frames, a thousand are used, evenly spread.
RigidBody LearnRigidBody(const Take& take, const std::vector<std::size_t>& markers);

} // namespace mien
