#include "host/view/live_side.h"

#include "host/base/rotation.h"
#include "host/view/animation_side.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace mien {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// One frame of this layout, at rest.
std::unique_ptr<Animation> AtRest(const LiveSideSetup& setup) {
  auto animation = std::make_unique<Animation>();
  const AnimationLayout& layout = animation->layout = setup.layout;
  animation->frames.assign(1, 0);
  animation->times.assign(1, 0);
  animation->weights.assign(layout.templates.size(), 0);
  animation->heads.assign(1, layout.neutral_head);
  if (setup.has_eyes) animation->eyes.assign(1, Eyes{});
  animation->shape_weights.assign(layout.shapes.size(), 0);
  animation->local_clusters.append(layout.rest_clusters);
  animation->global_clusters.append(layout.rest_clusters);
  return animation;
}

/// A value as JSON text, with more digits than are visible; NaN is missing.
void Append(std::string& out, double value) {
  if (std::isfinite(value))
    fmt::format_to(std::back_inserter(out), "{:.6g}", value);
  else
    out += "null";
}

/// "[a,b,...]" of the numbers that `next(add)` adds.
template <class Fill>
void AppendList(std::string& out, Fill fill) {
  out += '[';
  bool is_first = true;
  fill([&](double value) {
    if (!is_first) out += ',';
    is_first = false;
    Append(out, value);
  });
  out += ']';
}

template <class Add>
void AddRotation(const VgeRMatrix& rotation, Add add) {
  const VgeQuaternion q(rotation);
  for (const double value : {q.x, q.y, q.z, q.w}) add(value);
}

void AppendMoved(std::string& out, const AnimatedHead& head) {
  out += R"(,"moved":[)";
  bool is_first = true;
  const auto begin = [&] {
    if (!is_first) out += ',';
    is_first = false;
    out += R"({"rotation":)";
  };
  for (const AnimatedHead::Turning& turning : head.turning) {
    begin();
    AppendList(out, [&](auto add) { AddRotation(turning.rotation(0), add); });
    out += '}';
  }
  for (const AnimatedHead::Moving& moving : head.moving) {
    const ClusterTransform transform = moving.transform(0);
    const VgeTVector& t = transform.translation;
    const VgeSVector& s = transform.scale;
    begin();
    AppendList(out, [&](auto add) { AddRotation(transform.rotation, add); });
    fmt::format_to(std::back_inserter(out), R"(,"translation":[{:.6g},{:.6g},{:.6g}])", t.x, t.y, t.z);
    fmt::format_to(std::back_inserter(out), R"(,"scale":[{:.6g},{:.6g},{:.6g}]}})", s.x, s.y, s.z);
  }
  out += ']';
}

} // namespace

LiveSide::LiveSide(LiveSideSetup setup)
    : setup_(std::move(setup)), now_(AtRest(setup_)),
      head_(setup_.onto ? AnimateHead(*now_, *setup_.onto, setup_.nodes)
                        : AnimateFace(*now_, setup_.character)) {}

ViewSide LiveSide::InPage(std::size_t frames) const {
  ViewSide side;
  side.name = setup_.name;
  side.curves = CurvesOf(*now_, setup_.has_head);
  for (ViewCurves& curves : side.curves) curves.values.assign(frames * curves.curves.size(), kNone);
  if (setup_.has_head) side.head_motion.resize(frames);
  if (const std::size_t count = setup_.markers.size()) {
    side.markers = ViewMarkers{.names = setup_.markers,
                               .parts = setup_.parts,
                               .positions = std::vector<std::array<float, 3>>(frames * count),
                               .states = std::vector<MarkerState>(frames * count, MarkerState::Gap),
                               .neutral = setup_.neutral};
    side.markers->parts.resize(count);
  }
  // All frames of the page show the newest one, which is at rest before the stream begins.
  side.head = HeadOf(head_, setup_.onto ? setup_.onto->file : "the built-in head");
  for (AnimatedHead::Morphs& morphs : side.head->head.morphs)
    morphs.weight = [weight = morphs.weight](std::size_t, std::size_t target) { return weight(0, target); };
  for (AnimatedHead::Turning& turning : side.head->head.turning)
    turning.rotation = [rotation = turning.rotation](std::size_t) { return rotation(0); };
  for (AnimatedHead::Moving& moving : side.head->head.moving)
    moving.transform = [transform = moving.transform](std::size_t) { return transform(0); };
  side.head->place = setup_.place;
  return side;
}

