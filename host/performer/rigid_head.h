#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The skull as a take shows it: the markers that hardly move relative to it.
struct RigidHead {
  std::vector<std::string> markers;
  RigidBody body; ///< of these markers, in the take's axes
};

/// The performer's rigid markers. If it names none: its head markers, and those that deviate from the head by
/// no more than twice what the head markers do and are visible in at least half of the frames. Markers that
/// drive a part are excluded: the part would lose what the head follows.
///
/// Nothing if there are fewer than four: three markers fit any motion without an error.
///
/// The take must have the performer's markers (CheckMarkers). What is found does not depend on `threads`.
std::optional<RigidHead> LearnRigidHead(const Take& take, const Performer& performer,
                                        std::size_t threads = 1);

} // namespace mien
