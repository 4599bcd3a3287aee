#pragma once

#include "host/animation/animation.h"
#include "host/live/live_face.h"
#include "host/takes/take.h"
#include "host/weights/weight_take.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace mien {

/// A recording solved like a stream, frame by frame (LiveFace).
struct CausallySolved {
  Animation animation;
  std::size_t learning_frames = 0; ///< in which the neutral face was being learned: all weights are 0
  std::size_t lost_frames = 0;     ///< of the take, without the face
  std::size_t unknown_heads = 0;   ///< frames of the take with the face, but without a known head
};

/// Throws InputError as LiveFace does, and where the take ends before the neutral face is learned.
/// `progress(done, total)` is called before each frame.
CausallySolved
SolveCausally(const Take& take, const LiveSetup& setup,
              const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

/// The same for weights. The head's position is used as well.
CausallySolved
SolveCausally(const WeightTake& take, const LiveSetup& setup,
              const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

} // namespace mien
