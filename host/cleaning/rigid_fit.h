#pragma once

#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

/// Points that are nearly rigid relative to each other.
struct RigidBody {
  using Points = std::vector<std::optional<Point>>; ///< nothing for a hidden point

  /// The points' positions in the body's own frame; nothing for a point that was never visible with the
  /// others.
  Points places;

  /// The standard deviation of each point from its place, per axis (size: places). Above 0.
  std::vector<double> spread_mm;

  /// The typical deviation of a point, per axis. Above 0.
  double noise_mm = 0;
};

/// Finds the motion of a rigid body of any number of points: the rigid transform of least squares, in which
/// each point has the weight 1 / spread². Beyond three times the noise (a marker that slipped, skin that an
/// expression moves) the weight falls with the fourth power of the distance. The nearer half of the points
/// always keeps its full weight.
class RigidFit {
public:
  explicit RigidFit(RigidBody body);

  const RigidBody& Body() const { return body_; }

  /// The transform from the body's frame to the frame of `seen` (size: places). Nothing if fewer than three
  /// points are visible, or nearly on one line. Allocates nothing.
  std::optional<VgeAMatrix> Solve(const RigidBody::Points& seen);

private:
  std::optional<VgeAMatrix> Weighted(const RigidBody::Points& seen) const;

  RigidBody body_;
  std::vector<double> full_weights_; // 1 / spread^2; 0 for a point without a place
  std::vector<double> weights_;      // of the points in the frame that is solved
  std::vector<double> squares_;      // of their distances, where the weight is above 0
  std::vector<double> counted_;      // those, in any order
};

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
