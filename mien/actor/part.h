#pragma once

#include "mien/actor/marker_set_state.h"
#include "mien/actor/part_marker.h"
#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"

extern template class MIEN_API VArrayTemplate<VActorFacePartMarker*, 16>;

/// The performer's side of one face part: its volume, its markers' rest positions, and its markers by group.
///
/// Each part has a fixed meaning for its groups: Mouth 0 left corner, 1 upper lip, 2 lower lip, 3 right
/// corner, 4 chin; brows 0 the brow, 1 the inner brow (may be empty); eyes 0 upper lid, 1 lower lid; cheeks
/// and nostrils 0.
struct MIEN_API VActorFacePart {
  /// For the host's use; only copied.
  VgeAMatrix mMatrix;
  /// `mTransform` is the volume; `mPositions` are the markers' rest positions, first in head space, then in
  /// the volume's normalised space.
  VFaceMarkerSetState mMarkerSet;
  /// The markers by group. The entries are not owned: their creator deletes them. Copies share them.
  VArrayTemplate<VActorFacePartMarker*, 16> mGroups[5];

  /// The number of entries in all five groups; a marker in two groups counts twice.
  int GetMarkerCount() const;
};
