#include "host/solve/head_solver.h"

#include "host/base/parallel.h"
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
  if (fit_) return OfFit(fit_->Solve(seen), motion_);
  return Solve(seen, motion_);
}

std::optional<VgeAMatrix> HeadSolver::Solve(const RigidBody::Points& seen, RigidMotion& motion) const {
  if (!RemovesMotion()) return neutral_head_;
  RigidMotion::Markers head;
  std::copy(seen.begin(), seen.end(), head.begin());
  return motion.Solve(head);
}

void HeadSolver::SolveAll(
    const Take& markers, std::size_t threads,
    const std::function<void(std::size_t frame, const std::optional<VgeAMatrix>& head)>& found) const {
  std::vector<std::optional<RigidMotion>> motions(
      std::max<std::size_t>(threads, 1)); // each remembers the sets of markers that it saw
  const auto solve = [&](std::size_t thread, std::size_t range) {
    if (!motions[thread]) motions[thread].emplace(reference_);
    RigidMotion& motion = *motions[thread];
    std::optional<RigidFits> fits;
    if (fit_)
      fits.emplace(fit_->Body(), [&](std::size_t f, const std::optional<VgeAMatrix>& fitted) {
        found(f, OfFit(fitted, motion));
      });
    RigidBody::Points seen(markers.MarkerCount());
    const std::size_t first = range * kFramesAtOnce;
    for (std::size_t f = first; f < std::min(first + kFramesAtOnce, markers.FrameCount()); ++f) {
      for (std::size_t m = 0; m < seen.size(); ++m) {
        const Point* const p = markers.At(f, m);
        seen[m] = p ? std::optional(*p) : std::nullopt;
      }
      if (fits)
        fits->Add(f, seen);
      else
        found(f, Solve(seen, motion));
    }
    if (fits) fits->Finish();
  };
  OnThreads(threads, (markers.FrameCount() + kFramesAtOnce - 1) / kFramesAtOnce, solve);
}

std::optional<VgeAMatrix> HeadSolver::OfFit(const std::optional<VgeAMatrix>& fitted,
                                            RigidMotion& motion) const {
  if (!fitted || !removes_motion_) return fitted;
  RigidMotion::Markers head;
  // The library finds the head from its markers where the fit has them: rigid ones.
  for (std::size_t slot = 0; slot < head.size(); ++slot)
    if (reference_[slot]) {
      const VgeTVector p =
          TransformPoint(*fitted, {reference_[slot]->x, reference_[slot]->y, reference_[slot]->z});
      head[slot] = Point{p.x, p.y, p.z};
    }
  return motion.Solve(head);
}

} // namespace mien
