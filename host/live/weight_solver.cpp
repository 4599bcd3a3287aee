#include "host/live/weight_solver.h"

#include "host/base/face_parts.h"
#include "host/weights/swap_sides.h"
#include "host/weights/weight_names.h"
#include "host/weights/weight_take.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mien {

WeightSolver::WeightSolver(const std::vector<std::string>& names, const WeightSolverSetup& setup,
                           const CausalSettings& settings)
    : swap_sides_(setup.swap_sides), looking_(settings.hold_s, settings.fade_s) {
  WeightNames known(WeightNames::Unknown::KeepAsIs);
  for (std::size_t column = 0; column < names.size(); ++column) {
    const std::optional<std::size_t> weight = known.Add(names[column]);
    if (!weight || *weight != kept_.size()) continue; // none, or a name that came before
    kept_.push_back({.column = column,
                     .presence = Presence(settings.hold_s, settings.fade_s),
                     .last = 0,
                     .range = std::nullopt});
  }
  WeightTake take;
  take.names = known.Names();
  for (const Range& range : setup.ranges) {
    const auto found = std::find(take.names.begin(), take.names.end(), UsualName(range.name));
    if (range.trusted && found != take.names.end())
      kept_[static_cast<std::size_t>(found - take.names.begin())].range = range;
  }
  if (swap_sides_) SwapSides(take);
  names_ = take.names;
  weights_.resize(names_.size());

  const std::vector<TemplateColumn> templates = TemplateColumns();
  if (!names_.empty() && take.HasTemplates()) {
    has_templates_ = true;
    for (const std::string& name : names_)
      direct_.push_back(static_cast<std::size_t>(
          std::find_if(templates.begin(), templates.end(),
                       [&](const TemplateColumn& column) { return column.name == name; }) -
          templates.begin()));
  } else if (setup.map) {
    has_templates_ = true;
    map_.emplace(*setup.map, names_, "", unused_);
  } else {
    value_names_ = names_;
  }
  eyes_of_shapes_ = EyesOfShapes::Among(names_);
  if (!settings.smooth) return;
  constexpr std::size_t kAngles = 4;
  smooth_weights_.emplace(*settings.smooth, names_.size());
  smooth_eyes_.emplace(*settings.smooth, kAngles);
}

bool WeightSolver::SeesFace(const LiveInput& input) const {
  return std::any_of(kept_.begin(), kept_.end(), [&](const KeptWeight& kept) {
    return kept.column < input.weights.size() && std::isfinite(input.weights[kept.column]);
  });
}

void WeightSolver::Restart() {
  for (KeptWeight& kept : kept_) kept.presence.Restart(), kept.last = 0;
  looking_.Restart();
  last_eyes_ = {};
  has_angles_ = false;
  head_ = {};
  for (auto* const filters : {&smooth_weights_, &smooth_eyes_})
    if (*filters) (*filters)->Restart();
}

void WeightSolver::Solve(const LiveInput& input, double elapsed_s, LiveMoment& moment) {
  moment.unseen = 0;
  moment.residual_mm = {};
  for (std::size_t i = 0; i < kept_.size(); ++i) {
    KeptWeight& kept = kept_[i];
    const bool seen = kept.column < input.weights.size() && std::isfinite(input.weights[kept.column]);
    if (seen) kept.last = input.weights[kept.column];
    if (seen && kept.range) kept.last = kept.range->Read(kept.last);
    moment.unseen += !seen;
    weights_[i] = kept.presence.Step(seen, elapsed_s) * kept.last;
  }
  if (smooth_weights_) smooth_weights_->Apply(weights_, elapsed_s);
  TurnHead(input, moment);
  TurnEyes(input, elapsed_s, moment);
  if (map_)
    map_->Apply(weights_, moment.templates);
  else if (has_templates_)
    for (std::size_t i = 0; i < direct_.size(); ++i) moment.templates[direct_[i]] = weights_[i];
  else
    std::copy(weights_.begin(), weights_.end(), moment.values.begin());
}

void WeightSolver::TurnHead(const LiveInput& input, LiveMoment& moment) {
  moment.head_known = input.head.has_value();
  if (moment.head_known) {
    HeadAngles head = *input.head;
    if (swap_sides_) head.yaw = -head.yaw, head.roll = -head.roll;
    const VgeTVector place = Column(head_, 3);
    head_ = RotationBy(head);
    SetColumn(head_, 3, place);
  }
  if (const auto& p = input.head_place) SetColumn(head_, 3, {swap_sides_ ? -p->x : p->x, p->y, p->z});
  moment.head = head_;
}

void WeightSolver::TurnEyes(const LiveInput& input, double elapsed_s, LiveMoment& moment) {
  const bool has_angles = input.eyes.has_value();
  has_angles_ |= has_angles;
  if (has_angles_) {
    if (has_angles) {
      last_eyes_ = *input.eyes;
      if (swap_sides_) {
        std::swap(last_eyes_[0], last_eyes_[1]);
        for (EyeAngles& eye : last_eyes_) eye.yaw = -eye.yaw;
      }
    }
    const double share = looking_.Step(has_angles, elapsed_s);
    std::array<double, 4> angles = {share * last_eyes_[0].yaw, share * last_eyes_[0].pitch,
                                    share * last_eyes_[1].yaw, share * last_eyes_[1].pitch};
    if (smooth_eyes_) smooth_eyes_->Apply(angles, elapsed_s);
    moment.eyes = {EyeAngles{angles[0], angles[1]}, EyeAngles{angles[2], angles[3]}};
  } else if (eyes_of_shapes_) {
    moment.eyes = eyes_of_shapes_->At(weights_);
  }
  moment.has_eyes = has_angles_ || eyes_of_shapes_;
  moment.eyes_known = has_angles_ ? has_angles : eyes_of_shapes_.has_value();
}

} // namespace mien
