#pragma once

#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// The gaps of a marker (an index), in order; between two of them it is seen in at least one frame. Missing
/// frame numbers do not end a gap.
std::vector<FrameSpan> GapsOf(const Take& take, std::size_t marker);

/// The same for every marker of the take, in one pass over its frames, by up to `threads` threads (size: markers).
std::vector<std::vector<FrameSpan>> GapsOfAll(const Take& take, std::size_t threads = 1);

} // namespace mien
