#include "host/solve/frame_solver.h"

#include "mien/base/affine.h"

namespace mien {

FrameSolver::FrameSolver(const Performer& performer, const NeutralPose& neutral, const RigidHead* rigid,
                         BrowMethod brows, const Character* character, const ExpressionWeights& expressions)
    : face_(performer, neutral, brows), head_(performer, neutral, face_.NeutralHead(), rigid),
      ranges_(performer.ranges), places_head_(face_.Markers().size()) {
  frame_.head = face_.NeutralHead();
  if (character) character_.emplace(*character, expressions);
}

const SolvedFrame& FrameSolver::Solve(const FrameMarkers& markers) {
  const std::optional<VgeAMatrix> head = head_.Solve(markers.head);
  frame_.head_known = head.has_value();
  if (head) frame_.head = *head;

  const VgeAMatrix to_head = InverseOfOrthogonalAxes(frame_.head);
  for (std::size_t m = 0; m < places_head_.size(); ++m) {
    places_head_[m] = face_.RestPlaces()[m];
    if (!frame_.head_known || !markers.face[m]) continue;
    const VgeTVector p_head =
        TransformPoint(to_head, {markers.face[m]->x, markers.face[m]->y, markers.face[m]->z});
    places_head_[m] = {p_head.x, p_head.y, p_head.z};
  }
  frame_.face = face_.Solve(places_head_);
  ranges_.Apply(frame_.face.weights);
  if (character_) frame_.character = &character_->Solve(frame_.face.weights);
  return frame_;
}

} // namespace mien
