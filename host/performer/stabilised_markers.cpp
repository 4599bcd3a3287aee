#include "host/performer/stabilised_markers.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fits.h"
#include "host/takes/marker_indices.h"

#include <algorithm>
#include <array>

namespace mien {

std::vector<std::size_t> FramesOf(const std::vector<bool>& use) {
  std::vector<std::size_t> frames;
  frames.reserve(static_cast<std::size_t>(std::count(use.begin(), use.end(), true)));
  for (std::size_t f = 0; f < use.size(); ++f)
    if (use[f]) frames.push_back(f);
  return frames;
}

StabilisedMarkers::StabilisedMarkers(const Take& take, const Performer& performer, const FrameSpan& frames,
                                     const RigidHead* rigid)
    : take_(take), names_(performer.Markers()), indices_(MarkerIndices(take, names_)),
      head_(MarkerIndices(take, performer.head)), frames_(frames), heads_(frames.Count(), VgeAMatrix()) {
  if (frames_.Count() == 1) return; // one frame has no motion
  if (rigid)
    FitHeads(*rigid);
  else if (head_.size() >= 3)
    RemoveHeadMotion();
}

bool StabilisedMarkers::AnyIsSeen() const {
  for (std::size_t f = frames_.first; f < frames_.end; ++f)
    for (const std::size_t m : indices_)
      if (take_.At(f, m)) return true;
  return false;
}

bool StabilisedMarkers::HeadIsNeverFound() const {
  return std::none_of(heads_.begin(), heads_.end(), [](const auto& h) { return h; });
}

std::optional<VgeTVector> StabilisedMarkers::At(std::size_t f, std::size_t marker) const {
  const Point* p = take_.At(frames_.first + f, marker);
  if (!p || !heads_[f]) return std::nullopt;
  return TransformPoint(*heads_[f], {p->x, p->y, p->z});
}

Take StabilisedMarkers::Carried(const std::vector<std::string>& names, const VgeAMatrix& to) const {
  Take carried(names);
  const std::vector<std::size_t> indices = MarkerIndices(take_, names);
  for (std::size_t f = 0; f < frames_.Count(); ++f) {
    carried.AddFrame(take_.frames[frames_.first + f], take_.times[frames_.first + f]);
    for (std::size_t m = 0; m < indices.size(); ++m)
      if (const auto p = At(f, indices[m])) {
        const VgeTVector q = TransformPoint(to, *p);
        carried.Set(f, m, {q.x, q.y, q.z});
      }
  }
  return carried;
}

NeutralPose StabilisedMarkers::Pose(const std::vector<bool>& use, const MiddleOf& middle_of) const {
  NeutralPose pose;
  const auto places = Places(indices_, use, middle_of);
  for (std::size_t m = 0; m < names_.size(); ++m)
    if (places[m]) pose[names_[m]] = *places[m];
  return pose;
}

// A few markers at a time, so that a long take needs little memory for them, and yet walks over its frames
// only a few times.
std::vector<std::optional<Point>> StabilisedMarkers::Places(const std::vector<std::size_t>& markers,
                                                            const std::vector<bool>& use,
                                                            const MiddleOf& middle_of) const {
  constexpr std::size_t kAtOnce = 16;
  const std::vector<std::size_t> frames = FramesOf(use);
  struct Column {
    LongVector<double> x, y, z;
  };
  std::array<Column, kAtOnce> columns;
  std::vector<double> values;
  const auto middle = [&](const LongVector<double>& column) {
    values.resize(column.size());
    std::copy(column.begin(), column.end(), values.begin());
    return middle_of(values);
  };
  std::vector<std::optional<Point>> places(markers.size());
  for (std::size_t first = 0; first < markers.size(); first += kAtOnce) {
    const auto some = std::span(markers).subspan(first, std::min(kAtOnce, markers.size() - first));
    for (auto& [x, y, z] : columns) x.clear(), y.clear(), z.clear();
    ForEachPlace(some, frames, [&](std::size_t i, std::size_t, const VgeTVector& p) {
      auto& [x, y, z] = columns[i];
      x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    });
    for (std::size_t i = 0; i < some.size(); ++i) {
      const auto& [x, y, z] = columns[i];
      if (!x.empty()) places[first + i] = Point{middle(x), middle(y), middle(z)};
    }
  }
  return places;
}

RigidMotion::Markers StabilisedMarkers::HeadMarkers(std::size_t f) const {
  RigidMotion::Markers markers;
  for (std::size_t slot = 0; slot < head_.size(); ++slot)
    if (const Point* p = take_.At(frames_.first + f, head_[slot])) markers[slot] = *p;
  return markers;
}

void StabilisedMarkers::SolveHeads(const RigidMotion::Markers& reference) {
  RigidMotion motion(reference);
  for (std::size_t f = 0; f < frames_.Count(); ++f) {
    const auto head = motion.Solve(HeadMarkers(f));
    heads_[f] = head ? std::optional(InverseOfOrthogonalAxes(*head)) : std::nullopt;
  }
}

void StabilisedMarkers::FitHeads(const RigidHead& rigid) {
  RigidFits fits(rigid.body, [&](std::size_t f, const std::optional<VgeAMatrix>& head) {
    heads_[f] = head ? std::optional(InverseOfOrthogonalAxes(*head)) : std::nullopt;
  });
  const std::vector<std::size_t> indices = MarkerIndices(take_, rigid.markers);
  RigidBody::Points seen(indices.size());
  for (std::size_t f = 0; f < frames_.Count(); ++f) {
    for (std::size_t m = 0; m < indices.size(); ++m) {
      const Point* const p = take_.At(frames_.first + f, indices[m]);
      seen[m] = p ? std::optional(*p) : std::nullopt;
    }
    fits.Add(f, seen);
  }
  fits.Finish();
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
