#include "host/cleaning/rigid_fit_lanes.h"

#include "tests/host/plain_face.h"
#include "tests/host/same_bits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

using mien::FitBody;
using mien::FitFrames;
using mien::FitOfWidth;
using mien::FitsInLanes;
using mien::Point;
using mien::RigidBody;
using tests::AnyMotion;
using tests::Carried;
using tests::SameBits;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

RigidBody AnyBody(tests::Random& random, std::size_t count, double spread, double noise) {
  RigidBody body;
  for (std::size_t i = 0; i < count; ++i) {
    const double x = random.Between(-80, 80), y = random.Between(-80, 80), z = random.Between(-80, 80);
    body.places.emplace_back(Point{x, y, z});
    body.spread_mm.push_back(spread * random.Between(0.5, 2));
  }
  body.noise_mm = noise;
  return body;
}

RigidBody::Points Carry(const RigidBody& body, tests::Random& random, double tremble) {
  const VgeAMatrix motion = AnyMotion(random);
  RigidBody::Points seen;
  for (const auto& place : body.places) {
    const Point p = Carried(motion, place.value_or(Point{0, 0, 0}));
    const double x = random.Between(-1, 1), y = random.Between(-1, 1), z = random.Between(-1, 1);
    seen.emplace_back(Point{p.x + tremble * x, p.y + tremble * y, p.z + tremble * z});
  }
  return seen;
}

std::vector<std::optional<VgeAMatrix>> Fit(const FitOfWidth& form, const RigidBody& body,
                                           const std::vector<RigidBody::Points>& frames, int rounds) {
  const FitBody constants = FitBodyOf(body);
  FitFrames lanes(body.places.size(), form.width);
  std::vector<std::optional<VgeAMatrix>> motions;
  for (std::size_t first = 0; first < frames.size(); first += form.width) {
    const std::size_t count = std::min(form.width, frames.size() - first);
    for (std::size_t lane = 0; lane < form.width; ++lane)
      Show(constants, lane < count ? frames[first + lane] : RigidBody::Points(body.places.size()), lanes,
           lane);
    form.fit(constants, lanes, rounds);
    for (std::size_t lane = 0; lane < count; ++lane) motions.push_back(MotionIn(lanes, lane));
  }
  return motions;
}

/// Returns how many of the frames have a motion.
std::size_t ExpectTheSameInEveryWidth(const RigidBody& body, const std::vector<RigidBody::Points>& frames) {
  std::size_t found = 0;
  for (const int rounds : {0, 1, mien::kFitRounds}) {
    const auto expected = Fit(FitsInLanes().front(), body, frames, rounds);
    for (const FitOfWidth& form : FitsInLanes()) {
      const auto motions = Fit(form, body, frames, rounds);
      for (std::size_t f = 0; f < frames.size(); ++f)
        EXPECT_TRUE(SameBits(motions[f], expected[f]))
            << form.width << " lanes, frame " << f << " of " << frames.size() << ", rounds " << rounds;
    }
    found = static_cast<std::size_t>(std::count_if(expected.begin(), expected.end(),
                                                   [](const auto& motion) { return motion.has_value(); }));
  }
  return found;
}

} // namespace

TEST(FitsInLanes, AreAllThatTheProcessorHas) {
  EXPECT_EQ(FitsInLanes().front().width, 1u);
  std::size_t widest = 1;
#if defined(__GNUC__)
  widest = 2;
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx")) widest = 4;
  if (__builtin_cpu_supports("avx512f")) widest = 8;
#endif
#endif
  EXPECT_EQ(FitsInLanes().back().width, widest);
  for (std::size_t i = 0; i < FitsInLanes().size(); ++i) EXPECT_EQ(FitsInLanes()[i].width, 1u << i);
}

// Frames in which points tremble, are hidden, and are far off: they need different numbers of rounds and of
// sweeps, side by side.
TEST(FitsInLanes, HaveTheBitsOfOneLane) {
  tests::Random random(1);
  for (const std::size_t points : {3u, 4u, 5u, 19u, 40u})
    for (std::size_t count = 0; count <= 20; ++count) {
      RigidBody body = AnyBody(random, points, 0.3, 0.3);
      if (points > 4) body.places[2].reset();
      std::vector<RigidBody::Points> frames;
      for (std::size_t f = 0; f < count; ++f) {
        RigidBody::Points& seen = frames.emplace_back(Carry(body, random, f % 3 == 0 ? 0 : 0.3));
        if (f % 4 == 1) seen[f % points].reset();
        if (f % 5 == 2) seen[(f + 1) % points]->x += 30;
        if (f % 7 == 3) seen[(f + 2) % points] = Point{1000, 2000, -500};
      }
      const std::size_t found = ExpectTheSameInEveryWidth(body, frames);
      if (points > 4) { EXPECT_EQ(found, count); }
    }
}

