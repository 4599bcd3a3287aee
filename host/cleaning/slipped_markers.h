#pragma once

#include "host/cleaning/rigid_motion.h"
#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

struct SlippedMarker {
  std::string marker;
  std::size_t frames = 0;       ///< in which it was taken out
  std::int64_t first_frame = 0; ///< number of the first of them
  double furthest_mm = 0;       ///< that it was ever away from its place
};

struct SlippedMarkers {
  std::vector<SlippedMarker> markers; ///< those that slipped, in the order given

  /// Frames in which the markers do not fit together, and no three of them tell which is wrong.
  std::size_t doubtful_frames = 0;
};

/// Takes head markers out of the frames in which they are not where the head has carried them: slipped, swapped,
/// mislabelled. They become gaps.
///
/// `markers` (indices in the take, at most RigidMotion::kSlots) have their places on the head in `reference`. In each frame
/// the largest set of at least three markers is kept of which none is more than `tolerance_mm` away from where the set's
/// own rigid motion has it; of several such sets the one that fits best, but one that turns the head by more than a right
/// angle from the frame before only after all others. Where no set fits, all stay: nobody could say which are right.
SlippedMarkers TakeOutSlipped(Take& take, const std::vector<std::size_t>& markers,
                              const RigidMotion::Markers& reference, double tolerance_mm);

} // namespace mien
