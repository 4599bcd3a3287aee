#include "host/fit/shape_fit.h"

#include "tests/failing_heap.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

using mien::Point;
using mien::ShapeFit;
using mien::ShapeFitPoints;
using mien::ShapeFitSettings;

namespace {

using Seen = std::vector<std::optional<Point>>;

/// Points spread over a face, and shapes that move each by up to 5 mm.
ShapeFitPoints Face(std::size_t points, std::size_t shapes, std::uint64_t seed = 1) {
  tests::Random random(seed);
  ShapeFitPoints face;
  face.shapes = shapes;
  const auto any = [&](double most) {
    return Point{random.Between(-most, most), random.Between(-most, most), random.Between(-most, most)};
  };
  for (std::size_t p = 0; p < points; ++p) {
    face.rest.push_back(any(60));
    face.trust.push_back({1, 1, 1});
    for (std::size_t s = 0; s < shapes; ++s) face.moved.push_back(any(5));
  }
  return face;
}

Seen Posed(const ShapeFitPoints& face, const std::vector<double>& weights) {
  Seen seen;
  for (std::size_t p = 0; p < face.rest.size(); ++p) {
    Point place = face.rest[p];
    for (std::size_t s = 0; s < face.shapes; ++s) {
      const Point& moved = face.moved[p * face.shapes + s];
      place.x += weights[s] * moved.x, place.y += weights[s] * moved.y, place.z += weights[s] * moved.z;
    }
    seen.emplace_back(place);
  }
  return seen;
}

/// Nothing but the points counts, almost.
ShapeFitSettings Exact() {
  return {.damping = 1e-9, .inertia = 0, .rigid = 1e9, .shift = 1e9, .most = 1.25, .tolerance = 1e-12};
}

void ExpectWeights(const std::vector<double>& weights, const std::vector<double>& expected,
                   double tolerance) {
  ASSERT_EQ(weights.size(), expected.size());
  for (std::size_t s = 0; s < weights.size(); ++s) EXPECT_NEAR(weights[s], expected[s], tolerance) << s;
}

} // namespace

TEST(ShapeFit, FindsTheWeightsThatPosedTheFace) {
  const ShapeFitPoints face = Face(30, 8);
  const std::vector<double> weights = {0, 0.25, 1, 0.5, 0, 1.25, 0.75, 0.1};
  ShapeFit fit(face, Exact());
  ExpectWeights(fit.Solve(Posed(face, weights)), weights, 1e-9);
  EXPECT_NEAR(fit.Residual(), 0, 1e-6);
}

TEST(ShapeFit, WeightsStayWithinTheirLimits) {
  const ShapeFitPoints face = Face(30, 3);
  ShapeFit fit(face, Exact());
  const std::vector<double>& weights = fit.Solve(Posed(face, {-0.5, 2, 0.5}));
  EXPECT_EQ(weights[0], 0);
  EXPECT_EQ(weights[1], 1.25);
}

