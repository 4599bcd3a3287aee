#pragma once

#include "host/takes/frame_span.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace mien {

/// Frames by their numbers in the file, both ends included, as users write them: 12-40. A take need not have any of them.
/// Frames by their places in a take are a FrameSpan.
struct FrameRange {
  std::int64_t first = 0;
  std::int64_t last = 0; ///< not below `first`
};

/// The places of the frames whose numbers are in the range; an empty span where there are none. `numbers` are all frames'
/// numbers, rising.
FrameSpan FramesIn(const FrameRange& range, std::span<const std::int64_t> numbers);

/// Reads FRAME or FROM-TO; numbers may be negative. Nothing for anything else, and where TO comes before FROM.
std::optional<FrameRange> ParseFrameRange(std::string_view text);

} // namespace mien
