#include "host/cleaning/calm_motion.h"

#include "tests/host/plain_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string>
#include <vector>

using mien::CalmMotion;
using mien::FrameSpan;
using mien::Point;
using mien::RigidBody;
using mien::RigidFit;
using tests::Carried;
using tests::Difference;
using tests::Distance;
using tests::Motion;

namespace {

// Of places up to a metre from the camera, through a fit and back.
constexpr double kRounding = 1e-9;

/// Of standard deviation 1.
double Normal(tests::Random& random) {
  double sum = 0;
  for (int i = 0; i < 12; ++i) sum += random.Between(-0.5, 0.5);
  return sum;
}

/// The five head markers of the plain face, or a cloud of a head's size.
RigidBody BodyOf(std::size_t count, double sigma) {
  tests::Random random(3);
  RigidBody body;
  for (std::size_t i = 0; i < count; ++i) {
    const double x = random.Between(-80, 80), y = random.Between(-80, 80), z = random.Between(-80, 80);
    body.places.push_back(count == 5 ? tests::PlainFace().at("H" + std::to_string(i + 1)) : Point{x, y, z});
  }
  body.spread_mm.assign(count, std::max(sigma, 1e-3));
  body.noise_mm = std::max(sigma, 1e-3);
  return body;
}

/// A body that goes a known way, filmed with noise of `sigma` per axis.
struct Filmed {
  template <class Way>
  Filmed(std::size_t points, double sigma, std::size_t count, Way way)
      : fit(BodyOf(points, sigma)), frames(std::vector<std::string>(points, "point")) {
    tests::Random random(11);
    for (std::size_t f = 0; f < count; ++f) {
      truth.push_back(way(static_cast<double>(f)));
      RigidBody::Points seen;
      frames.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f));
      for (const auto& place : fit.Body().places) {
        Point p = Carried(truth.back(), *place);
        for (double* axis : {&p.x, &p.y, &p.z}) *axis += sigma * Normal(random);
        frames.Set(f, seen.size(), p);
        seen.emplace_back(p);
      }
      motions.push_back(fit.Solve(seen).value());
    }
    found = motions;
  }

  double Calm(const std::vector<FrameSpan>& spans) { return CalmMotion(motions, spans, fit, frames); }
  double Calm() { return Calm({{0, motions.size()}}); }

  /// The root of the mean square of how far a motion puts the body's places from where they are.
  double Error(const mien::LongVector<VgeAMatrix>& of) const {
    double squares = 0, count = 0;
    for (std::size_t f = 2; f + 2 < of.size(); ++f)
      for (const auto& place : fit.Body().places) {
        squares += std::pow(Distance(Carried(of[f], *place), Carried(truth[f], *place)), 2);
        ++count;
      }
    return std::sqrt(squares / count);
  }

  RigidFit fit;
  mien::LongVector<VgeAMatrix> truth, found, motions; // found: before they are calmed
  mien::Take frames;
};

} // namespace

// --- What is taken out.

// Nothing but noise: all of it is drawn to the parabola, which leaves 17/35 of white noise's variance.
// However few the points are.
TEST(CalmMotion, LeavesOfWhiteNoiseWhatAParabolaThroughFiveLeaves) {
  for (const std::size_t points : {4u, 5u, 8u, 19u}) {
    Filmed still(points, 0.3, 1500, [](double) { return VgeAMatrix(); });
    EXPECT_NEAR(still.Calm(), 1, 0.1) << points; // of a median of some 500 squares per point
    EXPECT_NEAR(still.Error(still.motions) / still.Error(still.found), std::sqrt(17.0 / 35), 0.02) << points;
  }
}

// A head that nods at 1.5 Hz and turns at 0.5 Hz, at 30 frames a second: talk is not in the way of it.
TEST(CalmMotion, LeavesAboutAsMuchUnderAnOrdinaryMotion) {
  constexpr double kPerFrame = 2 * std::numbers::pi / 30;
  Filmed talk(19, 0.5, 900, [](double f) {
    return Motion({3 * std::sin(1.5 * kPerFrame * f), 20 * std::sin(0.5 * kPerFrame * f), 0},
                  {30 * std::sin(0.3 * kPerFrame * f), 0, 600});
  });
  EXPECT_GT(talk.Calm(), 0.85);
  EXPECT_NEAR(talk.Error(talk.motions) / talk.Error(talk.found), std::sqrt(17.0 / 35), 0.03);
}

// --- What stays.

// The parabola is exact for what has no fourth derivative; a turn of 2 degrees a frame misses it by 3/35 of
// 0.035^4 of the radius, some 1e-7.
TEST(CalmMotion, AnExactSmoothMotionStays) {
  Filmed thrown(19, 0, 60, [](double f) {
    return Motion({}, {3 * f, 2 * f - 0.05 * f * f, 600 + 0.01 * f * f * f});
  });
  thrown.Calm();
  EXPECT_LT(thrown.Error(thrown.motions), kRounding);
  Filmed turning(19, 0, 60, [](double f) { return Motion({0, 2 * f, 0}, {}); });
  turning.Calm();
  EXPECT_LT(turning.Error(turning.motions), 1e-7 * 140);
}

