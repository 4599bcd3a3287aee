#include "host/performer/stabilised_markers.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fits.h"
#include "host/takes/marker_indices.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mien {

std::vector<std::size_t> FramesOf(const std::vector<bool>& use) {
  std::vector<std::size_t> frames;
  frames.reserve(static_cast<std::size_t>(std::count(use.begin(), use.end(), true)));
  for (std::size_t f = 0; f < use.size(); ++f)
    if (use[f]) frames.push_back(f);
  return frames;
}

StabilisedMarkers::StabilisedMarkers(const Take& take, const Performer& performer, const FrameSpan& frames,
                                     const RigidHead* rigid, std::size_t threads)
    : take_(take), names_(performer.Markers()), indices_(MarkerIndices(take, names_)),
      head_(MarkerIndices(take, performer.head)), frames_(frames), threads_(threads),
      heads_(frames.Count(), VgeAMatrix()) {
  const bool moves = frames_.Count() > 1; // one frame has no motion
  if (moves && !rigid && head_.size() >= 3) RemoveHeadMotion();
  places_.extend(indices_.size() * frames_.Count());
  ForRanges(threads_, frames_.Count(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    if (moves && rigid) FitHeads(*rigid, first, end);
    KeepPlaces(first, end);
  });
  columns_.resize(take.MarkerCount());
  for (std::size_t column = 0; column < indices_.size(); ++column) columns_[indices_[column]] = column;
}

bool StabilisedMarkers::AnyIsSeen() const {
  for (std::size_t f = frames_.first; f < frames_.end; ++f)
    for (const std::size_t m : indices_)
      if (take_.OriginAt(f, m) != Origin::None) return true;
  return false;
}

bool StabilisedMarkers::HeadIsNeverFound() const {
  return std::none_of(heads_.begin(), heads_.end(), [](const auto& h) { return h; });
}

std::optional<VgeTVector> StabilisedMarkers::At(std::size_t f, std::size_t marker) const {
  if (columns_.empty() || !columns_[marker]) return FromTake(f, marker);
  const Point& place = places_[*columns_[marker] * frames_.Count() + f];
  if (std::isnan(place.x)) return std::nullopt;
  return VgeTVector{place.x, place.y, place.z};
}

std::optional<VgeTVector> StabilisedMarkers::FromTake(std::size_t f, std::size_t marker) const {
  const Point* p = take_.At(frames_.first + f, marker);
  if (!p || !heads_[f]) return std::nullopt;
  return TransformPoint(*heads_[f], {p->x, p->y, p->z});
}

Take StabilisedMarkers::Carried(const std::vector<std::string>& names, const VgeAMatrix& to) const {
  Take carried(names);
  const std::vector<std::size_t> indices = MarkerIndices(take_, names);
  carried.AddFrames(frames_.Count());
  ForRanges(threads_, frames_.Count(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) {
      carried.frames[f] = take_.frames[frames_.first + f];
      carried.times[f] = take_.times[frames_.first + f];
      const Take::Row row = carried.RowOf(f);
      for (std::size_t m = 0; m < indices.size(); ++m) {
        const auto p = At(f, indices[m]);
        const VgeTVector q = p ? TransformPoint(to, *p) : VgeTVector();
        row.positions[m] = {q.x, q.y, q.z};
        row.origins[m] = p ? Origin::Measured : Origin::None;
      }
    }
  });
  return carried;
}

NeutralPose StabilisedMarkers::Pose(const std::vector<bool>& use, const MiddleOf& middle_of) const {
  NeutralPose pose;
  const auto places = Places(indices_, use, middle_of);
  for (std::size_t m = 0; m < names_.size(); ++m)
    if (places[m]) pose[names_[m]] = *places[m];
  return pose;
}

