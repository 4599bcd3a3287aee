#include "host/cleaning/slipped_markers.h"

#include "host/base/long_vector.h"
#include "host/base/parallel.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <optional>
#include <utility>

namespace mien {

namespace {

using Markers = RigidMotion::Markers;

/// The distance of each of `markers` from its position on the reference, moved by `motion`; negative if
/// unknown.
std::array<double, RigidMotion::kSlots> DistancesFrom(const VgeAMatrix& motion, const Markers& reference,
                                                      const Markers& markers) {
  std::array<double, RigidMotion::kSlots> distances;
  distances.fill(-1);
  for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot)
    if (markers[slot] && reference[slot]) {
      const auto& [x, y, z] = *reference[slot];
      const auto& p = *markers[slot];
      distances[slot] = Distance(TransformPoint(motion, {x, y, z}), {p.x, p.y, p.z});
    }
  return distances;
}

double WorstDistance(const VgeAMatrix& motion, const Markers& reference, const Markers& markers) {
  const auto distances = DistancesFrom(motion, reference, markers);
  return *std::max_element(distances.begin(), distances.end());
}

Markers Only(const Markers& markers, unsigned slots) {
  Markers only;
  for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot)
    if (slots >> slot & 1) only[slot] = markers[slot];
  return only;
}

/// Whether the rotation between two motions exceeds a right angle: the sum of the axes' cosines is 1 + 2 cos.
bool TurnsRound(const VgeAMatrix& before, const VgeAMatrix& after) {
  double cosines = 0;
  for (int axis = 0; axis < 3; ++axis) cosines += Dot(Column(before, axis), Column(after, axis));
  return cosines < 1;
}

/// The motion of the largest set of three or more markers that fits together; of sets of equal size, the one
/// that fits best. `of_all` is the motion of all of them. If two markers are swapped that have the same
/// distance from a third, these three fit as well, with the head turned around: such a set is used only if
/// there are no others.
std::optional<VgeAMatrix> BestMotion(RigidMotion& body, const Markers& reference, const Markers& seen,
                                     const VgeAMatrix& of_all, double tolerance_mm,
                                     const std::optional<VgeAMatrix>& before) {
  unsigned all = 0;
  for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot)
    if (seen[slot] && reference[slot]) all |= 1u << slot;
  std::optional<VgeAMatrix> best;
  std::pair<bool, double> least;
  for (int size = std::popcount(all); size >= 3 && !best; --size)
    for (unsigned slots = all; slots > 0; slots = (slots - 1) & all) {
      if (std::popcount(slots) != size) continue;
      const Markers some = Only(seen, slots);
      const auto motion = slots == all ? of_all : body.Solve(some);
      if (!motion) continue;
      const double worst = WorstDistance(*motion, reference, some);
      if (worst > tolerance_mm) continue;
      const std::pair cost(before && TurnsRound(*before, *motion), worst);
      if (!best || cost < least) best = motion, least = cost;
    }
  return best;
}

/// What a frame shows if no marker slips in it.
struct OfAllMarkers {
  std::optional<VgeAMatrix> motion; // nothing if too few markers are visible
  bool is_good = false;             // all of them are within the tolerance: most frames need no other motion
};

/// The same for each frame.
LongVector<OfAllMarkers> MotionsOfAll(std::size_t frames, const Markers& reference,
                                      const std::function<Markers(std::size_t)>& seen_in, double tolerance_mm,
                                      std::size_t threads) {
  LongVector<OfAllMarkers> motions;
  motions.extend(frames);
  std::vector<std::optional<RigidMotion>> bodies(std::max<std::size_t>(threads, 1)); // by thread
  OnThreads(threads, (frames + kFramesAtOnce - 1) / kFramesAtOnce,
            [&](std::size_t thread, std::size_t range) {
              if (!bodies[thread]) bodies[thread].emplace(reference);
              const std::size_t first = range * kFramesAtOnce;
              for (std::size_t f = first; f < std::min(first + kFramesAtOnce, frames); ++f) {
                const Markers seen = seen_in(f);
                const std::optional<VgeAMatrix> motion = bodies[thread]->Solve(seen);
                motions[f] = {motion, motion && WorstDistance(*motion, reference, seen) <= tolerance_mm};
              }
            });
  return motions;
}

} // namespace

SlippedMarkers TakeOutSlipped(Take& take, const std::vector<std::size_t>& markers, const Markers& reference,
                              double tolerance_mm, std::size_t threads) {
  const auto seen_in = [&](std::size_t frame) {
    Markers seen;
    for (std::size_t slot = 0; slot < markers.size(); ++slot)
      if (reference[slot])
        if (const Point* const p = std::as_const(take).At(frame, markers[slot])) seen[slot] = *p;
    return seen;
  };
  const LongVector<OfAllMarkers> motions_of_all =
      MotionsOfAll(take.FrameCount(), reference, seen_in, tolerance_mm, threads);
  RigidMotion body(reference);
  SlippedMarkers report;
  std::vector<SlippedMarker> slipped(markers.size());
  std::optional<VgeAMatrix> before; // the motion of the last frame that had one
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    const OfAllMarkers& of_all = motions_of_all[frame];
    if (!of_all.motion) continue;
    if (of_all.is_good) {
      before = of_all.motion;
      continue;
    }
    const Markers seen = seen_in(frame);
    const auto motion = BestMotion(body, reference, seen, *of_all.motion, tolerance_mm, before);
    if (!motion) {
      ++report.doubtful_frames;
      continue;
    }
    before = motion;
    const auto distances = DistancesFrom(*motion, reference, seen);
    for (std::size_t slot = 0; slot < markers.size(); ++slot) {
      // Markers outside the set may also be within the tolerance: they stay.
      if (!seen[slot] || distances[slot] <= tolerance_mm) continue;
      take.Clear(frame, markers[slot]);
      SlippedMarker& marker = slipped[slot];
      if (marker.frames++ == 0) marker.first_frame = take.frames[frame];
      if (marker.spans.empty() || marker.spans.back().end < frame)
        marker.spans.push_back({frame, frame + 1});
      else
        ++marker.spans.back().end;
      marker.furthest_mm = std::max(marker.furthest_mm, distances[slot]);
    }
  }
  for (std::size_t slot = 0; slot < markers.size(); ++slot)
    if (slipped[slot].frames > 0) {
      slipped[slot].marker = take.markers[markers[slot]];
      report.markers.push_back(slipped[slot]);
    }
  return report;
}

} // namespace mien
