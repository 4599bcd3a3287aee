#include "host/takes/frame_span.h"

namespace mien {

std::vector<FrameSpan> UnbrokenSpans(std::span<const std::int64_t> numbers) {
  std::vector<FrameSpan> spans;
  for (std::size_t f = 0; f < numbers.size(); ++f)
    if (f > 0 && numbers[f] == numbers[f - 1] + 1)
      ++spans.back().end;
    else
      spans.push_back({f, f + 1});
  return spans;
}

} // namespace mien
