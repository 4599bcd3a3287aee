#include "host/guess/head_choice.h"

#include "host/base/statistics.h"
#include "host/performer/performer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mien {

namespace {

/// The distance of two markers over a take.
struct Link {
  double distance_mm = 0; ///< in the median
  double spread_mm =
      std::numeric_limits<double>::infinity(); ///< of nine in ten frames, as a standard deviation
};

Link LinkOf(const Take& take, std::size_t a, std::size_t b) {
  constexpr std::size_t kMostFrames = 500, kFewest = 10;
  const std::size_t frames = std::min(take.FrameCount(), kMostFrames);
  std::vector<double> distances;
  for (std::size_t i = 0; i < frames; ++i) {
    const std::size_t f = i * take.FrameCount() / frames;
    const Point *const p = take.At(f, a), *const q = take.At(f, b);
    if (p && q) distances.push_back(std::hypot(p->x - q->x, p->y - q->y, p->z - q->z));
  }
  if (distances.size() < std::min(kFewest, frames)) return {};
  constexpr double kNineTenths = 3.29; // deviations between the 5th and the 95th percentile of a normal one
  constexpr double kLeast_mm = 0.05;   // exact takes have none
  const double middle = Median(distances);
  const double low = Quantile(distances, 0.05), high = Quantile(distances, 0.95);
  return {middle, std::max((high - low) / kNineTenths, kLeast_mm)};
}

} // namespace

std::vector<std::size_t> ChooseHeadMarkers(const Take& take, const std::vector<std::size_t>& candidates) {
  const std::size_t count = candidates.size();
  if (count < 3) return {};
  std::vector<std::vector<Link>> links(count, std::vector<Link>(count));
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t j = 0; j < i; ++j)
      links[i][j] = links[j][i] = LinkOf(take, candidates[i], candidates[j]);

  // The most rigid three: the triangle whose worst side changes least.
  std::vector<std::size_t> chosen;
  double most = std::numeric_limits<double>::infinity();
  constexpr double kSide_mm = 20; // closer ones say little of a turn
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t j = 0; j < i; ++j)
      for (std::size_t k = 0; k < j; ++k) {
        const double side =
            std::min({links[i][j].distance_mm, links[j][k].distance_mm, links[i][k].distance_mm});
        const double worst = std::max({links[i][j].spread_mm, links[j][k].spread_mm, links[i][k].spread_mm});
        if (side >= kSide_mm && worst < most) chosen = {i, j, k}, most = worst;
      }
  constexpr double kRigid_mm = 2; // skin near the bone moves about as much
  if (most > kRigid_mm) return {};

  // Others that are as rigid with all of them, the furthest first.
  constexpr double kAsRigid = 2.5;
  while (chosen.size() < Performer::kMostHeadMarkers) {
    std::size_t next = count;
    double furthest = kSide_mm;
    for (std::size_t i = 0; i < count; ++i) {
      double nearest = std::numeric_limits<double>::infinity(), worst = 0;
      for (const std::size_t c : chosen) {
        nearest = std::min(nearest, c == i ? 0 : links[i][c].distance_mm);
        worst = std::max(worst, c == i ? 0 : links[i][c].spread_mm);
      }
      if (worst <= kAsRigid * most && nearest > furthest) next = i, furthest = nearest;
    }
    if (next == count) break;
    chosen.push_back(next);
  }
  std::vector<std::size_t> head;
  for (const std::size_t c : chosen) head.push_back(candidates[c]);
  return head;
}

} // namespace mien
