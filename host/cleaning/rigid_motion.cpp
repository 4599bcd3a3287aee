#include "host/cleaning/rigid_motion.h"

namespace mien {

// The library matches head markers by their rank among those present, so each set of visible markers has its
// own set-up.
RigidMotion::Subset& RigidMotion::SubsetOf(unsigned seen) {
  std::unique_ptr<Subset>& subset = subsets_[seen];
  if (!subset) {
    subset = std::make_unique<Subset>();
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
      if (!(seen >> slot & 1)) continue;
      const Point& p = *reference_[slot];
      subset->reference.mRBPresent[slot] = subset->frame.mRBPresent[slot] = true;
      subset->reference.mRBPositions[slot] = {p.x, p.y, p.z};
    }
    subset->actor.SetupRBMarkers(&subset->reference);
    subset->actor.SetupRBTPI(&subset->reference);
  }
  return *subset;
}

std::optional<VgeAMatrix> RigidMotion::Solve(const Markers& markers) {
  unsigned seen = 0;
  for (std::size_t slot = 0; slot < kSlots; ++slot)
    if (markers[slot] && reference_[slot]) seen |= 1u << slot;

  Subset& subset = SubsetOf(seen);
  if (!subset.reference.mRBValid) return std::nullopt;
  for (std::size_t slot = 0; slot < kSlots; ++slot)
    if (seen >> slot & 1)
      subset.frame.mRBPositions[slot] = {markers[slot]->x, markers[slot]->y, markers[slot]->z};
  subset.actor.ReferenceFromRBMarker(&subset.frame, &subset.reference);
  if (!subset.frame.mRBValid) return std::nullopt;
  return subset.frame.mTransform;
}

} // namespace mien
