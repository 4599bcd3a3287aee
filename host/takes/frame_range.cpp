#include "host/takes/frame_range.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace mien {

FrameSpan FramesIn(const FrameRange& range, std::span<const std::int64_t> numbers) {
  const auto first = std::lower_bound(numbers.begin(), numbers.end(), range.first);
  const auto end = std::upper_bound(first, numbers.end(), range.last);
  return {static_cast<std::size_t>(first - numbers.begin()), static_cast<std::size_t>(end - numbers.begin())};
}

std::optional<FrameRange> ParseFrameRange(std::string_view text) {
  const char* const end = text.data() + text.size();
  FrameRange range;
  const auto first = std::from_chars(text.data(), end, range.first);
  if (first.ec != std::errc()) return std::nullopt;
  range.last = range.first;
  if (first.ptr == end) return range;
  if (*first.ptr != '-') return std::nullopt;
  const auto last = std::from_chars(first.ptr + 1, end, range.last);
  if (last.ec != std::errc() || last.ptr != end || range.last < range.first) return std::nullopt;
  return range;
}

} // namespace mien
