#pragma once

#include "host/cleaning/fill_gaps.h"
#include "host/solve/brow_fit.h"

#include <cstddef>
#include <optional>

namespace mien {

/// What the head's motion is found from.
enum class HeadFit {
  Take, ///< all markers that the take shows to be rigid; the head markers alone if these are fewer than four
  Markers ///< the performer's head markers
};

/// What shape weights come from.
enum class ShapeSolver {
  Parts, ///< the templates of the nine parts
  Fit    ///< a fit of all shapes to all markers; see SolveShapes
};

/// What is done to a take before and after it is solved.
struct SolveOptions {
  HeadFit head_fit = HeadFit::Take;
  BrowMethod brows = BrowMethod::Fit;
  ShapeSolver solver = ShapeSolver::Parts;

  FillPlan head_fill = {{FillMethod::Pattern, 2}}; ///< see DefaultLongest for how good these are
  FillPlan face_fill = {{FillMethod::Cubic, 0.15}, {FillMethod::Pattern, 0.5}};

  /// How far a head marker may be from its place on the head before it is left out; nothing to leave none
  /// out.
  ///
  /// Good head markers keep their places to half a millimetre, those on moving skin to three; a swapped or
  /// slipped one is off by ten and more.
  std::optional<double> head_tolerance_mm = 6;

  double fade_s = 0.25; ///< in which a missing marker comes to rest, and leaves rest before it is seen again

  bool gaze = true;                     ///< whether to find where the eyes look, if the take shows it
  std::optional<double> smooth_gaze_hz; ///< cutoff of the low-pass filter on it; nothing for none
  bool level_lids = false;              ///< see LevelLids

  std::optional<double>
      smooth_positions_hz;                 ///< cutoff of the low-pass filter on the markers; nothing for none
  std::optional<double> smooth_weights_hz; ///< the same on the template weights

  std::size_t threads = 1;  ///< that work on the take; every number gives the same bits
  bool keep_frames = false; ///< keep what each frame's quality is: SolveReport::per_frame
};

} // namespace mien
