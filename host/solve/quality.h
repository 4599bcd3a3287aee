#pragma once

#include "host/animation/animation.h"
#include "host/solve/face_solver.h"
#include "host/solve/quality_flags.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// How well the weights reproduce what the markers did; see Quality::share.
enum class Grade {
  None, ///< not graded
  Good, ///< "good": below Quality::kGoodBelow
  Fair, ///< "fair"
  Poor, ///< "poor": above Quality::kPoorAbove
};

std::string_view ToText(Grade grade); ///< "good"; empty for None

/// The result of AssessQuality.
struct Quality {
  static constexpr double kGoodBelow = 0.03, kPoorAbove = 0.1;

  QualityFlags flags; ///< by their first frame

  /// Distance between the outer eye corners on the neutral face, in millimetres. No performer has markers
  /// there, so it is 1.35 times the distance between the middles of the eyes' markers; without those, 1.45
  /// times that between the middles of the brows' markers. Nothing without a pair of either.
  std::optional<double> eye_corners_mm;

  /// Residual over that distance. Nothing for the eyes, whose residual is small wherever their markers are,
  /// for parts without markers, and without the distance.
  std::array<std::optional<double>, 9> share;
  std::array<Grade, 9> grades = {};
  Grade grade = Grade::None; ///< the worst of the parts'
};

/// Judges a solved take, or any run of solved frames.
///
/// - `solved`: times, and template weights as the solver gave them, not smoothed; of the frames of `face`.
/// - `face`: the solver's markers, in the head's frame if `head_motion_removed`. Filled positions have
///   Origin::Filled; markers at rest are gaps.
/// - `residual_mm`: of each part, the root mean square of FaceSolver::Frame::residual_mm; finite.
///
/// Swap: each of two markers is nearer to the other's place on the neutral face than to its own, and they lie
/// the other way round, at least three quarters as far apart as there. Mislabel: a marker is within a third
/// of the distance of the place of a marker of the mirrored part, and swapped with none. Markers that rest
/// less than 5 mm apart are not compared. Without `head_motion_removed` no markers are.
///
/// Jump: from one frame to the next a weight changes by half a template or more, and by more than the fastest
/// movement of a face (a lid that shuts in 70 ms) changes it in that time. For 0.2 s before and after, it
/// stays on its side of the middle, which neither blinks nor spikes of noise do. A change next to a gap of
/// one of the part's markers, filled or not, is not a jump.
///
/// Limit: a weight is exactly 1 for 0.5 s or longer; `Close` of an eye for 3 s, since a shut eye loses
/// nothing.
///
/// Frames of the same flag that are at most 0.1 s apart make one flag.
Quality AssessQuality(const Animation& solved, const Take& face, bool head_motion_removed,
                      const FaceSolver& solver, const std::array<double, 9>& residual_mm,
                      std::size_t threads = 1);

} // namespace mien