// Most of the points are off by different lengths, so that the nearer half sets what counts in full.
TEST(FitsInLanes, HaveTheBitsOfOneLaneWhereMostPointsAreOff) {
  tests::Random random(2);
  for (const std::size_t points : {4u, 7u, 24u}) {
    const RigidBody body = AnyBody(random, points, 0.5, 0.01);
    std::vector<RigidBody::Points> frames;
    for (std::size_t f = 0; f < 20; ++f) {
      frames.push_back(Carry(body, random, 10));
      if (f % 3 == 0) frames.back()[f % points].reset();
    }
    EXPECT_GT(ExpectTheSameInEveryWidth(body, frames), 0u);
  }
}

TEST(FitsInLanes, HaveTheBitsOfOneLaneForFramesThatDetermineNothing) {
  tests::Random random(3);
  const RigidBody body = AnyBody(random, 6, 0.3, 0.3);
  RigidBody::Points line, place, two = Carry(body, random, 0.1), none(6), zeros, flat;
  for (int i = 0; i < 6; ++i) {
    line.emplace_back(Point{10.0 * i, -20.0 * i, 5.0 * i});
    place.emplace_back(Point{3, 4, 5});
    zeros.emplace_back(i % 2 == 0 ? Point{0.0, -0.0, 0.0} : Point{-0.0, 0.0, -0.0});
    flat.emplace_back(Point{10.0 * i, 3.0 * i * i, 0});
  }
  for (const std::size_t m : {0u, 2u, 3u, 5u}) two[m].reset();
  std::vector<RigidBody::Points> frames;
  for (int f = 0; f < 4; ++f)
    for (const auto& seen : {line, place, two, none, zeros, flat, Carry(body, random, 0.1)})
      frames.push_back(seen);
  EXPECT_EQ(ExpectTheSameInEveryWidth(body, frames), 8u);

  RigidBody straight = body;
  for (std::size_t i = 0; i < 6; ++i) straight.places[i] = Point{10.0 * static_cast<double>(i), 0, 0};
  EXPECT_EQ(ExpectTheSameInEveryWidth(straight, frames), 0u);
  straight.places.assign(6, Point{-0.0, 0, 0});
  EXPECT_EQ(ExpectTheSameInEveryWidth(straight, frames), 0u);
}

// Unmoved, quarter turns and mirrored: matrices with zeros, of both signs, in which sweeps skip some turns.
TEST(FitsInLanes, HaveTheBitsOfOneLaneForExactTurns) {
  RigidBody body;
  for (const double x : {-50.0, 50.0})
    for (const double y : {-40.0, 40.0})
      for (const double z : {-30.0, 30.0}) body.places.emplace_back(Point{x, y, z});
  body.spread_mm.assign(8, 1);
  for (const double noise : {0.0, 1e-3, 1.0, kInfinity}) {
    body.noise_mm = noise;
    std::vector<RigidBody::Points> frames(6, body.places);
    for (std::size_t i = 0; i < 8; ++i) {
      const auto [x, y, z] = *body.places[i];
      frames[1][i] = Point{-y, x, z}, frames[2][i] = Point{-x, -y, z}, frames[3][i] = Point{y, z, x};
      frames[4][i] = Point{-x, y, z}, frames[5][i] = Point{-x, -y, -z};
    }
    EXPECT_GE(ExpectTheSameInEveryWidth(body, frames), 4u) << noise;
  }
}

TEST(FitsInLanes, HaveTheBitsOfOneLaneBeyondAllMeasure) {
  tests::Random random(4);
  for (const double spread : {0.0, 1e-200, 1e-80, 1.0, 1e80, 1e200, kInfinity})
    for (const double noise : {0.0, 1e-200, 0.3, 1e200, kInfinity}) {
      RigidBody body = AnyBody(random, 7, spread, noise);
      if (spread == 1) body.spread_mm[3] = 0, body.spread_mm[4] = kInfinity, body.spread_mm[5] = 1e160;
      std::vector<RigidBody::Points> frames;
      for (const double far :
           {1e-300, 1.0, 1e20, 1e76, 1e100, 1e154, 1e300, std::numeric_limits<double>::max()})
        for (std::size_t which = 0; which < 3; ++which) {
          RigidBody::Points& seen = frames.emplace_back(Carry(body, random, 0.3));
          for (std::size_t i = 0; i <= 2 * which; ++i) seen[i] = Point{far, i % 2 == 0 ? far : -far, -far};
        }
      ExpectTheSameInEveryWidth(body, frames);
    }
}
