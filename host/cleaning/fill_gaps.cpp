#include "host/cleaning/fill_gaps.h"

#include "host/base/parallel.h"
#include "host/cleaning/rigid_motion.h"
#include "host/takes/far_positions.h"
#include "host/takes/gaps.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <optional>
#include <span>
#include <tuple>
#include <utility>

namespace mien {

namespace {

constexpr std::pair<FillMethod, std::string_view> kNames[] = {{FillMethod::None, "none"},
                                                              {FillMethod::Hold, "hold"},
                                                              {FillMethod::Linear, "linear"},
                                                              {FillMethod::Cubic, "cubic"},
                                                              {FillMethod::Pattern, "pattern"}};

Point Between(const Point& a, const Point& b, double fraction) {
  return {a.x + (b.x - a.x) * fraction, a.y + (b.y - a.y) * fraction, a.z + (b.z - a.z) * fraction};
}

double SquaredDistance(const Point& a, const Point& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return x * x + y * y + z * z;
}

/// Fills one gap of one marker. The frames before and after the gap have the marker, unless the take begins
/// or ends there.
class Filler {
public:
  Filler(const Take& take, std::size_t marker, const FrameSpan& gap)
      : take_(take), marker_(marker), gap_(gap),
        before_(gap.first > 0 ? take.At(gap.first - 1, marker) : nullptr),
        after_(gap.end < take.FrameCount() ? take.At(gap.end, marker) : nullptr) {}

  using Places = std::vector<std::optional<Point>>; // by frame of the gap

  /// A position for each frame that the method can fill.
  Places Fill(FillMethod method, const std::vector<std::size_t>& markers) const {
    Places places = method == FillMethod::Hold      ? Hold()
                    : method == FillMethod::Linear  ? Linear()
                    : method == FillMethod::Cubic   ? Cubic()
                    : method == FillMethod::Pattern ? Pattern(markers)
                                                    : Places();
    for (std::optional<Point>& place : places)
      if (place && !(std::isfinite(place->x) && std::isfinite(place->y) && std::isfinite(place->z)))
        place.reset(); // a curve through absurdly large positions
    return places;
  }

private:
  Places Hold() const {
    Places places(gap_.Count());
    if (before_) std::fill(places.begin(), places.end(), *before_);
    return places;
  }

  Places Linear() const {
    Places places(gap_.Count());
    if (before_ && after_)
      for (std::size_t i = 0; i < places.size(); ++i) places[i] = Between(*before_, *after_, Fraction(i));
    return places;
  }

  Places Cubic() const {
    Places places(gap_.Count());
    if (!before_ || !after_) return places;
    const double seconds = take_.times[gap_.end] - take_.times[gap_.first - 1];
    const Point leaving = Velocity(gap_.first - 1, false), arriving = Velocity(gap_.end, true);
    for (std::size_t i = 0; i < places.size(); ++i) {
      // The Hermite basis on [0, 1].
      const double u = Fraction(i), v = 1 - u;
      const double from = v * v * (1 + 2 * u), to = u * u * (1 + 2 * v);
      const double out = u * v * v * seconds, in = -u * u * v * seconds;
      places[i] = {from * before_->x + to * after_->x + out * leaving.x + in * arriving.x,
                   from * before_->y + to * after_->y + out * leaving.y + in * arriving.y,
                   from * before_->z + to * after_->z + out * leaving.z + in * arriving.z};
    }
    return places;
  }

  Places Pattern(const std::vector<std::size_t>& markers) const {
    Places places(gap_.Count());
    const std::vector<std::size_t> neighbours = Neighbours(markers);
    if (neighbours.size() < 3) return places;
    std::optional<RigidMotion> from_before, from_after;
    if (before_) from_before.emplace(Seen(neighbours, gap_.first - 1));
    if (after_) from_after.emplace(Seen(neighbours, gap_.end));
    for (std::size_t i = 0; i < places.size(); ++i) {
      const RigidMotion::Markers seen = Seen(neighbours, gap_.first + i);
      std::optional<Point> carried[2];
      for (auto& [motion, start, to] :
           {std::tie(from_before, before_, carried[0]), std::tie(from_after, after_, carried[1])}) {
        if (!motion) continue;
        if (const auto moved = motion->Solve(seen)) {
          const VgeTVector p = TransformPoint(*moved, {start->x, start->y, start->z});
          to = Point{p.x, p.y, p.z};
        }
      }
      if (carried[0] && carried[1])
        places[i] = Between(*carried[0], *carried[1], Fraction(i));
      else if (!before_ || !after_)
        places[i] = carried[0] ? carried[0] : carried[1];
    }
    return places;
  }