std::string LiveSide::FrameEvent(std::size_t side, std::string_view clock, const AnimationFrame& frame,
                                 std::span<const std::optional<Point>> markers) {
  Animation& now = *now_;
  std::copy(frame.weights.begin(), frame.weights.end(), now.weights.begin());
  std::copy(frame.shape_weights.begin(), frame.shape_weights.end(), now.shape_weights.begin());
  std::copy(frame.local_clusters.begin(), frame.local_clusters.end(), now.local_clusters.begin());
  std::copy(frame.global_clusters.begin(), frame.global_clusters.end(), now.global_clusters.begin());
  now.heads[0] = frame.head;
  if (frame.eyes && !now.eyes.empty()) now.eyes[0] = *frame.eyes;

  std::string out = fmt::format(
      R"({{"side":{},"number":{},"time":{:.4f},"clock":{},"groups":[)", side, frame.number, frame.time,
      nlohmann::json(clock).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace));
  bool is_first = true;
  const auto begin_group = [&] {
    if (!is_first) out += ',';
    is_first = false;
  };
  for (const ViewCurves& curves : CurvesOf(now, setup_.has_head)) {
    begin_group();
    AppendList(out, [&](auto add) {
      for (const double value : curves.values) add(value);
    });
  }
  // As a page lists them: behind the curves, the morph targets that no curve drives by itself.
  for (const AnimatedHead::Morphs& morphs : head_.morphs) {
    if (morphs.drivers) continue;
    begin_group();
    AppendList(out, [&](auto add) {
      for (std::size_t target = 0; target < morphs.node.targets->size(); ++target)
        add(morphs.weight(0, target));
    });
  }
  out += ']';
  if (setup_.has_head) {
    const VgeAMatrix motion = now.HeadMotion(0);
    out += R"(,"head_motion":)";
    AppendList(out, [&](auto add) {
      AddRotation(RotationOf(motion), add);
      for (int axis = 0; axis < 3; ++axis) add(motion.m[3][axis] / 1000);
    });
  }
  if (!setup_.markers.empty()) {
    const VgeAMatrix to_face = InverseOfOrthogonalAxes(setup_.layout.neutral_head);
    out += R"(,"positions":)";
    AppendList(out, [&](auto add) {
      for (std::size_t m = 0; m < setup_.markers.size(); ++m) {
        const bool is_seen = m < markers.size() && markers[m];
        VgeTVector p{kNone, kNone, kNone};
        if (is_seen) p = TransformPoint(to_face, {markers[m]->x, markers[m]->y, markers[m]->z});
        for (const double value : {p.x, p.y, p.z}) add(value);
      }
    });
  }
  if (!head_.turning.empty() || !head_.moving.empty()) AppendMoved(out, head_);
  out += '}';
  return out;
}

ViewPage LivePageOf(std::string title, const FrameRate& rate, std::size_t frames, std::string events,
                    std::span<const LiveSide* const> sides) {
  ViewPage page;
  page.title = std::move(title);
  page.rate = rate;
  for (std::size_t f = 0; f < frames; ++f) {
    page.frames.push_back(static_cast<std::int64_t>(f));
    page.times.push_back(static_cast<double>(f) / rate.Hz());
  }
  for (const LiveSide* const side : sides) page.sides.push_back(side->InPage(frames));
  page.events = std::move(events);
  return page;
}

} // namespace mien
