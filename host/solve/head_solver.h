#pragma once

#include "host/cleaning/rigid_motion.h"
#include "host/performer/performer.h"
#include "mien/base/geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Finds the head in one frame after another, from the performer's head markers.
class HeadSolver {
public:
  /// `neutral_head` is NeutralHead(performer, neutral).
  HeadSolver(const Performer& performer, const NeutralPose& neutral, const VgeAMatrix& neutral_head);

  /// The performer's head markers, by the slots that Solve takes them in (size: at most RigidMotion::kSlots).
  const std::vector<std::string>& Markers() const { return markers_; }

  /// Their places on the neutral face, in the head's frame; nothing for those missing from the neutral pose.
  const RigidMotion::Markers& Reference() const { return reference_; }

  /// Head markers missing from the neutral pose.
  const std::vector<std::string>& LeftOut() const { return left_out_; }

  /// False where fewer than three head markers are usable, or all are on a line. The head then counts as
  /// still: Solve answers the neutral head for every frame.
  bool RemovesMotion() const { return removes_motion_; }

  const VgeAMatrix& NeutralHead() const { return neutral_head_; }

  /// From a face that looks along +z, x to its left, y up, to where the head is. Nothing if too few of the
  /// markers are seen.
  std::optional<VgeAMatrix> Solve(const RigidMotion::Markers& seen);

private:
  VgeAMatrix neutral_head_;
  std::vector<std::string> markers_, left_out_;
  RigidMotion::Markers reference_;
  RigidMotion motion_;
  bool removes_motion_;
};

} // namespace mien
