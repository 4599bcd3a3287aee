#pragma once

#include "host/takes/take.h"
#include "mien/actor/actor_face.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace mien {

/// Finds where a rigid body has gone, above all the head, from up to five markers on it.
///
/// A frame in which some of them are hidden is solved with those that are left, as long as they hold a
/// triangle whose smallest angle is above 10 degrees.
class RigidMotion {
public:
  static constexpr std::size_t kSlots = 5;
  using Markers =
      std::array<std::optional<Point>, kSlots>; ///< nothing for a hidden marker, and beyond the last

  /// `reference`: the markers' places when the body has not moved.
  explicit RigidMotion(const Markers& reference) : reference_(reference) {}

  /// The rigid transform that carries the reference onto `markers`; nothing where too few of them are seen.
  std::optional<VgeAMatrix> Solve(const Markers& markers);

private:
  struct Subset {
    VActorFace actor;
    VFaceMarkerSetState reference, frame;
  };
  Subset& SubsetOf(unsigned seen);

  Markers reference_;
  std::map<unsigned, std::unique_ptr<Subset>> subsets_; ///< by the seen slots' bits
};

} // namespace mien
