#pragma once

#include "host/cleaning/rigid_fit.h"
#include "host/cleaning/rigid_motion.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Finds the head in one frame after another, either from the performer's head markers alone or from a fit of
/// all rigid markers. Each frame by itself: nothing is known of the frames before.
class HeadSolver {
public:
  /// `neutral_head` is NeutralHead(performer, neutral). `rigid` may be null: then the head markers
  /// determine the head.
  HeadSolver(const Performer& performer, const NeutralPose& neutral, const VgeAMatrix& neutral_head,
             const RigidHead* rigid = nullptr);

  /// The markers that Solve takes, in this order: the head's, or the rigid ones.
  const std::vector<std::string>& Markers() const { return markers_; }

  /// The performer's head markers: at most RigidMotion::kSlots.
  const std::vector<std::string>& HeadMarkers() const { return head_markers_; }

  /// Their places on the neutral face, in the head's frame and in the same order; nothing for those missing
  /// from the neutral pose.
  const RigidMotion::Markers& Reference() const { return reference_; }

  /// Head markers missing from the neutral pose.
  const std::vector<std::string>& LeftOut() const { return left_out_; }

  /// False where the head's motion cannot be found: fewer than three head markers are usable, or all are on a
  /// line, and there is no fit of rigid markers either. The head then counts as still: Solve returns the
  /// neutral head for every frame.
  bool RemovesMotion() const { return fit_ || removes_motion_; }

  /// The fit of the rigid markers, in the head's frame; null without them.
  const RigidFit* Fit() const { return fit_ ? &*fit_ : nullptr; }

  const VgeAMatrix& NeutralHead() const { return neutral_head_; }

  /// From a face that looks along +z, x to its left, y up, to where the head is. `seen` is in the order of
  /// Markers. Nothing if too few of them are seen.
  std::optional<VgeAMatrix> Solve(const RigidBody::Points& seen);

  /// Solves all frames of a take of the Markers, with the bits of Solve, but several at once. Calls `found` once
  /// for each frame, in any order and from any of the threads.
  void
  SolveAll(const Take& markers, std::size_t threads,
           const std::function<void(std::size_t frame, const std::optional<VgeAMatrix>& head)>& found) const;

private:
  std::optional<VgeAMatrix> Solve(const RigidBody::Points& seen, RigidMotion& motion) const;
  std::optional<VgeAMatrix> OfFit(const std::optional<VgeAMatrix>& fitted, RigidMotion& motion) const;

  VgeAMatrix neutral_head_;
  std::vector<std::string> head_markers_, markers_, left_out_;
  RigidMotion::Markers reference_;
  RigidMotion motion_;
  bool removes_motion_;
  std::optional<RigidFit> fit_;
};

} // namespace mien
