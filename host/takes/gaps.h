#pragma once

#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Where a marker (an index) is missing, in order; between two gaps it is there in at least one frame. Frame numbers that
/// the take does not have break no gap.
std::vector<FrameSpan> GapsOf(const Take& take, std::size_t marker);

/// The same for every marker of the take, in one pass over its frames (size: markers).
std::vector<std::vector<FrameSpan>> GapsOfAll(const Take& take);

} // namespace mien
