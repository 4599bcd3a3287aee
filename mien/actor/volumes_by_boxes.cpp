#include "mien/actor/actor_face.h"
#include "mien/actor/entries.h"
#include "mien/actor/volume.h"

using namespace mien::detail;

// Each volume is the box around its part's markers. A flat box takes its size from another axis.
bool VActorFace::SetupFindVolumesMethod2(const VFaceMarkerSetState* set) {
  for (VActorFacePart& part : mParts) {
    if (part.GetMarkerCount() == 0) continue;
    Box box(kFarAway);
    ForEachEntry(part,
                 [&](const VActorFacePartMarker& entry) { box.Add(set->mPositions[entry.mMarker->mIndex]); });

    VgeSVector size(box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z);
    if (size.x == 0) size.x = size.y != 0 ? size.y : 1.0;
    if (size.y == 0) size.y = size.x;
    if (size.z == 0) size.z = 1.0;
    part.mMarkerSet.mTransform = Volume(size, box.Centre());
  }
  return true;
}