std::vector<std::optional<Point>> StabilisedMarkers::Places(const std::vector<std::size_t>& markers,
                                                            const std::vector<bool>& use,
                                                            const MiddleOf& middle_of) const {
  const std::vector<std::size_t> frames = FramesOf(use);
  std::vector<std::optional<Point>> places(markers.size());
  OnThreads(threads_, markers.size(), [&](std::size_t, std::size_t i) {
    std::vector<double> x, y, z;
    for (std::vector<double>* const axis : {&x, &y, &z}) axis->reserve(frames.size());
    for (const std::size_t f : frames)
      if (const auto p = At(f, markers[i])) x.push_back(p->x), y.push_back(p->y), z.push_back(p->z);
    if (!x.empty()) places[i] = Point{middle_of(x), middle_of(y), middle_of(z)};
  });
  return places;
}

RigidMotion::Markers StabilisedMarkers::HeadMarkers(std::size_t f) const {
  RigidMotion::Markers markers;
  for (std::size_t slot = 0; slot < head_.size(); ++slot)
    if (const Point* p = take_.At(frames_.first + f, head_[slot])) markers[slot] = *p;
  return markers;
}

void StabilisedMarkers::SolveHeads(const RigidMotion::Markers& reference) {
  std::vector<std::optional<RigidMotion>> motions(
      std::max<std::size_t>(threads_, 1)); // each remembers the sets of markers that it saw
  const std::size_t ranges = (frames_.Count() + kFramesAtOnce - 1) / kFramesAtOnce;
  OnThreads(threads_, ranges, [&](std::size_t thread, std::size_t range) {
    if (!motions[thread]) motions[thread].emplace(reference);
    const std::size_t first = range * kFramesAtOnce, end = std::min(first + kFramesAtOnce, frames_.Count());
    for (std::size_t f = first; f < end; ++f) {
      const auto head = motions[thread]->Solve(HeadMarkers(f));
      heads_[f] = head ? std::optional(InverseOfOrthogonalAxes(*head)) : std::nullopt;
    }
  });
}

void StabilisedMarkers::FitHeads(const RigidHead& rigid, std::size_t first, std::size_t end) {
  const std::vector<std::size_t> indices = MarkerIndices(take_, rigid.markers);
  RigidFits fits(rigid.body, [&](std::size_t f, const std::optional<VgeAMatrix>& head) {
    heads_[f] = head ? std::optional(InverseOfOrthogonalAxes(*head)) : std::nullopt;
  });
  RigidBody::Points seen(indices.size());
  for (std::size_t f = first; f < end; ++f) {
    for (std::size_t m = 0; m < indices.size(); ++m) {
      const Point* const p = take_.At(frames_.first + f, indices[m]);
      seen[m] = p ? std::optional(*p) : std::nullopt;
    }
    fits.Add(f, seen);
  }
  fits.Finish();
}

void StabilisedMarkers::KeepPlaces(std::size_t first, std::size_t end) {
  constexpr std::size_t kInCache = 32; // frames
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr Point kNone = {kNaN, kNaN, kNaN};
  for (std::size_t from = first; from < end; from += kInCache) {
    const std::size_t count = std::min(kInCache, end - from);
    for (std::size_t column = 0; column < indices_.size(); ++column) {
      const auto places = places_.subspan(column * frames_.Count() + from, count);
      for (std::size_t i = 0; i < count; ++i) {
        const auto p = FromTake(from + i, indices_[column]);
        places[i] = p ? Point{p->x, p->y, p->z} : kNone;
      }
    }
  }
}

// A single frame's noise would be in every head frame; two rounds through the median take it out. More do
// not converge: they drift, by a tenth of a millimetre each.
void StabilisedMarkers::RemoveHeadMotion() {
  const auto seen = [](const RigidMotion::Markers& markers) {
    return std::count_if(markers.begin(), markers.end(),
                         [](const auto& marker) { return marker.has_value(); });
  };
  RigidMotion::Markers reference;
  for (std::size_t f = 0; f < frames_.Count(); ++f)
    if (const auto markers = HeadMarkers(f); seen(markers) > seen(reference)) reference = markers;

  SolveHeads(reference);
  const std::vector<bool> all(frames_.Count(), true);
  for (int round = 0; round < 2; ++round) {
    const auto places = Places(head_, all, Median);
    std::copy(places.begin(), places.end(), reference.begin());
    SolveHeads(reference);
  }
}

} // namespace mien
