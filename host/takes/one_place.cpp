#include "host/takes/one_place.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mien {

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
      if (std::max({std::abs(p->x - place->x), std::abs(p->y - place->y), std::abs(p->z - place->z)}) >
          kNearMm)
        return false;
      two = true;
    }
  }
  return two;
}

} // namespace mien
