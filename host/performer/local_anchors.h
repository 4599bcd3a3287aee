#pragma once

#include "host/base/long_vector.h"
#include "host/base/point.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// The parts that are measured against their own rigid neighbours: brows and eyes.
inline constexpr std::array<std::size_t, 4> kAnchoredParts = {1, 2, 3, 4};

/// The anchors of a part: those that the performer names, otherwise the rigid markers that do not drive the
/// part and are nearer to its middle than 0.6 times the distance between the eyes (or else between the
/// brows). Markers missing from the neutral pose are left out. None if fewer than two remain, and for a part
/// without markers.
std::vector<std::string> AnchorsOf(std::size_t part, const Performer& performer, const NeutralPose& neutral,
                                   const RigidHead& rigid);

/// The common deviation of a part's rigid neighbours from the head.
///
/// A tracker that shifts an eye by two millimetres when the head turns shifts lids and corners alike; against
/// the head alone, the eye would seem to close. But the mean deviation of n anchors also has 1/n of the
/// variance of their own noise, which is estimated from their differences (constant offsets removed). As in a
/// Wiener filter, a gain per axis, the same for the whole take, reduces the deviation to the share that
/// exceeds the noise.
class LocalAnchors {
public:
  /// `anchors`: two or more markers in the head's frame. `rest`: their places on the neutral face (size:
  /// markers).
  LocalAnchors(const Take& anchors, const std::vector<Point>& rest);

  /// Along x, y and z: 0 to 1.
  const std::array<double, 3>& Gain() const { return gain_; }

  /// How far each anchor is steadily from its place on the neutral face, beside what all of them deviate:
  /// along x, y and z (size: markers).
  const std::vector<std::array<double, 3>>& Own() const { return own_; }

  /// A point beside the anchors, in the head's frame, without their common deviation. In frames without two
  /// visible anchors, the deviation is interpolated between the frames around; at the ends it is that of the
  /// nearest frame.
  Point Measure(const Point& place, std::size_t frame) const;

private:
  using Way = std::array<double, 3>;

  void FillUnseen(std::span<const double> times);

  LongVector<std::optional<Way>>
      ways_; // by frame; after FillUnseen nothing only in a take that never sees two
  std::array<double, 3> gain_ = {};
  std::vector<Way> own_; // (size: markers)
};

} // namespace mien
