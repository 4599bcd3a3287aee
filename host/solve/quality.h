#pragma once

#include "host/animation/animation.h"
#include "host/solve/face_solver.h"
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

enum class FlagKind {
  Swap,     ///< "swap": two markers have exchanged places
  Mislabel, ///< "mislabel": a marker is where a marker of the other side of the face belongs
  Jump,     ///< "jump": a weight changes faster than a face moves, and stays
  Limit,    ///< "limit": a weight stays at its upper limit; what the face does beyond it is lost
};

std::string_view ToText(Grade grade); ///< "good"; empty for None
std::string_view ToText(FlagKind kind);

/// Frames of a solved take that somebody should look at.
struct QualityFlag {
  FlagKind kind = FlagKind::Swap;
  std::size_t part = 0;

  /// Jump, Limit: the template, as TemplateColumn::name has it: "LeftEye.Close".
  std::string weight;

  /// Swap: the two. Mislabel: the marker, and the one whose place it has in `first`.
  std::vector<std::string> markers;

  /// Indices of frames. A Jump is from `first` to `last`, which is the frame after it.
  std::size_t first = 0, last = 0;

  /// Jump: the change of the weight, with its sign. Limit: seconds. Swap, Mislabel: the largest distance, in
  /// millimetres, of the (first) marker from its own place on the neutral face.
  double size = 0;

  bool operator==(const QualityFlag&) const = default;
};

/// What a flag says, without its frames: "LeftEye.Close jumps".
std::string StatementOf(const QualityFlag& flag);

/// The result of AssessQuality.
struct Quality {
  static constexpr double kGoodBelow = 0.03, kPoorAbove = 0.1;

  std::vector<QualityFlag> flags; ///< by their first frame

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
