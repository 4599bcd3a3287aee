#pragma once

/// @file
/// Loops over a part's marker entries. Not installed.

#include "mien/actor/part.h"

namespace mien::detail {

/// Visits the entries of a group, in list order.
template <class Visit>
void ForEachEntry(const VArrayTemplate<VActorFacePartMarker*, 16>& group, Visit visit) {
  for (int i = 0; i < group.GetCount(); ++i) visit(*group[i]);
}

/// Visits the entries of a part, group by group, each in list order.
template <class Visit>
void ForEachEntry(const VActorFacePart& part, Visit visit) {
  for (const auto& group : part.mGroups) ForEachEntry(group, visit);
}

} // namespace mien::detail