// At a minimum within limits no weight can change for the better: the gradient is 0, or points out of the box.
TEST(ShapeFit, IsAtTheMinimum) {
  tests::Random random(5);
  ShapeFitPoints face = Face(20, 12, 5);
  for (Point& trust : face.trust) trust = {1, 1, 0.5};
  face.regions = {{0, 1, 2, 3}};
  const ShapeFitSettings settings = {
      .damping = 60, .inertia = 0, .rigid = 2, .shift = 0.5, .most = 1.25, .tolerance = 1e-12};
  ShapeFit fit(face, settings);
  for (int round = 0; round < 2; ++round) {
    std::vector<double> posed;
    for (int s = 0; s < 12; ++s) posed.push_back(random.Between(-0.5, 1.5));
    const Seen seen = Posed(face, posed);
    fit.Restart();
    const std::vector<double> weights = fit.Solve(seen);
    // The sum that is minimised, over weights, rigid motion and shift together: minimised over the latter two
    // by brute force, since it is quadratic in each.
    const auto cost = [&](std::vector<double> w) {
      constexpr std::size_t kOthers = 8;
      double others[kOthers] = {};
      const auto sum = [&] {
        Point middle = {0, 0, 0};
        for (const Point& p : face.rest) middle.x += p.x / 20, middle.y += p.y / 20, middle.z += p.z / 20;
        double total = 0;
        for (std::size_t p = 0; p < 20; ++p) {
          Point left = {seen[p]->x - face.rest[p].x, seen[p]->y - face.rest[p].y,
                        seen[p]->z - face.rest[p].z};
          for (std::size_t s = 0; s < 12; ++s) {
            const Point& moved = face.moved[p * 12 + s];
            left.x -= w[s] * moved.x, left.y -= w[s] * moved.y, left.z -= w[s] * moved.z;
          }
          const Point arm = {(face.rest[p].x - middle.x) / 70, (face.rest[p].y - middle.y) / 70,
                             (face.rest[p].z - middle.z) / 70};
          left.x -= others[0] + others[4] * arm.z - others[5] * arm.y + (p < 4 ? others[6] : 0);
          left.y -= others[1] + others[5] * arm.x - others[3] * arm.z + (p < 4 ? others[7] : 0);
          left.z -= others[2] + others[3] * arm.y - others[4] * arm.x;
          total += left.x * left.x + left.y * left.y + 0.25 * left.z * left.z;
        }
        for (const double weight : w) total += 60 * weight * weight;
        for (std::size_t i = 0; i < 6; ++i) total += 2 * others[i] * others[i];
        return total + 0.5 * (others[6] * others[6] + others[7] * others[7]);
      };
      for (int sweep = 0; sweep < 400; ++sweep)
        for (double& other : others) {
          const double at = other, here = sum();
          other = at + 1;
          const double above = sum();
          other = at - 1;
          const double below = sum();
          other = at - (above - below) / (2 * (above - 2 * here + below));
        }
      return sum();
    };
    for (std::size_t s = 0; s < 12; ++s) {
      constexpr double kStep = 1e-3;
      std::vector<double> more = weights, less = weights;
      more[s] += kStep, less[s] -= kStep;
      const double slope = (cost(more) - cost(less)) / (2 * kStep);
      EXPECT_TRUE(weights[s] == 0 || slope < 1e-4) << s;     // a smaller weight would be worse
      EXPECT_TRUE(weights[s] == 1.25 || slope > -1e-4) << s; // so would a larger one
    }
  }
}

TEST(ShapeFit, HiddenPointsAreLeftOut) {
  const ShapeFitPoints face = Face(30, 5);
  const std::vector<double> weights = {0.5, 0.25, 1, 0, 0.125};
  ShapeFit fit(face, Exact());
  Seen seen = Posed(face, weights);
  for (std::size_t p = 0; p < 20; ++p) seen[p].reset();
  ExpectWeights(fit.Solve(seen), weights, 1e-8);
  ExpectWeights(fit.Solve(Posed(face, weights)), weights, 1e-8);
  seen.assign(seen.size(), std::nullopt);
  ExpectWeights(fit.Solve(seen), weights, 1e-8);
}

// What is left of the head's motion, and an eye that a tracker shifts as a whole, are not an expression.
TEST(ShapeFit, RigidMotionAndShiftsOfARegionAreNotShapes) {
  ShapeFitPoints face = Face(60, 6);
  face.regions = {{3, 14, 25, 36, 47}};
  ShapeFitSettings settings = Exact();
  settings.rigid = settings.shift = 1e-6;
  ShapeFit fit(face, settings);
  const std::vector<double> weights = {0.5, 0, 1, 0.25, 0.75, 0};
  Seen seen = Posed(face, weights);
  Point middle = {0, 0, 0};
  for (const Point& p : face.rest) middle.x += p.x / 60, middle.y += p.y / 60, middle.z += p.z / 60;
  for (std::size_t p = 0; p < 60; ++p) {
    const Point arm = {face.rest[p].x - middle.x, face.rest[p].y - middle.y, face.rest[p].z - middle.z};
    seen[p]->x += 1 + 0.01 * arm.z - 0.03 * arm.y;
    seen[p]->y += -2 + 0.03 * arm.x - 0.02 * arm.z;
    seen[p]->z += 0.5 + 0.02 * arm.y - 0.01 * arm.x;
  }
  for (const std::size_t p : face.regions[0]) seen[p]->x += 1.5, seen[p]->y -= 0.75;
  ExpectWeights(fit.Solve(seen), weights, 1e-5);
  EXPECT_NEAR(fit.Residual(), 0, 1e-5);
}

