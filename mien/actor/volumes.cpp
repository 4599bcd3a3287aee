#include "mien/actor/actor_face.h"
#include "mien/actor/volume.h"
#include "mien/face/face.h"

void VActorFace::SetupGetDefaultVolumesTS(int part, VgeTVector* t, VgeSVector* s) const {
  const VFacePart& placed = GetGlobalFace()->mParts[part];
  if (t) *t = placed.mCenter;
  if (s) *s = placed.mScale;
}

void VActorFace::SetupInitVolumes() {
  for (int p = 0; p < 9; ++p) {
    VgeTVector t;
    VgeSVector s;
    SetupGetDefaultVolumesTS(p, &t, &s);
    mParts[p].mMarkerSet.mTransform = mien::detail::Volume(s, t);
  }
}

void VActorFace::SetupFindVolumes(const VFaceMarkerSetState* set) {
  if (!SetupFindVolumesMethod3(set) && !SetupFindVolumesMethod1(set)) SetupFindVolumesMethod2(set);
}

bool VActorFace::SetupAreVolumesSet() const {
  for (const VActorFacePart& part : mParts)
    if (part.GetMarkerCount() > 0 && part.mMarkerSet.mTransform == VgeAMatrix()) return false;
  return true;
}
