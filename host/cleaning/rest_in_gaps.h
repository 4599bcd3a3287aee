#pragma once

#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// The assumed positions of the face's markers in frames in which they are missing: at rest, on the neutral
/// face.
///
/// A missing marker comes to rest within the fade time, and leaves rest in the same time before it is visible
/// again. Its position is interpolated from the last to the next visible position, and blended with the
/// position at rest. The weight of the rest rises smoothly from 0 at the gap's ends to 1 after the fade time,
/// so in a gap shorter than two fades it stays below 1. Visible positions are never changed.
class RestInGaps {
public:
  /// `rest`: the markers' positions on the neutral face, in the frame of the take (size: markers). All
  /// arguments must outlive this object. `fade_s` is in seconds. Up to `threads` threads find the gaps.
  RestInGaps(const Take& take, const std::vector<Point>& rest, double fade_s, std::size_t threads = 1);

  /// The marker's position in any frame: the visible one, or the assumed one.
  Point At(std::size_t frame, std::size_t marker) const;

private:
  const Take& take_;
  const std::vector<Point>& rest_;
  double fade_s_;
  std::vector<std::vector<FrameSpan>> gaps_; // by marker
};

} // namespace mien
