#include "host/cleaning/calm_motion.h"

#include "host/base/parallel.h"
#include "host/base/statistics.h"
#include "host/cleaning/rigid_fits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace mien {

namespace {

constexpr std::size_t kReach = 2; // frames to each side
// Of a parabola's value at the middle of five.
constexpr std::array<double, 2 * kReach + 1> kParabola = {-3.0 / 35, 12.0 / 35, 17.0 / 35, 12.0 / 35,
                                                          -3.0 / 35};

VgeTVector Carried(const VgeAMatrix& motion, const Point& p) {
  return TransformPoint(motion, {p.x, p.y, p.z});
}

/// A place of the body in a frame, and where the parabola through the frames around has it.
struct OfPlace {
  VgeTVector place, on_parabola;
};

/// The spans in parts that are not longer than a turn of a thread: each with the two frames on each side that
/// the parabola of its first and its last frame needs.
std::vector<FrameSpan> PartsOf(const std::vector<FrameSpan>& spans) {
  std::vector<FrameSpan> parts;
  for (const auto& [first, end] : spans)
    for (std::size_t f = first; f + 2 * kReach < end; f += kFramesAtOnce)
      parts.push_back({f, std::min(f + kFramesAtOnce + 2 * kReach, end)});
  return parts;
}

/// Calls `visit(f, of_places)` for each frame of the part that has two more on each side, with what it shows
/// of each of `places`.
template <class Visit>
void ForEachFrame(const LongVector<VgeAMatrix>& motions, const FrameSpan& part,
                  const std::vector<Point>& places, Visit visit) {
  std::array<std::vector<VgeTVector>, kParabola.size()> carried; // by frame, the next one over the oldest
  for (auto& of_frame : carried) of_frame.resize(places.size());
  const auto carry = [&](std::size_t f) {
    for (std::size_t m = 0; m < places.size(); ++m)
      carried[f % carried.size()][m] = Carried(motions[f], places[m]);
  };
  std::vector<OfPlace> of_places(places.size());
  for (std::size_t f = part.first; f < std::min(part.first + 2 * kReach, part.end); ++f) carry(f);
  for (std::size_t f = part.first + kReach; f + kReach < part.end; ++f) {
    carry(f + kReach);
    for (std::size_t m = 0; m < places.size(); ++m) {
      VgeTVector sum = {0, 0, 0};
      for (std::size_t i = 0; i < kParabola.size(); ++i) {
        const VgeTVector& p = carried[(f + i - kReach) % carried.size()][m];
        sum = {sum.x + kParabola[i] * p.x, sum.y + kParabola[i] * p.y, sum.z + kParabola[i] * p.z};
      }
      of_places[m] = {carried[f % carried.size()][m], sum};
    }
    visit(f, of_places);
  }
}

/// The spans in parts of whole threes of frames, of which one is worth a turn of a thread.
std::vector<FrameSpan> ThreesOf(const std::vector<FrameSpan>& spans) {
  constexpr std::size_t kLongest = kFramesAtOnce / 3 * 3;
  std::vector<FrameSpan> parts;
  for (const auto& [first, end] : spans)
    for (std::size_t f = first; f < end; f += kLongest) parts.push_back({f, std::min(f + kLongest, end)});
  return parts;
}

/// The variance, per axis, of the noise that a motion leaves of a body's points: of what changes from frame
/// to frame in how far they are off their places. Slow errors, as of skin that moves, have no part in it.
double NoiseVariance(const LongVector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans,
                     const RigidBody& body, const Take& seen, std::size_t threads) {
  const std::vector<FrameSpan> threes = ThreesOf(spans);
  std::vector<std::vector<double>> of_parts(threes.size());
  OnThreads(threads, threes.size(), [&](std::size_t, std::size_t part) {
    std::vector<double>& squares = of_parts[part];
    for (std::size_t f = threes[part].first + 2; f < threes[part].end; f += 3) {
      const VgeAMatrix to_body[3] = {InverseOfOrthogonalAxes(motions[f - 2]),
                                     InverseOfOrthogonalAxes(motions[f - 1]),
                                     InverseOfOrthogonalAxes(motions[f])};
      for (std::size_t m = 0; m < body.places.size(); ++m) {
        const Point *const p = seen.At(f - 2, m), *const q = seen.At(f - 1, m), *const r = seen.At(f, m);
        if (!p || !q || !r || !body.places[m]) continue;
        const VgeTVector place = {body.places[m]->x, body.places[m]->y, body.places[m]->z};
        const VgeTVector a = Difference(Carried(to_body[0], *p), place),
                         b = Difference(Carried(to_body[1], *q), place),
                         c = Difference(Carried(to_body[2], *r), place);
        const VgeTVector bend = {a.x - 2 * b.x + c.x, a.y - 2 * b.y + c.y, a.z - 2 * b.z + c.z};
        squares.push_back(Dot(bend, bend) / 6); // 1 + 4 + 1 times the variance of each
      }
    }
  });
  std::vector<double> squares; // the median is not moved by the few that are far off
  for (const std::vector<double>& of_part : of_parts)
    squares.insert(squares.end(), of_part.begin(), of_part.end());
  if (squares.empty()) return 0;
  constexpr double kMedian = 2.366; // of a sum of three squares of unit deviation
  return Median(squares) / kMedian;
}

} // namespace

