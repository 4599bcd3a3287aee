#include "host/solve/head_solver.h"

#include "mien/base/affine.h"

namespace mien {

namespace {

RigidMotion::Markers ReferenceOf(const Performer& performer, const NeutralPose& neutral,
                                 const VgeAMatrix& neutral_head) {
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(neutral_head);
  RigidMotion::Markers reference;
  for (std::size_t slot = 0; slot < performer.head.size(); ++slot) {
    const auto place = neutral.find(performer.head[slot]);
    if (place == neutral.end()) continue;
    const VgeTVector p_head = TransformPoint(to_head, {place->second.x, place->second.y, place->second.z});
    reference[slot] = Point{p_head.x, p_head.y, p_head.z};
  }
  return reference;
}

} // namespace

HeadSolver::HeadSolver(const Performer& performer, const NeutralPose& neutral, const VgeAMatrix& neutral_head)
    : neutral_head_(neutral_head), markers_(performer.head),
      reference_(ReferenceOf(performer, neutral, neutral_head)), motion_(reference_),
      removes_motion_(motion_.Solve(reference_).has_value()) {
  for (std::size_t slot = 0; slot < markers_.size(); ++slot)
    if (!reference_[slot]) left_out_.push_back(markers_[slot]);
}

std::optional<VgeAMatrix> HeadSolver::Solve(const RigidMotion::Markers& seen) {
  return removes_motion_ ? motion_.Solve(seen) : neutral_head_;
}

} // namespace mien
