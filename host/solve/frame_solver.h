#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/solve/character_solver.h"
#include "host/solve/face_solver.h"
#include "host/solve/head_solver.h"
#include "host/solve/template_ranges.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace mien {

/// The markers of one frame, as a stream delivers them.
struct FrameMarkers {
  RigidBody::Points head;                 ///< in the order of HeadSolver::Markers; nothing where unseen
  std::vector<std::optional<Point>> face; ///< in the order of FaceSolver::Markers; nothing where unseen
};

struct SolvedFrame {
  VgeAMatrix head;         ///< from a face that looks along +z, x to its left, y up, to where the head is
  bool head_known = false; ///< else `head` is the last known one, or the neutral one
  FaceSolver::Frame face;  ///< its weights are those of the performer's ranges
  const VCharacterFaceState* character = nullptr; ///< nothing without a character; valid until the next frame
};

/// All that one frame goes through, from markers to a character: the head is found, the face's markers are
/// brought into its frame and solved into template weights, the performer's ranges are applied to these, and
/// they become the character's shapes and clusters.
///
/// The solve of a take calls the three stages separately, since what needs all frames (filling gaps,
/// smoothing without delay, levelling lids, calming the head, measuring parts against their anchors) happens
/// between them; a live stream calls Solve, with a rigid head learned from an earlier take of the same
/// markers (LearnRigidHead). Nothing process-wide is written: any number of these may be at work, each on one
/// thread at a time. A frame allocates nothing once each set of seen head markers has occurred.
class FrameSolver {
public:
  /// Throws InputError if FaceSolver does, and for an expression that the character does not have. Copies
  /// what it needs of all arguments. Without `rigid` the head markers alone determine the head.
  FrameSolver(const Performer& performer, const NeutralPose& neutral, const RigidHead* rigid = nullptr,
              BrowMethod brows = BrowMethod::Fit, const Character* character = nullptr,
              const ExpressionWeights& expressions = {});

  const HeadSolver& Head() const { return head_; }
  const FaceSolver& Face() const { return face_; }

  /// See HeadSolver::Solve.
  std::optional<VgeAMatrix> FindHead(const RigidBody::Points& seen) { return head_.Solve(seen); }

  /// See HeadSolver::SolveAll.
  void FindHeads(const Take& markers, std::size_t threads,
                 const std::function<void(std::size_t, const std::optional<VgeAMatrix>&)>& found) const {
    head_.SolveAll(markers, threads, found);
  }

  /// See FaceSolver::SolveFrames. The ranges are not applied.
  void SolveFaces(std::span<const Point> places_head, std::span<double> weights,
                  std::span<std::array<double, 9>> residual_mm) {
    face_.SolveFrames(places_head, weights, residual_mm);
  }

  /// See CharacterSolver::Solve. There must be a character.
  const VCharacterFaceState& SolveCharacter(const VFaceTemplateState& templates) {
    return character_->Solve(templates);
  }

  /// All three, and the ranges. A face marker that is not seen is at its place on the neutral face; so are
  /// all of them in a frame without a known head.
  const SolvedFrame& Solve(const FrameMarkers& markers);

private:
  FaceSolver face_;
  HeadSolver head_;
  TemplateRanges ranges_;
  std::optional<CharacterSolver> character_;
  std::vector<Point> places_head_;
  SolvedFrame frame_;
};

} // namespace mien
