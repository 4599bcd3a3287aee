#include "host/solve/head_solver.h"

#include "host/cleaning/rigid_fits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <utility>

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

/// The fit of the body in the head's frame: where the neutral pose has its markers. Nothing where the pose
/// has too few of them.
std::optional<RigidFit> FitInHead(const RigidHead& rigid, const NeutralPose& neutral,
                                  const VgeAMatrix& neutral_head) {
  RigidBody::Points in_pose;
  for (const std::string& marker : rigid.markers) {
    const auto place = neutral.find(marker);
    in_pose.push_back(place == neutral.end() ? std::nullopt : std::optional(place->second));
  }
  const auto to_pose = RigidFit(rigid.body).Solve(in_pose);
  if (!to_pose) return std::nullopt;
  const VgeAMatrix to_head = Product(InverseOfOrthogonalAxes(neutral_head), *to_pose);
  RigidBody body = rigid.body;
  for (auto& place : body.places)
    if (place) {
      const VgeTVector p_head = TransformPoint(to_head, {place->x, place->y, place->z});
      place = Point{p_head.x, p_head.y, p_head.z};
    }
  return RigidFit(std::move(body));
}

} // namespace

HeadSolver::HeadSolver(const Performer& performer, const NeutralPose& neutral, const VgeAMatrix& neutral_head,
                       const RigidHead* rigid)
    : neutral_head_(neutral_head), head_markers_(performer.head), markers_(performer.head),
      reference_(ReferenceOf(performer, neutral, neutral_head)), motion_(reference_),
      removes_motion_(motion_.Solve(reference_).has_value()) {
  for (std::size_t slot = 0; slot < performer.head.size(); ++slot)
    if (!reference_[slot]) left_out_.push_back(performer.head[slot]);
  if (rigid) fit_ = FitInHead(*rigid, neutral, neutral_head);
  if (fit_) markers_ = rigid->markers;
}

std::optional<VgeAMatrix> HeadSolver::Solve(const RigidBody::Points& seen) {
  if (!RemovesMotion()) return neutral_head_;
  if (fit_) return OfFit(fit_->Solve(seen));
  RigidMotion::Markers head;
  std::copy(seen.begin(), seen.end(), head.begin());
  return motion_.Solve(head);
}

void HeadSolver::SolveAll(
    const Take& markers,
    const std::function<void(std::size_t frame, const std::optional<VgeAMatrix>& head)>& found) {
  RigidBody::Points seen(markers.MarkerCount());
  const auto for_each_frame = [&](const auto& visit) {
    for (std::size_t f = 0; f < markers.FrameCount(); ++f) {
      for (std::size_t m = 0; m < seen.size(); ++m) {
        const Point* const p = markers.At(f, m);
        seen[m] = p ? std::optional(*p) : std::nullopt;
      }
      visit(f);
    }
  };
  if (!fit_) return for_each_frame([&](std::size_t f) { found(f, Solve(seen)); });
  RigidFits fits(fit_->Body(),
                 [&](std::size_t f, const std::optional<VgeAMatrix>& fitted) { found(f, OfFit(fitted)); });
  for_each_frame([&](std::size_t f) { fits.Add(f, seen); });
  fits.Finish();
}

std::optional<VgeAMatrix> HeadSolver::OfFit(const std::optional<VgeAMatrix>& fitted) {
  if (!fitted || !removes_motion_) return fitted;
  RigidMotion::Markers head;
  // The library finds the head from its markers where the fit has them: rigid ones.
  for (std::size_t slot = 0; slot < head.size(); ++slot)
    if (reference_[slot]) {
      const VgeTVector p =
          TransformPoint(*fitted, {reference_[slot]->x, reference_[slot]->y, reference_[slot]->z});
      head[slot] = Point{p.x, p.y, p.z};
    }
  return motion_.Solve(head);
}

} // namespace mien
