#pragma once

#include "host/base/point.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The parts that are measured against rigid neighbours of their own: brows and eyes.
inline constexpr std::array<std::size_t, 4> kAnchoredParts = {1, 2, 3, 4};

/// The anchors of a part: those that the performer names, or else the rigid markers that drive nothing of the part and are
/// nearer to its middle than 0.6 times the distance between the eyes (or, without these, the brows). Markers that the neutral
/// pose lacks are left out. None where fewer than two are left, and for a part without markers.
std::vector<std::string> AnchorsOf(std::size_t part, const Performer& performer, const NeutralPose& neutral,
                                   const RigidHead& rigid);

/// What the rigid neighbours of a part say of it: how far they stray from the head in common.
///
/// A tracker that shifts an eye by two millimetres as the head turns shifts lids and corners alike; with the head's motion
/// alone removed, the eye would seem to close. But the common way of n anchors holds their own noise as well, 1/n of it. How
/// much that is shows in how they differ from each other, a steady distance of each aside; the way is weakened to the share
/// that exceeds it, as a Wiener filter does it, along each axis by one gain for the whole take.
class LocalAnchors {
public:
  /// `anchors`: two or more markers in the head's frame. `rest`: their places on the neutral face (size: markers of the take).
  LocalAnchors(const Take& anchors, const std::vector<Point>& rest);

  /// The share along x, y and z that is no noise: 0 to 1.
  const std::array<double, 3>& Gain() const { return gain_; }

  /// A point beside the anchors in the head's frame, with their common way taken away. In a frame without two anchors the way
  /// is even between the frames around; at the ends of the take as in the nearest one.
  Point Measure(const Point& place, std::size_t frame) const;

private:
  using Way = std::array<double, 3>;

  void FillUnseen(const std::vector<double>& times);

  std::vector<std::optional<Way>>
      ways_; // by frame; after FillUnseen nothing only in a take that never sees two
  std::array<double, 3> gain_ = {};
};

} // namespace mien
