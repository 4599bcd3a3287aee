#include "mien/actor/actor_face.h"

#include <cstdlib>

template class VArrayTemplate<VFaceMarker*, 16>;

VFaceMarker::~VFaceMarker() = default;

VActorFace::VActorFace() { SetupInitVolumes(); }

VActorFace::~VActorFace() {
  for (int i = 0; i < mMarkers.GetCount(); ++i) delete mMarkers[i];
  for (int i = 0; i < mRBTPI.GetCount(); ++i) std::free(mRBTPI[i]);
  for (int i = 0; i < mRBMarkers.GetCount(); ++i) std::free(mRBMarkers[i]);
}
