#pragma once

#include "mien/actor/marker_set_state.h"
#include "mien/actor/part_marker.h"
#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"

extern template class MIEN_API VArrayTemplate<VActorFacePartMarker*, 16>;

/// The performer's side of one face part: its volume, its markers' rest positions, and its markers by group.
///
/// Which points a group drives is fixed per part: Mouth 0 left corner, 1 upper lip, 2 lower lip, 3 right
/// corner, 4 chin; brows 0 the brow, 1 the inner brow (may be empty); eyes 0 upper lid, 1 lower lid; cheeks
/// and nostrils 0.
///
/// The elements of the groups are not owned: who creates them deletes them. Copies share them.
struct MIEN_API VActorFacePart {
  VgeAMatrix mMatrix;             ///< The host's; only copied.
  VFaceMarkerSetState mMarkerSet; ///< `mTransform` is the volume; `mPositions` the markers' rest positions,
                                  ///< first in head space, then in the volume's normalised space.
  VArrayTemplate<VActorFacePartMarker*, 16> mGroups[5];

  /// The entries of all five groups; a marker that is in two of them counts twice.
  int GetMarkerCount() const;
};