  double Fraction(std::size_t i) const {
    const double start = take_.times[gap_.first - 1], end = take_.times[gap_.end];
    if (!before_ || !after_) return 0;
    return (take_.times[gap_.first + i] - start) / (end - start);
  }

  /// The velocity, in millimetres per second, in the frame next to the gap, measured over a few frames on the
  /// other side: a single step would turn the noise of two positions into a curve.
  Point Velocity(std::size_t at, bool later) const {
    constexpr std::size_t kFrames = 3;
    std::size_t far = at;
    for (std::size_t n = 0; n < kFrames; ++n) {
      if (later ? far + 1 == take_.FrameCount() : far == 0) break;
      const std::size_t next = later ? far + 1 : far - 1;
      if (!take_.At(next, marker_)) break;
      far = next;
    }
    const Point* const there = take_.At(far, marker_);
    const Point* const here = take_.At(at, marker_);
    double seconds = take_.times[far] - take_.times[at];
    Point way = {there->x - here->x, there->y - here->y, there->z - here->z};
    if (far == at) { // a single position: as on the straight line
      seconds = take_.times[gap_.end] - take_.times[gap_.first - 1];
      way = {after_->x - before_->x, after_->y - before_->y, after_->z - before_->z};
    }
    return {way.x / seconds, way.y / seconds, way.z / seconds};
  }

  std::vector<std::size_t> Neighbours(const std::vector<std::size_t>& markers) const {
    const std::size_t reference = before_ ? gap_.first - 1 : gap_.end;
    const Point* const home = before_ ? before_ : after_;
    using Neighbour = std::tuple<std::size_t, double, std::size_t>; // unseen frames, distance, marker
    std::vector<Neighbour> found;
    for (const std::size_t m : markers) {
      const Point* const there = home ? take_.At(reference, m) : nullptr;
      if (m == marker_ || !there || (after_ && !take_.At(gap_.end, m))) continue;
      std::size_t unseen = 0;
      for (std::size_t f = gap_.first; f < gap_.end; ++f)
        if (!take_.At(f, m)) ++unseen;
      found.emplace_back(unseen, SquaredDistance(*there, *home), m);
    }
    std::sort(found.begin(), found.end());
    if (found.size() > RigidMotion::kSlots) found.resize(RigidMotion::kSlots);
    std::vector<std::size_t> neighbours;
    for (const Neighbour& neighbour : found) neighbours.push_back(std::get<2>(neighbour));
    return neighbours;
  }

  RigidMotion::Markers Seen(const std::vector<std::size_t>& neighbours, std::size_t frame) const {
    RigidMotion::Markers seen;
    for (std::size_t slot = 0; slot < neighbours.size(); ++slot)
      if (const Point* p = take_.At(frame, neighbours[slot])) seen[slot] = *p;
    return seen;
  }