// A head that is shaken at 5 Hz, as quickly as one can be, by 6 degrees to each side, in noise of 0.3 mm. The
// parabola by itself would take 9 % off it at 30 frames a second.
TEST(CalmMotion, AShakeOf5HertzStaysNearly) {
  constexpr double kPerFrame = 2 * std::numbers::pi * 5 / 30;
  const auto shake = [](double f) { return Motion({0, 6 * std::sin(kPerFrame * f + 0.3), 0}, {}); };
  Filmed shaken(19, 0.3, 600, shake);
  const double share = shaken.Calm();
  EXPECT_LT(share, 0.2);
  // Its amplitude, by its product with the sine that it is.
  double found = 0, truth = 0;
  for (std::size_t f = 2; f + 2 < 600; ++f) {
    found += shaken.motions[f].m[2][0] * shaken.truth[f].m[2][0];
    truth += shaken.truth[f].m[2][0] * shaken.truth[f].m[2][0];
  }
  EXPECT_NEAR(found / truth, 1 - 0.086 * share, 0.002);
  EXPECT_LE(shaken.Error(shaken.motions), shaken.Error(shaken.found)) << "it is no worse than it was";
}

// What is far from the parabola for other reasons than noise is not calmed: a body that is thrown about
// exactly.
TEST(CalmMotion, WithoutNoiseNothingIsNoise) {
  tests::Random random(5);
  Filmed thrown(5, 0, 200, [&](double) {
    const auto angle = [&random] { return random.Between(-10, 10); };
    const VgeRVector turn(angle(), angle(), angle());
    return Motion(turn, {angle(), angle(), angle()});
  });
  EXPECT_LT(thrown.Calm(), 1e-12);
  EXPECT_LT(thrown.Error(thrown.motions), kRounding);
}

TEST(CalmMotion, TheShareIsOneForTheTakeFrom0To1) {
  for (const double shake : {0.0, 0.1, 0.3, 1.0, 3.0, 10.0}) {
    tests::Random random(6);
    Filmed shaken(8, 0.3, 300, [&](double) { return Motion({0, random.Between(-shake, shake), 0}, {}); });
    const double share = shaken.Calm();
    EXPECT_GE(share, 0);
    EXPECT_LE(share, 1);
    // Of the way of a place to the parabola the same part is gone in every frame.
    const Point place = *shaken.fit.Body().places[0];
    for (std::size_t f = 2; f + 2 < 300; ++f) {
      Point parabola = {};
      for (std::size_t i = 0; i < 5; ++i) {
        const double weights[] = {-3.0 / 35, 12.0 / 35, 17.0 / 35, 12.0 / 35, -3.0 / 35};
        const Point p = Carried(shaken.found[f + i - 2], place);
        parabola = {parabola.x + weights[i] * p.x, parabola.y + weights[i] * p.y,
                    parabola.z + weights[i] * p.z};
      }
      const Point from = Carried(shaken.found[f], place);
      const Point to = {from.x + share * (parabola.x - from.x), from.y + share * (parabola.y - from.y),
                        from.z + share * (parabola.z - from.z)};
      // The parabola cuts the corner of a turn, where a rigid body has to stay on the arc: by the turn's
      // square, in radians.
      const double turn = 2 * shake * std::numbers::pi / 180 + 0.01; // of the noise
      EXPECT_LT(Distance(Carried(shaken.motions[f], place), to), share * 140 * turn * turn)
          << shake << ' ' << f;
    }
  }
}

// --- Where a span ends.

TEST(CalmMotion, SpansEndAtTheirBreaks) {
  const std::vector<FrameSpan> spans = {{0, 30}, {30, 34}, {34, 39}, {45, 60}};
  tests::Random random(7);
  Filmed take(8, 0.3, 64, [&](double f) { // each span somewhere else
    return Motion({0, f < 30 ? 0.0 : f < 34 ? 40.0 : f < 39 ? -30.0 : f < 45 ? 5.0 : 80.0, 0}, {});
  });
  take.Calm(spans);
  for (std::size_t f = 0; f < 64; ++f) {
    const bool inside = (f >= 2 && f < 28) || f == 36 || (f >= 47 && f < 58);
    EXPECT_EQ(take.motions[f] == take.found[f], !inside) << f;
    if (inside) {
      EXPECT_LT(Difference(take.motions[f], take.truth[f]), 1) << "no span draws on another: " << f;
    }
  }
}

TEST(CalmMotion, WithoutASpanOfFiveNothingIsDone) {
  for (const std::vector<FrameSpan>& spans : {std::vector<FrameSpan>{}, {{0, 4}, {4, 8}, {9, 9}}}) {
    Filmed take(8, 0.3, 10, [](double) { return VgeAMatrix(); });
    EXPECT_EQ(take.Calm(spans), 0);
    EXPECT_EQ(take.motions, take.found);
  }
  Filmed none(8, 0.3, 0, [](double) { return VgeAMatrix(); });
  EXPECT_EQ(none.Calm({}), 0);
}

// Frames that hide a point contain nothing about its noise; the motion is still calmed.
TEST(CalmMotion, HiddenPointsAreNoTrouble) {
  Filmed take(8, 0.3, 400, [](double) { return VgeAMatrix(); });
  for (std::size_t f = 0; f < 400; ++f) {
    take.frames.Clear(f, f % 8);
    for (std::size_t m = 0; m < 8 && f % 50 < 10; ++m) take.frames.Clear(f, m);
  }
  EXPECT_NEAR(take.Calm(), 1, 0.15);
  Filmed unseen(8, 0.3, 20, [](double) { return VgeAMatrix(); });
  for (std::size_t f = 0; f < 20; ++f)
    for (std::size_t m = 0; m < 8; ++m) unseen.frames.Clear(f, m);
  EXPECT_EQ(unseen.Calm(), 0);
}
