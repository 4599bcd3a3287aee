#include "host/takes/gaps.h"

#include "host/base/parallel.h"

#include <span>

namespace mien {

namespace {

using GapsOfMarkers = std::vector<std::vector<FrameSpan>>;

/// Appends a gap, or extends the last one if there is no frame between them.
void AddGap(std::vector<FrameSpan>& gaps, const FrameSpan& gap) {
  if (!gaps.empty() && gaps.back().end == gap.first)
    gaps.back().end = gap.end;
  else
    gaps.push_back(gap);
}

GapsOfMarkers GapsBetween(const Take& take, std::size_t first, std::size_t end) {
  GapsOfMarkers gaps(take.MarkerCount());
  for (std::size_t f = first; f < end; ++f) {
    const std::span<const Origin> origins = take.OriginsOf(f);
    for (std::size_t m = 0; m < origins.size(); ++m)
      if (origins[m] == Origin::None) AddGap(gaps[m], {f, f + 1});
  }
  return gaps;
}

} // namespace

std::vector<FrameSpan> GapsOf(const Take& take, std::size_t marker) {
  std::vector<FrameSpan> gaps;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    if (take.OriginAt(f, marker) == Origin::None) AddGap(gaps, {f, f + 1});
  return gaps;
}

std::vector<std::vector<FrameSpan>> GapsOfAll(const Take& take, std::size_t threads) {
  constexpr std::size_t kLongest = 8 * kFramesAtOnce; // each range has a list for each marker
  const std::size_t frames = take.FrameCount();
  std::vector<GapsOfMarkers> of_ranges((frames + kLongest - 1) / kLongest);
  ForRanges(threads, frames, kLongest, [&](std::size_t first, std::size_t end) {
    of_ranges[first / kLongest] = GapsBetween(take, first, end);
  });
  GapsOfMarkers gaps(take.MarkerCount());
  for (const GapsOfMarkers& of_range : of_ranges)
    for (std::size_t m = 0; m < gaps.size(); ++m)
      for (const FrameSpan& gap : of_range[m]) AddGap(gaps[m], gap);
  return gaps;
}

} // namespace mien
