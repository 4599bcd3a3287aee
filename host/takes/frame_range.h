#pragma once

#include "host/takes/frame_span.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace mien {

/// Frames by their numbers in the file, first and last included, as users write them: 12-40. A take may have
/// none of them. A FrameSpan holds frames by their places in a take.
struct FrameRange {
  std::int64_t first = 0;
  std::int64_t last = 0; ///< not below `first`
};

/// The places of the frames with a number in the range; an empty span if there are none. `numbers` are those
/// of all frames, rising.
FrameSpan FramesIn(const FrameRange& range, std::span<const std::int64_t> numbers);

/// Reads FRAME or FROM-TO; numbers may be negative. Nothing for any other text and for a TO before FROM.
std::optional<FrameRange> ParseFrameRange(std::string_view text);

} // namespace mien
