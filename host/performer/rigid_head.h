#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The skull as a take shows it: everything on the face that keeps its place on it.
struct RigidHead {
  std::vector<std::string> markers;
  RigidBody body; ///< of these markers, in the take's axes
};

/// The performer's rigid markers. Without any, its head markers, and of the others those that stray from the head by no more
/// than twice what the head markers do and are seen in at least half of the frames; by their names. None of these others drives a
/// part: what the head takes of its motion the part would lose.
///
/// Nothing where these are fewer than four: three markers fit any motion and show no error.
///
/// The take must have the performer's markers (CheckMarkers).
std::optional<RigidHead> LearnRigidHead(const Take& take, const Performer& performer);

} // namespace mien
