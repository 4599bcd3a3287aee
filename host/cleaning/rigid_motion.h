#pragma once

#include "host/takes/take.h"
#include "mien/actor/actor_face.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace mien {

/// Finds the motion of a rigid body, in particular the head, from up to five markers on it.
///
/// A frame in which some of them are hidden is solved with the others, if they form a triangle whose smallest
/// angle is above 10 degrees.
class RigidMotion {
public:
  static constexpr std::size_t kSlots = 5;
  /// Nothing for a hidden marker, and in slots beyond the last marker.
  using Markers = std::array<std::optional<Point>, kSlots>;

  /// `reference`: the markers' positions before any motion.
  explicit RigidMotion(const Markers& reference) : reference_(reference) {}

  /// The rigid transform that carries the reference onto `markers`; nothing if too few of them are visible.
  std::optional<VgeAMatrix> Solve(const Markers& markers);

private:
  struct Subset {
    VActorFace actor;
    VFaceMarkerSetState reference, frame;
  };
  Subset& SubsetOf(unsigned seen);

  Markers reference_;
  std::map<unsigned, std::unique_ptr<Subset>> subsets_; // by the bits of the visible slots
};

} // namespace mien
