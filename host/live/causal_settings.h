#pragma once

#include "host/solve/brow_fit.h"
#include "host/solve/solve_options.h"
#include "host/takes/frame_rate.h"

#include <optional>

namespace mien {

/// A One-Euro filter: a low-pass filter whose cutoff rises with the speed of its value.
struct OneEuroSettings {
  double cutoff_hz = 1; ///< of a value that does not move; above 0
  double beta = 0;      ///< how much the cutoff rises, in hertz per unit and second; 0 or more
};

/// What is done to a stream of frames, and in the same way to a take that is solved causally: a frame's
/// result depends only on itself and on frames before it.
struct CausalSettings {
  BrowMethod brows = BrowMethod::Fit;
  ShapeSolver solver = ShapeSolver::Parts;
  HeadFit head_fit = HeadFit::Take;
  bool gaze = true; ///< whether to find where the eyes look from the performer's irises

  /// If neither a take nor the performer has a neutral face: the first seconds of the stream, from which it
  /// is learned.
  double learn_s = 2;

  double hold_s = 0.1;  ///< for which a missing marker or weight keeps its last value
  double fade_s = 0.25; ///< in which it then fades to rest, and fades in again

  double face_hold_s = 0.5; ///< the same for a lost face
  double face_fade_s = 0.5;

  std::optional<OneEuroSettings> smooth; ///< of each weight and of the eyes' angles; empty: none
  std::optional<FrameRate> output_rate;  ///< of what comes out; nothing for the source's own frames
};

} // namespace mien
