#include "host/cleaning/calm_motion.h"

#include "host/base/statistics.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace mien {

namespace {

constexpr std::size_t kReach = 2; // frames to each side
// Of a parabola's value at the middle of five.
constexpr std::array<double, 2 * kReach + 1> kParabola = {-3.0 / 35, 12.0 / 35, 17.0 / 35, 12.0 / 35,
                                                          -3.0 / 35};

VgeTVector Carried(const VgeAMatrix& motion, const Point& p) {
  return TransformPoint(motion, {p.x, p.y, p.z});
}

/// A place of the body where the parabola has it.
VgeTVector OnParabola(const std::vector<VgeAMatrix>& motions, std::size_t frame, const Point& place) {
  VgeTVector sum = {0, 0, 0};
  for (std::size_t i = 0; i < kParabola.size(); ++i) {
    const VgeTVector p = Carried(motions[frame + i - kReach], place);
    sum = {sum.x + kParabola[i] * p.x, sum.y + kParabola[i] * p.y, sum.z + kParabola[i] * p.z};
  }
  return sum;
}

/// The variance, per axis, of the noise that a motion leaves of a body's points: of what changes from frame
/// to frame in how far they are off their places. Slow errors, as of skin that moves, have no part in it.
double NoiseVariance(const std::vector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans,
                     const RigidBody& body, const std::vector<RigidBody::Points>& frames) {
  const auto off = [&](std::size_t f, std::size_t m) -> std::optional<VgeTVector> {
    if (!frames[f][m] || !body.places[m]) return std::nullopt;
    const Point& p = *frames[f][m];
    return Difference(Carried(InverseOfOrthogonalAxes(motions[f]), p),
                      {body.places[m]->x, body.places[m]->y, body.places[m]->z});
  };
  std::vector<double> squares; // the median is not moved by the few that are far off
  for (const auto& [first, end] : spans)
    for (std::size_t f = first + 2; f < end; f += 3)
      for (std::size_t m = 0; m < body.places.size(); ++m) {
        const auto a = off(f - 2, m), b = off(f - 1, m), c = off(f, m);
        if (!a || !b || !c) continue;
        const VgeTVector bend = {a->x - 2 * b->x + c->x, a->y - 2 * b->y + c->y, a->z - 2 * b->z + c->z};
        squares.push_back(Dot(bend, bend) / 6); // 1 + 4 + 1 times the variance of each
      }
  if (squares.empty()) return 0;
  constexpr double kMedian = 2.366; // of a sum of three squares of unit deviation
  return Median(squares) / kMedian;
}

} // namespace

double CalmMotion(std::vector<VgeAMatrix>& motions, const std::vector<FrameSpan>& spans, const RigidFit& fit,
                  const std::vector<RigidBody::Points>& frames) {
  const RigidBody& body = fit.Body();
  const auto points = static_cast<double>(std::count_if(body.places.begin(), body.places.end(),
                                                        [](const auto& place) { return place.has_value(); }));
  double squares = 0, count = 0;
  for (const auto& [first, end] : spans)
    for (std::size_t f = first + kReach; f + kReach < end; ++f)
      for (const auto& place : body.places)
        if (place) {
          const VgeTVector apart = Difference(Carried(motions[f], *place), OnParabola(motions, f, *place));
          squares += Dot(apart, apart);
          ++count;
        }
  if (!(squares > 0)) return 0;

  // Of the points' 3n errors the six freedoms of a motion take up six: so much noise is in the motion, and
  // missing from what is left beside it. Of white noise the parabola leaves out 1 - 17/35.
  const double explained =
      NoiseVariance(motions, spans, body, frames) * 6 / (points - 2) * (1 - kParabola[kReach]);
  const double share = std::clamp(explained * count / squares, 0.0, 1.0);

  RigidBody even = body; // all of its points are where a rigid body has them, nearly
  std::fill(even.spread_mm.begin(), even.spread_mm.end(), 1.0);
  even.noise_mm = std::numeric_limits<double>::infinity();
  RigidFit rigid(std::move(even));
  std::vector<VgeAMatrix> calm = motions;
  RigidBody::Points places(body.places.size());
  for (const auto& [first, end] : spans)
    for (std::size_t f = first + kReach; f + kReach < end; ++f) {
      for (std::size_t m = 0; m < places.size(); ++m) {
        if (!body.places[m]) continue;
        const VgeTVector from = Carried(motions[f], *body.places[m]),
                         to = OnParabola(motions, f, *body.places[m]);
        places[m] = Point{from.x + share * (to.x - from.x), from.y + share * (to.y - from.y),
                          from.z + share * (to.z - from.z)};
      }
      if (const auto motion = rigid.Solve(places)) calm[f] = *motion;
    }
  motions = std::move(calm);
  return share;
}

} // namespace mien
