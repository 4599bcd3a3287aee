#include "host/live/marker_solver.h"

#include "host/base/face_parts.h"
#include "host/solve/gaze_limits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace mien {

namespace {

/// Of each name its first index.
class Columns {
public:
  explicit Columns(const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) columns_.emplace(names[i], i);
  }
  std::optional<std::size_t> Of(const std::string& name) const {
    const auto found = columns_.find(name);
    return found == columns_.end() ? std::nullopt : std::optional(found->second);
  }

private:
  std::unordered_map<std::string, std::size_t> columns_;
};

bool IsFinite(const VgeAMatrix& m) {
  return std::all_of(&m.m[0][0], &m.m[0][0] + sizeof m.m / sizeof(double),
                     [](double number) { return std::isfinite(number); });
}

} // namespace

MarkerSolver::MarkerSolver(const std::vector<std::string>& names, const Performer& performer,
                           LearnedFace learned, const CausalSettings& settings)
    : learned_(std::move(learned)), face_solver_(performer, learned_.neutral.pose, settings.brows),
      head_solver_(performer, learned_.neutral.pose, face_solver_.NeutralHead(),
                   learned_.rigid ? &*learned_.rigid : nullptr),
      ranges_(performer.ranges), hold_s_(settings.hold_s), head_(face_solver_.NeutralHead()),
      places_(face_solver_.Markers().size()), looking_{Presence(kBlinkGap_s, settings.fade_s),
                                                       Presence(kBlinkGap_s, settings.fade_s)} {
  const Columns columns(names);
  const auto use = [&](const std::string& name) {
    const std::optional<std::size_t> column = columns.Of(name);
    if (column) used_.push_back(*column);
    return column;
  };
  for (const std::string& name : head_solver_.Markers()) head_columns_.push_back(use(name));
  head_seen_.resize(head_columns_.size());
  if (head_solver_.Fit())
    for (const LearnedFace::PartAnchors& anchors : learned_.anchors) {
      AnchoredPart& part = parts_.emplace_back();
      part.learned = anchors;
      for (const std::string& name : anchors.markers) part.columns.push_back(use(name));
    }
  const auto anchors_of = [&](std::size_t part) -> std::optional<std::size_t> {
    for (std::size_t i = 0; i < parts_.size(); ++i)
      if (parts_[i].learned.part == part) return i;
    return std::nullopt;
  };

  const FaceSolver& face = face_solver_;
  for (std::size_t m = 0; m < face.Markers().size(); ++m) {
    const Point& rest = face.RestPlaces()[m];
    face_.push_back({.column = use(face.Markers()[m]),
                     .presence = Presence(settings.hold_s, settings.fade_s),
                     .last = {rest.x, rest.y, rest.z},
                     .part = std::nullopt});
  }
  for (std::size_t p = 0; p < 9; ++p)
    if (const auto anchors = anchors_of(p))
      for (const std::size_t m : face.MarkersOf(p)) face_[m].part = anchors;

  const VgeAMatrix neutral_to_head = InverseOfOrthogonalAxes(face.NeutralHead());
  for (std::size_t eye = 0; settings.gaze && eye < 2; ++eye)
    for (const std::string& name : performer.irises[eye]) {
      const auto place = learned_.neutral.pose.find(name);
      const auto column = columns.Of(name);
      if (place == learned_.neutral.pose.end() || !column) continue;
      const VgeTVector rest =
          TransformPoint(neutral_to_head, {place->second.x, place->second.y, place->second.z});
      used_.push_back(*column);
      irises_.push_back({.column = *column,
                         .eye = eye,
                         .part = anchors_of(eye == 0 ? kLeftEye : kRightEye),
                         .rest = {rest.x, rest.y, rest.z}});
    }
  const std::vector<TemplateColumn> templates = TemplateColumns();
  for (std::size_t c = 0; c < templates.size(); ++c) {
    if (templates[c].name == "LeftEye.Close") close_[0] = c;
    if (templates[c].name == "RightEye.Close") close_[1] = c;
  }
  if (learned_.fit)
    for (const std::string& name : learned_.fit->markers) fitted_.push_back({.column = use(name)});
  fit_seen_.resize(fitted_.size());
  std::sort(used_.begin(), used_.end());
  used_.erase(std::unique(used_.begin(), used_.end()), used_.end());

  if (!settings.smooth) return;
  constexpr std::size_t kAngles = 4;
  smooth_templates_.emplace(*settings.smooth, templates.size());
  smooth_values_.emplace(*settings.smooth, learned_.fit ? learned_.fit->names.size() : 0);
  smooth_eyes_.emplace(*settings.smooth, kAngles);
}

