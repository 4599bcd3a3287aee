#pragma once

#include "host/cleaning/rigid_motion.h"
#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// A head marker that slipped in some frames.
struct SlippedMarker {
  std::string marker;                ///< its name
  std::size_t frames = 0;            ///< in which it was removed
  std::int64_t first_frame = 0;      ///< the number of the first of them
  double furthest_mm = 0;            ///< its largest distance from its expected position
  std::vector<FrameSpan> spans = {}; ///< those frames
};

/// The result of TakeOutSlipped.
struct SlippedMarkers {
  std::vector<SlippedMarker> markers; ///< those that slipped, in the order given

  /// Frames in which the markers contradict each other, but no three of them agree.
  std::size_t doubtful_frames = 0;
};

/// Removes head markers from the frames in which they are not where the head has carried them, because they
/// are slipped, swapped or mislabelled. They become gaps.
///
/// `reference` has the positions of `markers` (indices in the take, at most RigidMotion::kSlots) on the head.
/// In each frame, the largest set of at least three markers is kept in which each is at most `tolerance_mm`
/// from the position that the set's own rigid motion predicts. Of several such sets, the one that fits best
/// is kept; sets that turn the head by more than a right angle since the previous frame are used only if
/// there are no others. If no set fits, all markers stay, because it is unknown which are correct.
SlippedMarkers TakeOutSlipped(Take& take, const std::vector<std::size_t>& markers,
                              const RigidMotion::Markers& reference, double tolerance_mm,
                              std::size_t threads = 1);

} // namespace mien
