#pragma once

// Walking over a part's marker entries. Not installed.

#include "mien/actor/part.h"

namespace mien::detail {

template <class Visit>
void ForEachEntry(const VArrayTemplate<VActorFacePartMarker*, 16>& group, Visit visit) {
  for (int i = 0; i < group.GetCount(); ++i) visit(*group[i]);
}

/// Group by group, and in each in list order.
template <class Visit>
void ForEachEntry(const VActorFacePart& part, Visit visit) {
  for (const auto& group : part.mGroups) ForEachEntry(group, visit);
}

} // namespace mien::detail
