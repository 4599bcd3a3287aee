#include "host/takes/gaps.h"

namespace mien {

namespace {

void AddGap(std::vector<FrameSpan>& gaps, std::size_t frame) {
  if (!gaps.empty() && gaps.back().end == frame)
    ++gaps.back().end;
  else
    gaps.push_back({frame, frame + 1});
}

} // namespace

std::vector<FrameSpan> GapsOf(const Take& take, std::size_t marker) {
  std::vector<FrameSpan> gaps;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    if (take.OriginAt(f, marker) == Origin::None) AddGap(gaps, f);
  return gaps;
}

std::vector<std::vector<FrameSpan>> GapsOfAll(const Take& take) {
  std::vector<std::vector<FrameSpan>> gaps(take.MarkerCount());
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < gaps.size(); ++m)
      if (take.OriginAt(f, m) == Origin::None) AddGap(gaps[m], f);
  return gaps;
}

} // namespace mien
