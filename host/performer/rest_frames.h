#pragma once

#include "host/performer/performer.h"
#include "host/performer/stabilised_markers.h"
#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Which frames show a face at rest, by how far the eyes (upper lids less lower lids, upwards) and the mouth
/// (upper lip less lower lip) are open, among all of `markers`. What is never seen cannot be unusual: it
/// excludes no frame.
///
/// Each list has an entry per frame of `markers`.
struct RestFrames {
  /// `up` in the head's frame.
  RestFrames(const StabilisedMarkers& markers, const Take& take, const Performer& performer,
             const VgeTVector& up, std::size_t threads = 1);

  std::vector<bool>
      whole; ///< the eyes as open as usual (30th to 80th percentile), the mouth at most so (50th)
  std::vector<bool> stricter; ///< the eyes at the 55th to the 80th percentile, the mouth at most at the 15th
  std::vector<bool> eyes;     ///< the eyes as open as usual, whatever the mouth does
};

} // namespace mien
