#include "host/takes/frame_range.h"

#include <algorithm>

namespace mien {

FrameSpan FramesIn(const FrameRange& range, std::span<const std::int64_t> numbers) {
  const auto first = std::lower_bound(numbers.begin(), numbers.end(), range.first);
  const auto end = std::upper_bound(first, numbers.end(), range.last);
  return {static_cast<std::size_t>(first - numbers.begin()), static_cast<std::size_t>(end - numbers.begin())};
}

} // namespace mien