std::vector<std::string> MarkerSolver::FittedNames() const {
  return learned_.fit ? learned_.fit->names : std::vector<std::string>();
}

void MarkerSolver::Restart() {
  head_ = NeutralHead();
  for (AnchoredPart& part : parts_) part.way = {};
  for (std::size_t m = 0; m < face_.size(); ++m) {
    const Point& rest = face_solver_.RestPlaces()[m];
    face_[m].presence.Restart();
    face_[m].last = {rest.x, rest.y, rest.z};
  }
  for (Presence& looking : looking_) looking.Restart();
  last_eyes_ = {};
  for (FittedMarker& marker : fitted_) marker.missing_s = 0;
  std::fill(fit_seen_.begin(), fit_seen_.end(), std::nullopt);
  if (learned_.fit) learned_.fit->fit.Restart();
  for (auto* const filters : {&smooth_templates_, &smooth_values_, &smooth_eyes_})
    if (*filters) (*filters)->Restart();
}

void MarkerSolver::Solve(std::span<const std::optional<Point>> seen, double elapsed_s, LiveMoment& moment) {
  FindHead(seen, moment);
  FollowAnchors(seen);
  SolveParts(seen, elapsed_s, moment);
  if (ShowsEyes()) SolveEyes(seen, elapsed_s, moment);
  if (learned_.fit) FitShapes(seen, elapsed_s, moment);
  if (smooth_templates_) smooth_templates_->Apply(moment.templates, elapsed_s);
  if (smooth_values_) smooth_values_->Apply(moment.values, elapsed_s);
  if (smooth_eyes_) {
    std::array<double, 4> angles = {moment.eyes[0].yaw, moment.eyes[0].pitch, moment.eyes[1].yaw,
                                    moment.eyes[1].pitch};
    smooth_eyes_->Apply(angles, elapsed_s);
    moment.eyes = {EyeAngles{angles[0], angles[1]}, EyeAngles{angles[2], angles[3]}};
  }
  moment.unseen = static_cast<std::size_t>(
      std::count_if(used_.begin(), used_.end(), [&](std::size_t column) { return !seen[column]; }));
}

void MarkerSolver::FindHead(std::span<const std::optional<Point>> seen, LiveMoment& moment) {
  for (std::size_t i = 0; i < head_columns_.size(); ++i)
    head_seen_[i] = head_columns_[i] ? seen[*head_columns_[i]] : std::nullopt;
  const std::optional<VgeAMatrix> found = head_solver_.Solve(head_seen_);
  head_known_ = found && IsFinite(*found);
  if (head_known_) head_ = *found;
  to_head_ = InverseOfOrthogonalAxes(head_);
  moment.head = head_;
  moment.head_known = head_known_;
}

// Nothing where the marker is missing.
std::optional<MarkerSolver::Vector> MarkerSolver::InHead(std::span<const std::optional<Point>> seen,
                                                         std::optional<std::size_t> column) const {
  if (!head_known_ || !column || !seen[*column]) return std::nullopt;
  const Point& p = *seen[*column];
  const VgeTVector p_head = TransformPoint(to_head_, {p.x, p.y, p.z});
  return Vector{p_head.x, p_head.y, p_head.z};
}

void MarkerSolver::FollowAnchors(std::span<const std::optional<Point>> seen) {
  for (AnchoredPart& part : parts_) {
    // In the order of LocalAnchors, for the same bits.
    double count = 0;
    for (const auto& column : part.columns) count += InHead(seen, column).has_value();
    if (count < 2) continue;
    Vector way = {};
    for (std::size_t m = 0; m < part.columns.size(); ++m)
      if (const std::optional<Vector> place = InHead(seen, part.columns[m]))
        for (std::size_t axis = 0; axis < 3; ++axis)
          way[axis] += ((*place)[axis] - part.learned.rest[m][axis] - part.learned.own[m][axis]) / count;
    for (std::size_t axis = 0; axis < 3; ++axis) part.way[axis] = part.learned.gain[axis] * way[axis];
  }
}

