#include "host/formats/trc_zeros.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/trc_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace mien::trc {

namespace {

bool IsZero(const Point& p) { return p.x == 0 && p.y == 0 && p.z == 0; }

// What one marker does at 0 0 0.
struct Visits {
  std::size_t zeros = 0;
  double nearest = std::numeric_limits<double>::infinity(); // of its other positions, mm
};

std::vector<Visits> CountVisits(const Take& take) {
  std::vector<Visits> visits(take.MarkerCount());
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t m = 0; m < visits.size(); ++m)
      if (const Point* p = take.At(frame, m)) {
        if (IsZero(*p))
          ++visits[m].zeros;
        else
          visits[m].nearest = std::min(visits[m].nearest, std::sqrt(p->x * p->x + p->y * p->y + p->z * p->z));
      }
  return visits;
}

} // namespace

void ClearZeros(Take& take) {
  constexpr double kNear = 1; // mm
  const std::vector<Visits> visits = CountVisits(take);
  Repeated cleared, kept;
  for (std::size_t m = 0; m < visits.size(); ++m) {
    const auto [zeros, nearest] = visits[m];
    if (zeros == 0 || nearest < kNear) continue;
    const std::string name = Quoted(take.markers[m]);
    if (std::isinf(nearest)) {
      kept.Add([&]() -> Note {
        return {Code::Doubtful, "", fmt::format("{} is at 0 0 0 in all its frames", name)};
      });
      continue;
    }
    const std::string frames = Count(zeros, "frame");
    cleared.Add([&]() -> Note {
      return {Code::Doubtful, "", fmt::format("{} is at 0 0 0 in {}; taken as a gap", name, frames)};
    });
    for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
      if (const Point* p = take.At(frame, m); p && IsZero(*p)) take.Clear(frame, m);
  }
  cleared.AppendTo(take.notes, "markers");
  kept.AppendTo(take.notes, "markers");
}

} // namespace mien::trc