  const Take& take_;
  std::size_t marker_;
  FrameSpan gap_;
  const Point *before_, *after_; // null at the ends of the take
};

/// From the end of the last frame with the marker to the next frame with it. Includes frames that the
/// recording dropped.
double SecondsUnseen(const Take& take, const FrameSpan& gap) {
  const double frame = take.rate.Seconds(1);
  const double start = gap.first > 0 ? take.times[gap.first - 1] + frame : take.times[0];
  const double end = gap.end < take.FrameCount() ? take.times[gap.end] : take.times.back() + frame;
  return end - start;
}

} // namespace

std::string_view ToText(FillMethod method) {
  return std::find_if(std::begin(kNames), std::end(kNames),
                      [&](const auto& name) { return name.first == method; })
      ->second;
}

double DefaultLongest(FillMethod method) {
  switch (method) {
  case FillMethod::None:
    return 0;
  case FillMethod::Hold:
    return 0.05;
  case FillMethod::Linear:
    return 0.1;
  case FillMethod::Cubic:
    return 0.15;
  case FillMethod::Pattern:
    return 0.5;
  }
  return 0;
}

std::string ToText(const FillPlan& plan) {
  std::string text;
  for (const auto& [method, longest_s] : plan)
    text += fmt::format("{}{}:{}", text.empty() ? "" : ",", ToText(method), longest_s);
  return text.empty() ? "none" : text;
}

std::optional<FillPlan> ParseFillPlan(std::string_view text) {
  FillPlan plan;
  if (text == "none") return plan;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    const std::string_view step = text.substr(start, end - start);
    start = end + 1;
    const std::size_t colon = std::min(step.find(':'), step.size());
    const auto named = std::find_if(std::begin(kNames), std::end(kNames),
                                    [&](const auto& name) { return name.second == step.substr(0, colon); });
    if (named == std::end(kNames) || named->first == FillMethod::None) return std::nullopt;
    double longest_s = DefaultLongest(named->first);
    if (colon < step.size()) {
      const char* const last = step.data() + step.size();
      const auto [parsed, error] = std::from_chars(step.data() + colon + 1, last, longest_s);
      if (error != std::errc() || parsed != last || !(longest_s >= 0)) return std::nullopt;
    }
    plan.push_back({named->first, longest_s});
  }
  return plan;
}

std::size_t FilledMarker::FilledFrames() const {
  return std::accumulate(filled_by.begin(), filled_by.end(), std::size_t{0});
}

std::vector<FilledMarker> FillGaps(Take& take, const std::vector<std::size_t>& markers, const FillPlan& plan,
                                   std::size_t threads) {
  // All fills are computed before any is stored, so that filled positions are not used as neighbours.
  struct Fill {
    std::size_t slot; // in `markers`
    FrameSpan gap;
    FillMethod method = FillMethod::None;
    Filler::Places places = {};
  };
  std::vector<Fill> fills;
  std::vector<FilledMarker> report(markers.size());
  const std::vector<std::vector<FrameSpan>> gaps = GapsOfAll(take, threads);
  for (std::size_t slot = 0; slot < markers.size(); ++slot) {
    FilledMarker& entry = report[slot];
    entry.marker = take.markers[markers[slot]];
    for (const FrameSpan& gap : gaps[markers[slot]]) {
      ++entry.gaps;
      entry.gap_frames += gap.Count();
      entry.longest_gap = std::max(entry.longest_gap, gap.Count());
      fills.push_back({.slot = slot, .gap = gap});
    }
  }
  // One walk over the take for all markers.
  std::stable_sort(fills.begin(), fills.end(),
                   [](const Fill& a, const Fill& b) { return a.gap.first < b.gap.first; });
  constexpr std::size_t kGapsAtOnce = 64;
  const Take& unfilled = take; // which several threads read
  ForRanges(threads, fills.size(), kGapsAtOnce, [&](std::size_t first, std::size_t end) {
    for (Fill& fill : std::span(fills).subspan(first, end - first)) {
      const double seconds = SecondsUnseen(unfilled, fill.gap);
      const Filler filler(unfilled, markers[fill.slot], fill.gap);
      for (const auto& [method, longest_s] : plan) {
        // Allow a quarter of a frame: times are often rounded, for instance to milliseconds.
        if (seconds > longest_s + unfilled.rate.Seconds(1) / 4) continue;
        Filler::Places places = filler.Fill(method, markers);
        for (std::optional<Point>& place : places) // that curves overshoot to, or wild neighbours lead to
          if (place && !IsWithinReach(*place)) place.reset();
        if (std::none_of(places.begin(), places.end(), [](const auto& place) { return place.has_value(); }))
          continue;
        fill.method = method;
        fill.places = std::move(places);
        break;
      }
    }
  });
  // By one thread: several would wait for each other in the system, which has most of this work.
  for (const auto& [slot, gap, method, places] : fills)
    for (std::size_t i = 0; i < places.size(); ++i)
      if (places[i]) {
        take.Set(gap.first + i, markers[slot], *places[i], Origin::Filled);
        ++report[slot].filled_by[static_cast<std::size_t>(method)];
      }
  return report;
}

} // namespace mien
