#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mien {

/// Consecutive frames of a take by their places: from `first` up to `end`, the place after the last one.
/// Place 0 is the take's first frame, whatever its number; a FrameRange holds numbers.
struct FrameSpan {
  std::size_t first = 0;
  std::size_t end = 0; ///< not below `first`

  std::size_t Count() const { return end - first; }
  auto operator<=>(const FrameSpan&) const = default; // NOLINT(modernize-use-nullptr): there is no pointer
};

/// The longest spans in which each frame's number is one above the number before: between them the recording
/// dropped frames. `numbers` are those of all frames, rising.
std::vector<FrameSpan> UnbrokenSpans(std::span<const std::int64_t> numbers);

} // namespace mien