TEST(ShapeFit, InertiaHoldsBackAChangeButNotTheFirstFrame) {
  const ShapeFitPoints face = Face(30, 4);
  ShapeFitSettings settings = Exact();
  settings.inertia = 1e4;
  ShapeFit fit(face, settings);
  const std::vector<double> rest = {0, 0, 0, 0}, smile = {0.5, 1, 0.25, 0.75};
  ExpectWeights(fit.Solve(Posed(face, smile)), smile, 1e-4);
  fit.Restart();
  fit.Solve(Posed(face, rest));
  const std::vector<double> first = fit.Solve(Posed(face, smile)), second = fit.Solve(Posed(face, smile));
  for (std::size_t s = 0; s < 4; ++s) {
    EXPECT_GT(first[s], 0.02) << s;
    EXPECT_LT(first[s], 0.5 * smile[s]) << s;
    EXPECT_GT(second[s], first[s]) << s;
  }
}

// A frame is what it and those before it make it: a stream gets what a take gets.
TEST(ShapeFit, LaterFramesDoNotMatter) {
  tests::Random random(6);
  const ShapeFitPoints face = Face(25, 6, 6);
  std::vector<Seen> frames;
  for (std::size_t f = 0; f < 20; ++f) {
    std::vector<double> weights;
    for (int s = 0; s < 6; ++s) weights.push_back(random.Between(0, 1));
    frames.push_back(Posed(face, weights));
    if (f % 5 == 0) frames.back()[f].reset();
  }
  ShapeFit whole(face, {}), cut(face, {});
  std::vector<std::vector<double>> weights;
  for (const Seen& frame : frames) weights.push_back(whole.Solve(frame));
  for (std::size_t f = 0; f < 12; ++f) EXPECT_EQ(cut.Solve(frames[f]), weights[f]) << f;
}

TEST(ShapeFit, AFrameAllocatesNothing) {
  const ShapeFitPoints face = Face(68, 43);
  ShapeFit fit(face, {});
  const Seen all = Posed(face, std::vector<double>(43, 0.5));
  Seen gaps = all;
  gaps[3].reset(), gaps[50].reset();
  EXPECT_FALSE(tests::RunsOutOfMemory(0, [&] {
    fit.Solve(all);
    fit.Solve(gaps);
    fit.Restart();
    fit.Solve(all);
    fit.Residual();
  }));
}

TEST(ShapeFit, UncertaintySaysWhatThePointsDoNotShow) {
  ShapeFitPoints face = Face(20, 4);
  for (std::size_t p = 0; p < 20; ++p) {
    face.moved[p * 4 + 1] = {0, 0, 0};             // moves nothing
    face.moved[p * 4 + 3] = face.moved[p * 4 + 2]; // like another
  }
  const std::vector<double> uncertain = ShapeFit(face, {}).Uncertainty(0.5);
  EXPECT_LT(uncertain[0], 0.1);
  EXPECT_NEAR(uncertain[1], 1, 1e-9);
  // Of two alike only the sum is known: half of the variance of each is left.
  EXPECT_NEAR(uncertain[2], std::sqrt(0.5), 0.01);
  EXPECT_NEAR(uncertain[3], std::sqrt(0.5), 0.01);
}

TEST(ShapeFit, ResponseIsWhatDampingLeavesOfAShapeAlone) {
  const ShapeFitPoints face = Face(30, 4);
  ShapeFitSettings settings = Exact();
  settings.damping = 300;
  ShapeFit fit(face, settings);
  const std::vector<double> response = fit.Response();
  for (std::size_t s = 0; s < 4; ++s) {
    std::vector<double> alone(4);
    alone[s] = 1;
    fit.Restart();
    EXPECT_LT(response[s], 0.95);
    EXPECT_NEAR(fit.Solve(Posed(face, alone))[s], response[s], 0.01) << "the others are limited to 0";
  }
}

TEST(ShapeFit, TakesFacesWithoutPointsOrShapes) {
  ShapeFit no_points(Face(0, 3), {});
  ExpectWeights(no_points.Solve({}), {0, 0, 0}, 0);
  EXPECT_EQ(no_points.Residual(), 0);
  const ShapeFitPoints face = Face(5, 0);
  EXPECT_THAT(ShapeFit(face, {}).Solve(Posed(face, {})), testing::IsEmpty());
}

// More shapes than the points can tell apart, and all points in a plane: damping keeps the minimum unique.
TEST(ShapeFit, TakesMoreShapesThanPoints) {
  ShapeFitPoints face = Face(3, 20);
  for (Point& p : face.rest) p.z = 0;
  ShapeFit fit(face, {});
  const std::vector<double>& weights = fit.Solve(Posed(face, std::vector<double>(20, 0.5)));
  for (const double weight : weights) {
    EXPECT_GE(weight, 0);
    EXPECT_LE(weight, 1.25);
  }
}
