#include "host/cleaning/rigid_motion.h"

#include "tests/host/plain_face.h"

#include <gtest/gtest.h>

#include <bitset>
#include <optional>

using mien::Point;
using mien::RigidMotion;
using Markers = RigidMotion::Markers;
using tests::Carried;
using tests::Difference;

namespace {

constexpr unsigned kAll = 0b11111;

// Positions are up to two metres from the room's origin, where doubles are exact to 2e-13 m; rotations
// amplify that by the size of the room relative to the head, about ten times.
constexpr double kRounding = 1e-9;

/// Those head markers of the plain face whose bits are set.
Markers Head(unsigned seen = kAll) {
  const mien::NeutralPose face = tests::PlainFace();
  Markers markers;
  for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot)
    if (seen >> slot & 1) markers[slot] = face.at("H" + std::to_string(slot + 1));
  return markers;
}

Markers Carry(const VgeAMatrix& motion, Markers markers) {
  for (auto& marker : markers)
    if (marker) marker = Carried(motion, *marker);
  return markers;
}

} // namespace

TEST(RigidMotion, TheReferenceGivesTheIdentity) {
  RigidMotion motion(Head());
  const auto found = motion.Solve(Head());
  ASSERT_TRUE(found);
  EXPECT_LT(Difference(*found, VgeAMatrix()), 1e-12); // a tenth of a metre from the origin
}

TEST(RigidMotion, RecoversAnyMotionFromAnyThreeMarkersOrMore) {
  tests::Random random(2);
  RigidMotion motion(Head()); // one for all subsets, in any order
  int subsets = 0;
  for (int round = 0; round < 50; ++round)
    for (unsigned seen = 0; seen <= kAll; ++seen) {
      const VgeAMatrix truth = tests::AnyMotion(random);
      const auto found = motion.Solve(Carry(truth, Head(seen)));
      if (std::bitset<5>(seen).count() < 3) {
        ASSERT_FALSE(found) << std::bitset<5>(seen);
        continue;
      }
      ASSERT_TRUE(found) << std::bitset<5>(seen);
      ASSERT_LT(Difference(*found, truth), kRounding) << std::bitset<5>(seen);
      ++subsets;
    }
  EXPECT_EQ(subsets, 50 * 16);
}

// A marker that is hidden sometimes must not make the head jump.
TEST(RigidMotion, HiddenMarkersDoNotMoveAnExactlyRigidHead) {
  tests::Random random(3);
  RigidMotion motion(Head());
  const VgeAMatrix truth = tests::AnyMotion(random);
  const auto all = motion.Solve(Carry(truth, Head()));
  ASSERT_TRUE(all);
  for (const unsigned seen : {0b11110u, 0b01111u, 0b10101u, 0b11100u}) {
    const auto some = motion.Solve(Carry(truth, Head(seen)));
    ASSERT_TRUE(some);
    EXPECT_LT(Difference(*some, *all), kRounding) << std::bitset<5>(seen);
  }
  EXPECT_EQ(*motion.Solve(Carry(truth, Head())), *all) << "earlier hidden markers have no effect";
}

TEST(RigidMotion, MarkersThatTheReferenceLacksAreIgnored) {
  tests::Random random(4);
  RigidMotion motion(Head(0b10111));
  const VgeAMatrix truth = tests::AnyMotion(random);
  Markers markers = Carry(truth, Head());
  markers[3] = Point{9999, -9999, 9999};
  const auto found = motion.Solve(markers);
  ASSERT_TRUE(found);
  EXPECT_LT(Difference(*found, truth), kRounding);
  markers[0].reset(), markers[1].reset(); // three are visible, of which the reference has two
  EXPECT_FALSE(motion.Solve(markers));
}

TEST(RigidMotion, NothingWithoutATriangle) {
  EXPECT_FALSE(RigidMotion(Markers()).Solve(Head()));
  EXPECT_FALSE(RigidMotion(Head()).Solve(Markers()));
  // in a line, and in a point
  for (const double along : {10.0, 0.0}) {
    Markers line;
    for (std::size_t slot = 0; slot < 5; ++slot) {
      const double s = along * static_cast<double>(slot);
      line[slot] = Point{s, 2 * s + 5, -s};
    }
    EXPECT_FALSE(RigidMotion(line).Solve(line)) << along;
    EXPECT_FALSE(RigidMotion(Head()).Solve(line)) << along;
    EXPECT_FALSE(RigidMotion(line).Solve(Head())) << along;
  }
}

// Isosceles triangles with this angle at the tip: below 10 degrees, noise at the base would swing the head.
TEST(RigidMotion, ATriangleCountsFromTenDegreesOn) {
  const auto triangle = [](double degrees) {
    const double half = degrees / 2 / 57.29577951308232;
    return Markers{Point{0, 0, 0}, Point{100 * std::cos(half), 100 * std::sin(half), 0},
                   Point{100 * std::cos(half), -100 * std::sin(half), 0}, std::nullopt, std::nullopt};
  };
  EXPECT_FALSE(RigidMotion(triangle(9.9)).Solve(triangle(9.9)));
  EXPECT_TRUE(RigidMotion(triangle(10.1)).Solve(triangle(10.1)));
}

// Three of five are on a line: a frame with only these three is lost, and any other is not.
TEST(RigidMotion, IsLostOnlyIfTheVisibleMarkersAreOnALine) {
  Markers reference = Head();
  reference[0] = Point{-50, 100, 0}, reference[1] = Point{0, 110, 0}, reference[2] = Point{50, 120, 0};
  RigidMotion motion(reference);
  for (unsigned seen = 0; seen <= kAll; ++seen) {
    Markers markers = reference;
    for (std::size_t slot = 0; slot < 5; ++slot)
      if (!(seen >> slot & 1)) markers[slot].reset();
    const bool enough = std::bitset<5>(seen).count() >= 3 && seen != 0b00111;
    EXPECT_EQ(motion.Solve(markers).has_value(), enough) << std::bitset<5>(seen);
  }
}

// A millimetre of noise on one of five moves the head by less than that.
TEST(RigidMotion, FiveMarkersShareTheNoiseOfOne) {
  RigidMotion motion(Head());
  Markers markers = Head();
  markers[2]->y += 1;
  const auto found = motion.Solve(markers);
  ASSERT_TRUE(found);
  const Point middle = Carried(*found, {0, 132, 0}); // of the head markers
  EXPECT_LT(std::hypot(middle.x, middle.y - 132, middle.z), 1);
}
