#pragma once

#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <vector>

namespace mien {

/// Where the face's markers are taken to be in the frames that nobody saw them in: at rest, on the neutral face.
///
/// A marker that goes missing comes to rest over the fade's time, and leaves its rest in the same time before it is
/// seen again: each place on the straight way from where it was seen last to where it is seen next is drawn towards the
/// place at rest, by a share that rises smoothly from 0 at the gap's ends to 1 when the fade is over. In a gap shorter than two
/// fades it does not come to full rest. What was seen is never changed.
class RestInGaps {
public:
  /// `rest`: the markers' places on the neutral face, in the frame of the take (size: markers). All must outlive this.
  RestInGaps(const Take& take, const std::vector<Point>& rest, double fade_s);

  /// The marker's place in any frame: as seen, or as said above.
  Point At(std::size_t frame, std::size_t marker) const;

private:
  const Take& take_;
  const std::vector<Point>& rest_;
  double fade_s_;
  std::vector<std::vector<FrameSpan>> gaps_; // by marker
};

} // namespace mien
