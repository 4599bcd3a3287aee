#pragma once

#include "host/base/point.h"
#include "host/live/causal_settings.h"
#include "host/live/learned_face.h"
#include "host/live/live_moment.h"
#include "host/live/one_euro.h"
#include "host/live/presence.h"
#include "host/performer/performer.h"
#include "host/solve/face_solver.h"
#include "host/solve/head_solver.h"
#include "host/solve/template_ranges.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// Solves the markers of a stream, frame by frame, with the learned face:
///
/// 1. The head is fitted. Where the markers do not determine it, it keeps its last pose, and all markers
///    count as missing.
/// 2. The face's markers are brought into the head's frame; those of brows and eyes are measured against
///    their anchors. While fewer than two of these are visible, the anchors keep their last offset.
/// 3. A missing marker keeps its position, and then fades to rest (Presence).
/// 4. The parts are solved, and the performer's ranges applied.
/// 5. The eyes follow the irises, by the rules of SolveGaze. While the irises are not visible, the eyes keep
///    their direction for half a second, longer than a blink, and then look straight ahead.
/// 6. With ShapeSolver::Fit, the shapes are fitted. A marker that is missing for longer than the hold time is
///    left out.
/// 7. Weights and angles are smoothed, if asked for.
///
/// Solving a frame allocates nothing once each set of visible head markers has occurred.
class MarkerSolver {
public:
  /// `names` are those of the stream's markers. Throws InputError as FaceSolver does.
  MarkerSolver(const std::vector<std::string>& names, const Performer& performer, LearnedFace learned,
               const CausalSettings& settings);

  const VgeAMatrix& NeutralHead() const { return face_solver_.NeutralHead(); }
  const NeutralPose& Neutral() const { return learned_.neutral.pose; }
  bool ShowsEyes() const { return !irises_.empty(); }

  /// The names of the fitted shapes; empty without a fit.
  std::vector<std::string> FittedNames() const;

  /// Which of the stream's markers it solves from (indices).
  const std::vector<std::size_t>& Used() const { return used_; }

  /// Solves the next frame (size: names), `elapsed_s` after the one before. Sets everything of the moment but
  /// its time and the presence of the face.
  void Solve(std::span<const std::optional<Point>> seen, double elapsed_s, LiveMoment& moment);

  /// Forgets all frames before.
  void Restart();

private:
  using Vector = std::array<double, 3>;

  /// A marker whose last place is kept.
  struct Kept {
    std::optional<std::size_t> column; // in the stream
    Presence presence;
    Vector last = {};
    std::optional<std::size_t> part; // whose anchors it is measured against (index of parts_)
  };
  struct AnchoredPart {
    LearnedFace::PartAnchors learned;
    std::vector<std::optional<std::size_t>> columns;
    Vector way = {}; // by which its anchors deviate
  };
  struct Iris {
    std::size_t column = 0, eye = 0;
    std::optional<std::size_t> part;
    Vector rest = {};
  };
  struct FittedMarker {
    std::optional<std::size_t> column;
    double missing_s = 0;
  };

  std::optional<Vector> InHead(std::span<const std::optional<Point>> seen,
                               std::optional<std::size_t> column) const;
  Vector Measured(Vector place, const std::optional<std::size_t>& part) const;
  void FindHead(std::span<const std::optional<Point>> seen, LiveMoment& moment);
  void FollowAnchors(std::span<const std::optional<Point>> seen);
  void SolveParts(std::span<const std::optional<Point>> seen, double elapsed_s, LiveMoment& moment);
  void SolveEyes(std::span<const std::optional<Point>> seen, double elapsed_s, LiveMoment& moment);
  void FitShapes(std::span<const std::optional<Point>> seen, double elapsed_s, LiveMoment& moment);

  LearnedFace learned_;
  FaceSolver face_solver_;
  HeadSolver head_solver_;
  TemplateRanges ranges_;
  double hold_s_;
  std::vector<std::optional<std::size_t>> head_columns_;
  std::vector<AnchoredPart> parts_;
  std::vector<Kept> face_;
  std::vector<Iris> irises_;
  std::vector<FittedMarker> fitted_;
  std::vector<std::size_t> used_;
  std::array<std::size_t, 2> close_ = {}; // of the templates, LeftEye.Close and RightEye.Close

  // Of the last frame.
  RigidBody::Points head_seen_;
  VgeAMatrix head_, to_head_;
  bool head_known_ = false;
  std::vector<Point> places_;
  std::array<std::array<double, 9>, 1> residual_mm_{};
  std::array<Presence, 2> looking_;
  Eyes last_eyes_;
  std::vector<std::optional<Point>> fit_seen_;

  std::optional<OneEuroFilters> smooth_templates_, smooth_values_, smooth_eyes_;
};

} // namespace mien
