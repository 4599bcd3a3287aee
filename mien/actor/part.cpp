#include "mien/actor/part.h"

template class VArrayTemplate<VActorFacePartMarker*, 16>;

int VActorFacePart::GetMarkerCount() const {
  int count = 0;
  for (const auto& group : mGroups) count += group.GetCount();
  return count;
}
