#include "host/takes/doubtful_positions.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace mien {

namespace {

constexpr double kFarthestMm = 1e6;

double LargestCoordinate(const Point& p) { return std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)}); }

} // namespace

void ClearFarPositions(Take& take) {
  std::size_t cleared = 0;
  std::string first;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    const Take::Row row = take.RowOf(frame);
    double farthest = 0; // gaps may count: what follows looks again
    for (const Point& p : row.positions) farthest = std::max(farthest, LargestCoordinate(p));
    if (farthest <= kFarthestMm) continue;
    for (std::size_t m = 0; m < row.positions.size(); ++m) {
      if (row.origins[m] == Origin::None || LargestCoordinate(row.positions[m]) <= kFarthestMm) continue;
      if (++cleared == 1) first = fmt::format("{} in frame {}", Quoted(take.markers[m]), take.frames[frame]);
      take.Clear(frame, m);
    }
  }
  if (cleared > 0)
    take.notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("positions beyond a kilometre, taken as gaps: {}, the first: {}", cleared, first)});
}

bool IsOnePlace(const Take& take) {
  constexpr double kNearMm = 0.001;
  bool two = false;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    const Point* place = nullptr;
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point* const p = take.At(frame, m);
      if (!p) continue;
      if (!place) {
        place = p;
        continue;
      }
      // In most takes the first two markers of the first frame answer.
      if (LargestCoordinate({p->x - place->x, p->y - place->y, p->z - place->z}) > kNearMm) return false;
      two = true;
    }
  }
  return two;
}

} // namespace mien
