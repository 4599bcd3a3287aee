#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// A marker that may move with the skull, and how far it strays from the face's rigid part, per axis.
struct HeadCandidate {
  std::size_t marker; ///< index in the take
  double spread_mm;
};

/// Up to five of the candidates: those that hold still relative to each other, far apart rather than close
/// together, the stillest first. Fewer than three if no three do.
std::vector<std::size_t> ChooseHeadMarkers(const Take& take, const std::vector<HeadCandidate>& candidates);

} // namespace mien
