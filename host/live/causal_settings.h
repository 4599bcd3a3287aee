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

  /// The neutral face, where neither a take nor the performer has one: that of the first seconds of the
  /// stream.
  double learn_s = 2;

  double hold_s = 0.1;  ///< for which a marker, or a weight of a source, that is missing keeps its place
  double fade_s = 0.25; ///< in which it then comes to rest, and in which it comes back

  double face_hold_s = 0.5; ///< the same of a face that is lost
  double face_fade_s = 0.5;

  std::optional<OneEuroSettings> smooth; ///< of each weight and of the eyes' angles; nothing for none
  std::optional<FrameRate> output_rate;  ///< of what comes out; nothing for the source's own frames
};

} // namespace mien
