#pragma once

#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

/// Points that keep their places on a rigid body, each as well as it can.
struct RigidBody {
  using Points = std::vector<std::optional<Point>>; ///< nothing for a hidden point

  Points places; ///< where the body has not moved; nothing for a point that was never seen with it
  std::vector<double>
      spread_mm; ///< how far each point strays from its place, as a standard deviation per axis; above 0
                 ///< (size: places)
  double noise_mm = 0; ///< how far points stray most of the time, per axis; above 0
};

/// Finds where a rigid body of any number of points has gone: the rigid transform of least squares, in which a point counts
/// by the inverse square of its spread. A point that is more than three times the noise off its place (a marker that
/// slipped, skin that an expression moves) counts less, by the fourth power of the distance, until it counts for nothing; but
/// the nearer half of the points always counts in full.
class RigidFit {
public:
  explicit RigidFit(RigidBody body);

  const RigidBody& Body() const { return body_; }

  /// From the body that has not moved to where `seen` (size: places) has it. Nothing where fewer than three points are seen,
  /// or all that count stand nearly on one line. Allocates nothing.
  std::optional<VgeAMatrix> Solve(const RigidBody::Points& seen);

private:
  std::optional<VgeAMatrix> Weighted(const RigidBody::Points& seen) const;

  RigidBody body_;
  std::vector<double> weights_; // of the points in the frame that is solved
  std::vector<double> squares_; // of the distances of those that count
};

/// The body that these markers (indices) of a take make, learned from the whole take, in the axes of the take, where the body
/// is in the frame that sees most of the markers.
///
/// A place is the median over all frames. The spread is what nine of ten frames suggest (so that a marker that strays in a
/// fifth of them counts as straying), the noise what half of them do. The fewer markers there are, the more the spreads are
/// made alike: a marker that seems to hold still may be one that the fit follows.
///
/// A marker has a place if it is seen in the frame that sees most of them, or in any other with three that have a place. A
/// take of more than a thousand frames is learned from a thousand of them, evenly spread.
RigidBody LearnRigidBody(const Take& take, const std::vector<std::size_t>& markers);

} // namespace mien