MarkerSolver::Vector MarkerSolver::Measured(Vector place, const std::optional<std::size_t>& part) const {
  if (part)
    for (std::size_t axis = 0; axis < 3; ++axis) place[axis] -= parts_[*part].way[axis];
  return place;
}

void MarkerSolver::SolveParts(std::span<const std::optional<Point>> seen, double elapsed_s,
                              LiveMoment& moment) {
  for (std::size_t m = 0; m < face_.size(); ++m) {
    Kept& marker = face_[m];
    const std::optional<Vector> place = InHead(seen, marker.column);
    if (place) marker.last = Measured(*place, marker.part);
    const double share = marker.presence.Step(place.has_value(), elapsed_s);
    const Point& rest = face_solver_.RestPlaces()[m];
    // In full without a rounding.
    const auto between = [share](double at_rest, double last) {
      return share < 1 ? at_rest + (last - at_rest) * share : last;
    };
    places_[m] = {between(rest.x, marker.last[0]), between(rest.y, marker.last[1]),
                  between(rest.z, marker.last[2])};
  }
  face_solver_.SolveFrames(places_, moment.templates, residual_mm_);
  moment.residual_mm = residual_mm_[0];
  ranges_.Apply(std::span(moment.templates));
}

void MarkerSolver::SolveEyes(std::span<const std::optional<Point>> seen, double elapsed_s,
                             LiveMoment& moment) {
  std::array<std::optional<EyeAngles>, 2> eyes;
  for (std::size_t eye = 0; eye < 2; ++eye) {
    if (moment.templates[close_[eye]] >= kClosedEye) continue;
    double x = 0, y = 0, count = 0;
    for (const Iris& iris : irises_)
      if (const auto place = iris.eye == eye ? InHead(seen, iris.column) : std::nullopt) {
        const Vector measured = Measured(*place, iris.part);
        x += measured[0] - iris.rest[0];
        y += measured[1] - iris.rest[1];
        ++count;
      }
    const auto angle = [&](double mm) {
      return std::clamp(std::asin(std::clamp(mm / count / kIrisRadius_mm, -1.0, 1.0)), -kMostEyeAngle,
                        kMostEyeAngle);
    };
    if (count > 0) eyes[eye] = EyeAngles{.yaw = angle(x), .pitch = angle(-y)};
  }
  if (eyes[0] && eyes[1])
    eyes[0] = eyes[1] =
        EyeAngles{.yaw = (eyes[0]->yaw + eyes[1]->yaw) / 2, .pitch = (eyes[0]->pitch + eyes[1]->pitch) / 2};
  if (!eyes[0]) eyes[0] = eyes[1];
  if (!eyes[1]) eyes[1] = eyes[0];
  for (std::size_t eye = 0; eye < 2; ++eye) {
    if (eyes[eye]) last_eyes_[eye] = *eyes[eye];
    const double share = looking_[eye].Step(eyes[eye].has_value(), elapsed_s);
    moment.eyes[eye] = {.yaw = share * last_eyes_[eye].yaw, .pitch = share * last_eyes_[eye].pitch};
  }
  moment.has_eyes = true;
  moment.eyes_known = eyes[0].has_value();
}

void MarkerSolver::FitShapes(std::span<const std::optional<Point>> seen, double elapsed_s,
                             LiveMoment& moment) {
  for (std::size_t m = 0; m < fitted_.size(); ++m) {
    FittedMarker& marker = fitted_[m];
    if (const std::optional<Vector> place = InHead(seen, marker.column)) {
      fit_seen_[m] = Point{(*place)[0], (*place)[1], (*place)[2]};
      marker.missing_s = 0;
      continue;
    }
    marker.missing_s += elapsed_s;
    if (marker.missing_s > hold_s_) fit_seen_[m].reset();
  }
  learned_.fit->Solve(fit_seen_, moment.values);
}

} // namespace mien