double CalmMotion(LongVector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans, const RigidFit& fit,
                  const Take& seen, std::size_t threads) {
  RigidBody even = fit.Body(); // all of its points are where a rigid body has them, nearly
  std::erase_if(even.places, [](const auto& place) { return !place.has_value(); });
  even.spread_mm.assign(even.places.size(), 1);
  even.noise_mm = std::numeric_limits<double>::infinity();
  std::vector<Point> places;
  for (const auto& place : even.places) places.push_back(*place);

  // Threads compute the squares; one thread sums them in order, so that the sum is always the same.
  const std::vector<FrameSpan> parts = PartsOf(spans);
  std::vector<std::size_t> before = {0}; // squares of the parts before
  for (const FrameSpan& part : parts)
    before.push_back(before.back() + (part.Count() - 2 * kReach) * places.size());
  LongVector<double> of_parts;
  of_parts.extend(before.back());
  OnThreads(threads, parts.size(), [&](std::size_t, std::size_t i) {
    std::size_t at = before[i];
    ForEachFrame(motions, parts[i], places, [&](std::size_t, const std::vector<OfPlace>& of_places) {
      for (const auto& [place, on_parabola] : of_places) {
        const VgeTVector apart = Difference(place, on_parabola);
        of_parts[at++] = Dot(apart, apart);
      }
    });
  });
  double squares = 0;
  for (const double square : of_parts) squares += square;
  const auto count = static_cast<double>(of_parts.size());
  if (!(squares > 0)) return 0;

  // Of the points' 3n errors the six freedoms of a motion take up six: so much noise is in the motion, and
  // missing from what is left beside it. Of white noise the parabola leaves out 1 - 17/35.
  const auto points = static_cast<double>(places.size());
  const double explained =
      NoiseVariance(motions, spans, fit.Body(), seen, threads) * 6 / (points - 2) * (1 - kParabola[kReach]);
  const double share = std::clamp(explained * count / squares, 0.0, 1.0);

  LongVector<VgeAMatrix> calm = motions;
  OnThreads(threads, parts.size(), [&](std::size_t, std::size_t i) {
    RigidFits fits(even, [&](std::size_t f, const std::optional<VgeAMatrix>& motion) {
      if (motion) calm[f] = *motion;
    });
    RigidBody::Points moved(places.size());
    ForEachFrame(motions, parts[i], places, [&](std::size_t f, const std::vector<OfPlace>& of_places) {
      for (std::size_t m = 0; m < places.size(); ++m) {
        const auto& [from, to] = of_places[m];
        moved[m] = Point{from.x + share * (to.x - from.x), from.y + share * (to.y - from.y),
                         from.z + share * (to.z - from.z)};
      }
      fits.Add(f, moved);
    });
    fits.Finish();
  });
  motions = std::move(calm);
  return share;
}

} // namespace mien
