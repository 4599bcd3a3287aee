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

/// How well the weights give back what the markers did; see Quality::share.
enum class Grade {
  None, ///< not graded
  Good, ///< "good": below Quality::kGoodBelow
  Fair, ///< "fair"
  Poor, ///< "poor": above Quality::kPoorAbove
};

enum class FlagKind {
  Swap,     ///< "swap": two markers have exchanged places
  Mislabel, ///< "mislabel": a marker is where a marker of the face's other side belongs
  Jump,     ///< "jump": a weight changes faster than a face moves, and stays
  Limit,    ///< "limit": a weight stays at its upper limit; what the face does beyond it is lost
};

std::string_view ToText(Grade grade); ///< "good"; empty for None
std::string_view ToText(FlagKind kind);

/// Frames of a solved take that somebody should look at.
struct QualityFlag {
  FlagKind kind = FlagKind::Jump;
  std::size_t part = 0;
  std::string weight; ///< Jump, Limit: the template's, as TemplateColumn::name: "LeftEye.Close"

  /// Swap: the two. Mislabel: the marker, and the one whose place it has taken in `first`.
  std::vector<std::string> markers;

  std::size_t first = 0, last = 0; ///< indices of frames; a Jump is from `first` to `last`, which follows it

  /// Jump: change of the weight, with its sign. Limit: seconds. Swap, Mislabel: how far the (first) marker is from its own
  /// place on the neutral face at most, in millimetres.
  double size = 0;

  bool operator==(const QualityFlag&) const = default;
};

/// What AssessQuality answers.
struct Quality {
  static constexpr double kGoodBelow = 0.03, kPoorAbove = 0.1;

  std::vector<QualityFlag> flags; ///< by their first frame

  /// Distance of the outer eye corners on the neutral face, in millimetres, as far as markers that no performer has on
  /// them can tell: 1.35 times that of the eyes' middles, without eyes 1.45 times that of the brows' middles. Nothing
  /// without a pair of either.
  std::optional<double> eye_corners_mm;

  /// Residual over that distance. Nothing for the eyes, whose residual is small wherever their markers are, for parts
  /// without markers, and without the distance.
  std::array<std::optional<double>, 9> share;
  std::array<Grade, 9> grades = {};
  Grade grade = Grade::None; ///< the worst of the parts'
};

/// Judges a solved take, or any stretch of frames that were solved.
///
/// - `solved`: template weights as the solver gave them, not smoothed, and times; the frames of `face`.
/// - `face`: the markers of the solver in the head's frame. What was filled has Origin::Filled; what rests is a gap.
/// - `residual_mm`: of each part, the root of the mean square of FaceSolver::Frame::residual_mm; finite.
///
/// Jump: from one frame to the next a weight changes by half of its template or more, and by more than the fastest
/// movement of a face would change it in that time (a lid that shuts in 70 ms); in the 0.2 s before and after, it stays on
/// its side of the middle. So a blink is none, nor is a spike of noise. Nor is a change beside a marker of the part that is not
/// seen: that is a gap's fill or fade.
///
/// Limit: a weight is exactly 1 for 0.5 s or longer; for 3 s where it shuts an eye, which is the end of a lid's way.
///
/// Swap: each of two markers is nearer to the other's place on the neutral face than to its own, and they lie the other way
/// round, three quarters as far apart as there or more. Mislabel: a marker is within a third of the way of the place of a marker of the mirrored part, and not swapped with
/// any. Markers that rest less than 5 mm apart are not compared.
///
/// Frames that belong together and are at most 0.1 s apart make one flag.
Quality AssessQuality(const Animation& solved, const Take& face, const FaceSolver& solver,
                      const std::array<double, 9>& residual_mm);

} // namespace mien
