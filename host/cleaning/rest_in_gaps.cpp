#include "host/cleaning/rest_in_gaps.h"

#include "host/takes/gaps.h"

#include <algorithm>
#include <limits>

namespace mien {

namespace {

Point Between(const Point& a, const Point& b, double fraction) {
  return {a.x + (b.x - a.x) * fraction, a.y + (b.y - a.y) * fraction, a.z + (b.z - a.z) * fraction};
}

} // namespace

RestInGaps::RestInGaps(const Take& take, const std::vector<Point>& rest, double fade_s, std::size_t threads)
    : take_(take), rest_(rest), fade_s_(fade_s), gaps_(GapsOfAll(take, threads)) {}

Point RestInGaps::At(std::size_t frame, std::size_t marker) const {
  if (const Point* p = take_.At(frame, marker)) return *p;
  const FrameSpan& gap = *std::partition_point(gaps_[marker].begin(), gaps_[marker].end(),
                                               [&](const FrameSpan& other) { return other.end <= frame; });
  const Point* const before = gap.first > 0 ? take_.At(gap.first - 1, marker) : nullptr;
  const Point* const after = gap.end < take_.FrameCount() ? take_.At(gap.end, marker) : nullptr;
  if (!before && !after) return rest_[marker];

  constexpr double kNever = std::numeric_limits<double>::infinity();
  const double since = before ? take_.times[frame] - take_.times[gap.first - 1] : kNever;
  const double until = after ? take_.times[gap.end] - take_.times[frame] : kNever;
  const double faded = std::min(since, until) >= fade_s_ ? 1 : std::min(since, until) / fade_s_;
  const double share = faded * faded * (3 - 2 * faded);
  const Point on_way = !before  ? *after
                       : !after ? *before
                                : Between(*before, *after, since / (since + until));
  return Between(on_way, rest_[marker], share);
}

} // namespace mien
