#include "host/cleaning/rigid_fit.h"

#include "tests/failing_heap.h"
#include "tests/host/plain_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using mien::LearnRigidBody;
using mien::Point;
using mien::RigidBody;
using mien::RigidFit;
using mien::Take;
using testing::Each;
using tests::AnyMotion;
using tests::Carried;
using tests::Difference;
using tests::Distance;
using Points = RigidBody::Points;

namespace {

// Positions are up to three metres from the room's origin, of which a double knows 5e-13 m; rotations amplify
// that by the room's size over the body's, some ten times.
constexpr double kRounding = 1e-9;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Point AnyPlace(tests::Random& random) {
  const double x = random.Between(-80, 80), y = random.Between(-80, 80), z = random.Between(-80, 80);
  return {x, y, z};
}

/// A cloud of a head's size.
std::vector<Point> Cloud(std::size_t count, tests::Random& random) {
  std::vector<Point> cloud;
  for (std::size_t i = 0; i < count; ++i) cloud.push_back(AnyPlace(random));
  return cloud;
}

/// The five head markers of the plain face: any three of them make a triangle without an angle below 20
/// degrees.
std::vector<Point> Head() {
  std::vector<Point> head;
  for (const char* name : {"H1", "H2", "H3", "H4", "H5"}) head.push_back(tests::PlainFace().at(name));
  return head;
}

RigidBody BodyOf(const std::vector<Point>& places) {
  return {{places.begin(), places.end()}, std::vector<double>(places.size(), 0.3), 0.3};
}

Points Carry(const VgeAMatrix& motion, const std::vector<Point>& places) {
  Points carried;
  for (const Point& p : places) carried.emplace_back(Carried(motion, p));
  return carried;
}

/// How far two motions put any of these places apart, at most.
double Apart(const VgeAMatrix& a, const VgeAMatrix& b, const std::vector<Point>& places) {
  double most = 0;
  for (const Point& p : places) most = std::max(most, Distance(Carried(a, p), Carried(b, p)));
  return most;
}

bool IsFinite(const VgeAMatrix& motion) {
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row)
      if (!std::isfinite(motion.m[column][row])) return false;
  return true;
}

} // namespace

// --- Where a body has gone.

TEST(RigidFit, FindsAnExactMotionOf4To40Points) {
  tests::Random random(1);
  for (std::size_t count = 4; count <= 40; ++count)
    for (int round = 0; round < 20; ++round) {
      const std::vector<Point> cloud = Cloud(count, random);
      const VgeAMatrix truth = AnyMotion(random);
      const auto found = RigidFit(BodyOf(cloud)).Solve(Carry(truth, cloud));
      ASSERT_TRUE(found) << count;
      EXPECT_LT(Difference(*found, truth), kRounding) << count;
    }
}

TEST(RigidFit, FindsItFromAnyThreeThatAreSeen) {
  tests::Random random(2);
  RigidFit fit(BodyOf(Head()));
  for (unsigned seen = 0; seen <= 0b11111; ++seen) {
    const VgeAMatrix truth = AnyMotion(random);
    Points points = Carry(truth, Head());
    for (std::size_t i = 0; i < 5; ++i)
      if (!(seen >> i & 1)) points[i].reset();
    const auto found = fit.Solve(points);
    ASSERT_EQ(found.has_value(), std::bitset<5>(seen).count() >= 3) << std::bitset<5>(seen);
    if (found) { EXPECT_LT(Difference(*found, truth), kRounding) << std::bitset<5>(seen); }
  }
}

TEST(RigidFit, APointWithoutAPlaceCountsForNothing) {
  tests::Random random(3);
  RigidBody body = BodyOf(Head());
  body.places[1].reset();
  const VgeAMatrix truth = AnyMotion(random);
  Points seen = Carry(truth, Head());
  seen[1] = Point{1e6, -1e6, 0};
  RigidFit fit(body);
  EXPECT_LT(Difference(*fit.Solve(seen), truth), kRounding);
  seen[0].reset(), seen[2].reset(); // three are seen, of which two have a place
  EXPECT_FALSE(fit.Solve(seen));
}

TEST(RigidFit, EachFrameStandsForItself) {
  tests::Random random(4);
  RigidFit fit(BodyOf(Head()));
  const Points frame = Carry(AnyMotion(random), Head());
  const VgeAMatrix first = fit.Solve(frame).value();
  Points other = Carry(AnyMotion(random), Head());
  other[3].reset(), other[0]->x += 100;
  fit.Solve(other);
  fit.Solve(Points(5));
  EXPECT_EQ(fit.Solve(frame), first);
}

// A cross with arms of 100 mm and of so many: only the short ones show the turn about its length.
TEST(RigidFit, ABodyBelowATwentiethAsWideAsLongTellsNothing) {
  const auto cross = [](double width) {
    return std::vector<Point>{{100, 0, 0}, {-100, 0, 0}, {0, width, 0}, {0, -width, 0}};
  };
  tests::Random random(5);
  const VgeAMatrix motion = AnyMotion(random);
  for (const double width : {0.0, 0.01, 4.9})
    EXPECT_FALSE(RigidFit(BodyOf(cross(width))).Solve(Carry(motion, cross(width)))) << width;
  for (const double width : {5.1, 50.0})
    EXPECT_TRUE(RigidFit(BodyOf(cross(width))).Solve(Carry(motion, cross(width)))) << width;
  // In one place, and where the places are on a line but what is seen is not, or the other way round.
  const std::vector<Point> together(5, Point{1, 2, 3});
  EXPECT_FALSE(RigidFit(BodyOf(together)).Solve(Carry(motion, together)));
  const std::vector<Point> line = {{0, 0, 0}, {10, 20, -10}, {20, 40, -20}, {30, 60, -30}, {40, 80, -40}};
  EXPECT_FALSE(RigidFit(BodyOf(line)).Solve(Carry(motion, Head())));
  EXPECT_FALSE(RigidFit(BodyOf(Head())).Solve(Carry(motion, line)));
}

TEST(RigidFit, SizeMakesNoDifference) {
  tests::Random random(6);
  const VgeAMatrix motion = AnyMotion(random);
  Points seen = Carry(motion, Head());
  seen[2]->x += 3, seen[4]->y -= 1; // so that the points do not fit
  const VgeAMatrix found = RigidFit(BodyOf(Head())).Solve(seen).value();
  for (const double scale : {0x1p-10, 2.0, 0x1p10}) { // exact in binary
    RigidBody body = BodyOf(Head());
    Points scaled = seen;
    for (std::size_t i = 0; i < 5; ++i) {
      for (auto* p : {&*body.places[i], &*scaled[i]}) *p = {p->x * scale, p->y * scale, p->z * scale};
      body.spread_mm[i] *= scale;
    }
    body.noise_mm *= scale;
    VgeAMatrix same = RigidFit(body).Solve(scaled).value();
    for (int row = 0; row < 3; ++row) same.m[3][row] /= scale;
    EXPECT_EQ(same, found) << scale;
  }
}

// --- Points that are off their places.

// The sum of weighted squares is least: any small motion on top makes it larger. Within the noise, where
// every point counts in full.
TEST(RigidFit, IsTheLeastSumOfSquaresByTheInverseSquareOfEachSpread) {
  tests::Random random(7);
  const std::vector<Point> cloud = Cloud(8, random);
  RigidBody body = BodyOf(cloud);
  body.noise_mm = 10;
  for (std::size_t i = 0; i < 8; ++i) body.spread_mm[i] = 0.5 + 0.25 * static_cast<double>(i);
  for (int round = 0; round < 20; ++round) {
    Points seen = Carry(AnyMotion(random), cloud);
    for (auto& p : seen)
      *p = {p->x + random.Between(-2, 2), p->y + random.Between(-2, 2), p->z + random.Between(-2, 2)};
    const VgeAMatrix found = RigidFit(body).Solve(seen).value();
    const auto sum = [&](const VgeAMatrix& motion) {
      double squares = 0;
      for (std::size_t i = 0; i < 8; ++i)
        squares += std::pow(Distance(Carried(motion, cloud[i]), *seen[i]) / body.spread_mm[i], 2);
      return squares;
    };
    const double least = sum(found);
    for (int neighbour = 0; neighbour < 60; ++neighbour) {
      const auto little = [&random] { return random.Between(-0.05, 0.05); };
      const VgeRVector turn(little(), little(), little());
      const VgeAMatrix near = mien::Product(found, tests::Motion(turn, {little(), little(), little()}));
      EXPECT_GT(sum(near), least) << round;
    }
  }
}

TEST(RigidFit, APointThatStraysMoreCountsLess) {
  RigidBody body = BodyOf(Head());
  body.noise_mm = 10; // within it, so that only the spread matters
  Points seen = Carry({}, Head());
  seen[2]->y += 1;
  const double as_any = Apart(*RigidFit(body).Solve(seen), {}, Head());
  body.spread_mm[2] *= 10;
  EXPECT_LT(Apart(*RigidFit(body).Solve(seen), {}, Head()), 0.05 * as_any);
}

// A marker that slipped, of a body whose noise is 0.3 mm. In plain least squares it takes the others along by
// a good part of its way.
TEST(RigidFit, APointThatIsFarOffHardlyMovesTheBody) {
  tests::Random random(8);
  constexpr double kBound_mm = 0.001; // what (0.9/50)^4 of 50 mm comes to
  for (const std::size_t count : {5u, 8u, 19u}) {
    double robust = 0, plain = 0;
    for (int round = 0; round < 200; ++round) {
      const std::vector<Point> cloud = count == 5 ? Head() : Cloud(count, random);
      const VgeAMatrix truth = AnyMotion(random);
      Points seen = Carry(truth, cloud);
      const Point way = AnyPlace(random);
      const double length = std::hypot(way.x, way.y, way.z);
      auto& p = *seen[static_cast<std::size_t>(round) % count];
      p = {p.x + way.x * 50 / length, p.y + way.y * 50 / length, p.z + way.z * 50 / length};
      robust = std::max(robust, Apart(*RigidFit(BodyOf(cloud)).Solve(seen), truth, cloud));
      RigidBody body = BodyOf(cloud);
      body.noise_mm = kInfinity;
      plain = std::max(plain, Apart(*RigidFit(body).Solve(seen), truth, cloud));
    }
    EXPECT_LT(robust, kBound_mm) << count;
    EXPECT_GT(plain, 5) << count;
  }
}

// --- What no recording should hold, and what it costs.

// Positions are finite; what is computed from them may not be.
TEST(RigidFit, PlacesBeyondAllMeasureGiveNothingOrAMotionOfNumbers) {
  RigidFit fit(BodyOf(Head()));
  std::size_t nothing = 0;
  for (const double far : {1e20, 1e76, 1e100, 1e154, 1e300, std::numeric_limits<double>::max()})
    for (unsigned where = 1; where <= 0b11111; ++where) {
      Points seen = Carry({}, Head());
      for (std::size_t i = 0; i < 5; ++i)
        if (where >> i & 1) seen[i] = Point{far, i % 2 == 0 ? far : -far, -far};
      const auto found = fit.Solve(seen);
      if (found) { EXPECT_TRUE(IsFinite(*found)) << far << ' ' << std::bitset<5>(where); }
      nothing += !found;
    }
  EXPECT_GT(nothing, 0u);
}

TEST(RigidFit, AFrameAllocatesNothing) {
  tests::Random random(9);
  const std::vector<Point> cloud = Cloud(40, random);
  RigidFit fit(BodyOf(cloud));
  Points seen = Carry(AnyMotion(random), cloud);
  seen[7].reset(), seen[3]->x += 40;
  std::optional<VgeAMatrix> found;
  EXPECT_FALSE(tests::RunsOutOfMemory(0, [&] { found = fit.Solve(seen); }));
  EXPECT_FALSE(tests::has_failed) << "an allocation was asked for";
  EXPECT_TRUE(found);
  EXPECT_TRUE(tests::RunsOutOfMemory(0, [&] { const Points copy = seen; })) << "the heap would notice one";
}

// --- Learning a body.

namespace {

std::vector<std::string> Names(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back("p" + std::to_string(i));
  return names;
}

std::vector<std::size_t> All(const Take& take) {
  std::vector<std::size_t> all(take.MarkerCount());
  for (std::size_t m = 0; m < all.size(); ++m) all[m] = m;
  return all;
}

std::size_t Film(Take& take, const Points& points) {
  const auto number = static_cast<std::int64_t>(take.FrameCount());
  const std::size_t f = take.AddFrame(number, static_cast<double>(number) / 30);
  for (std::size_t m = 0; m < points.size(); ++m)
    if (points[m]) take.Set(f, m, *points[m]);
  return f;
}

/// Of standard deviation 1.
double Normal(tests::Random& random) {
  double sum = 0;
  for (int i = 0; i < 12; ++i) sum += random.Between(-0.5, 0.5);
  return sum;
}

void Tremble(Points& points, double sigma, tests::Random& random) {
  for (auto& p : points)
    for (double* axis : {&p->x, &p->y, &p->z}) *axis += sigma * Normal(random);
}

/// A head that wanders in front of a camera.
VgeAMatrix Wandering(std::size_t frame) {
  const auto t = static_cast<double>(frame);
  return tests::Motion({12 * std::sin(t * 0.05), 20 * std::sin(t * 0.031), 6 * std::sin(t * 0.043)},
                       {50 * std::sin(t * 0.02), 0.1 * t, 600 + 40 * std::sin(t * 0.033)});
}

/// How far a body's places are from where they ought to be once both are brought together, at most; infinite
/// where one lacks.
double WorstPlace(const RigidBody& body, const std::vector<Point>& expected) {
  const auto motion = RigidFit(BodyOf(expected)).Solve(body.places);
  double worst = motion ? 0 : kInfinity;
  for (std::size_t m = 0; m < expected.size() && motion; ++m)
    worst = std::max(worst,
                     body.places[m] ? Distance(*body.places[m], Carried(*motion, expected[m])) : kInfinity);
  return worst;
}

} // namespace

// The least spread there is, so that no point of an exact take counts without end.
TEST(LearnRigidBody, AnExactTakeHasItsPlacesAndTheLeastSpread) {
  tests::Random random(21);
  for (const std::size_t count : {3u, 4u, 5u, 19u}) {
    std::vector<Point> cloud = count <= 5 ? Head() : Cloud(count, random);
    cloud.resize(count);
    Take take(Names(count));
    for (std::size_t f = 0; f < 30; ++f) Film(take, Carry(AnyMotion(random), cloud));
    const RigidBody body = LearnRigidBody(take, All(take));
    ASSERT_EQ(body.places.size(), count);
    for (std::size_t m = 0; m < count; ++m) EXPECT_LT(Distance(*body.places[m], *take.At(0, m)), kRounding);
    EXPECT_DOUBLE_EQ(body.noise_mm, 1e-3);
    EXPECT_THAT(body.spread_mm,
                Each(testing::DoubleEq(1e-3 * std::sqrt(1 + 12.0 / static_cast<double>(count)))));
  }
}

TEST(LearnRigidBody, OneTwoOrThreeFramesAreEnough) {
  tests::Random random(22);
  for (const std::size_t frames : {1u, 2u, 3u}) {
    Take take(Names(5));
    for (std::size_t f = 0; f < frames; ++f) Film(take, Carry(AnyMotion(random), Head()));
    const RigidBody body = LearnRigidBody(take, All(take));
    for (std::size_t m = 0; m < 5; ++m)
      EXPECT_LT(Distance(*body.places[m], *take.At(0, m)), kRounding) << frames;
    EXPECT_DOUBLE_EQ(body.noise_mm, 1e-3);
  }
}

TEST(LearnRigidBody, ATakeWithoutFramesOrMarkersHasNoPlaces) {
  const Take empty(Names(5));
  EXPECT_THAT(LearnRigidBody(empty, All(empty)).places, Each(testing::Eq(std::nullopt)));
  Take unseen(Names(5));
  for (int f = 0; f < 3; ++f) Film(unseen, Points(5));
  EXPECT_THAT(LearnRigidBody(unseen, All(unseen)).places, Each(testing::Eq(std::nullopt)));
  EXPECT_TRUE(LearnRigidBody(unseen, {}).places.empty());
}

TEST(LearnRigidBody, TheMarkersMayBeAnyOfTheTakeInAnyOrder) {
  tests::Random random(23);
  Take take(Names(8));
  const std::vector<Point> cloud = Cloud(8, random);
  for (std::size_t f = 0; f < 10; ++f) Film(take, Carry(AnyMotion(random), cloud));
  const RigidBody body = LearnRigidBody(take, {7, 2, 5, 0});
  ASSERT_EQ(body.places.size(), 4u);
  EXPECT_LT(Distance(*body.places[0], *take.At(0, 7)), kRounding);
  EXPECT_LT(Distance(*body.places[3], *take.At(0, 0)), kRounding);
}

// Noise of 0.3 mm per axis; one of eight is carried about by the skin.
TEST(LearnRigidBody, FindsTheNoiseAndWhichMarkersStray) {
  tests::Random random(24);
  const std::vector<Point> cloud = Cloud(8, random);
  Take take(Names(8));
  for (std::size_t f = 0; f < 600; ++f) {
    Points points(cloud.begin(), cloud.end());
    Tremble(points, 0.3, random);
    points[5]->y += 4 * std::sin(0.11 * static_cast<double>(f));
    for (auto& p : points) p = Carried(Wandering(f), *p);
    Film(take, points);
  }
  const RigidBody body = LearnRigidBody(take, All(take));
  // The deviation of a deviation from 600 frames is a thirtieth; quantiles and leverages are rough beside it.
  EXPECT_NEAR(body.noise_mm, 0.3, 0.03);
  for (std::size_t m = 0; m < 8; ++m) {
    // Its own variance, and twelve eighths of the middle one's.
    const double own = body.spread_mm[m] * body.spread_mm[m] - 1.5 * 0.3 * 0.3;
    if (m == 5)
      EXPECT_GT(std::sqrt(own), 1.5);
    else
      EXPECT_NEAR(std::sqrt(own), 0.3, 0.06) << m;
  }
}

// In two frames of five a marker is somewhere else by 20 mm: a mean would put its place 8 mm off.
TEST(LearnRigidBody, PlacesAreMedians) {
  tests::Random random(25);
  const std::vector<Point> cloud = Cloud(8, random);
  Take take(Names(8));
  for (std::size_t f = 0; f < 100; ++f) {
    Points points = Carry({}, cloud);
    if (f % 5 < 2) points[3]->x += 20;
    for (auto& p : points) p = Carried(Wandering(f), *p);
    Film(take, points);
  }
  EXPECT_LT(WorstPlace(LearnRigidBody(take, All(take)), cloud), 1e-3);
}

// From the first frame on, which is as full as any and where the learning sets out.
TEST(LearnRigidBody, MarkersThatAreSwappedForAShortWhileDoNoHarm) {
  tests::Random random(26);
  for (const std::size_t count : {5u, 19u}) {
    const std::vector<Point> cloud = count == 5 ? Head() : Cloud(count, random);
    Take take(Names(count));
    for (std::size_t f = 0; f < 200; ++f) {
      Points points(cloud.begin(), cloud.end());
      Tremble(points, 0.1, random);
      if (f < 10) std::swap(points[0], points[2]);
      for (auto& p : points) p = Carried(Wandering(f), *p);
      Film(take, points);
    }
    const RigidBody body = LearnRigidBody(take, All(take));
    EXPECT_LT(WorstPlace(body, cloud), 0.1) << count;
    EXPECT_NEAR(body.noise_mm, 0.1, 0.02) << count;
  }
}

TEST(LearnRigidBody, AMarkerThatIsNeverSeenHasNoPlace) {
  tests::Random random(27);
  Take take(Names(5));
  for (std::size_t f = 0; f < 20; ++f) {
    Points points = Carry(AnyMotion(random), Head());
    points[2].reset();
    Film(take, points);
  }
  const RigidBody body = LearnRigidBody(take, All(take));
  EXPECT_FALSE(body.places[2]);
  for (const std::size_t m : {0u, 1u, 3u, 4u})
    EXPECT_LT(Distance(*body.places[m], *take.At(0, m)), kRounding);
  EXPECT_DOUBLE_EQ(body.spread_mm[0], 1e-3 * std::sqrt(1 + 12.0 / 4)) << "it counts for nothing";
}

// Half of the markers are on the back of the head, and no frame sees both sides; a sixth bridges them for a
// while, or does not.
TEST(LearnRigidBody, MarkersThatAreNeverSeenTogetherAreBroughtTogetherByOthersOrHaveNoPlace) {
  tests::Random random(28);
  const std::vector<Point> cloud = Cloud(9, random);
  for (const bool bridged : {false, true}) {
    Take take(Names(9));
    for (std::size_t f = 0; f < 40; ++f) {
      Points points = Carry(AnyMotion(random), cloud);
      const bool front = f < 20;
      for (std::size_t m = 0; m < 5; ++m)
        if (!front) points[m].reset();
      for (std::size_t m = 5; m < 9; ++m)
        if (front) points[m].reset();
      Film(take, points);
    }
    if (bridged) { // three of the front with one of the back; then the back hangs on what has a place by then
      for (std::size_t back = 5; back < 9; ++back) {
        Points points = Carry(AnyMotion(random), cloud);
        for (std::size_t m = 3; m < 9; ++m)
          if (m != back) points[m].reset();
        Film(take, points);
      }
    }
    const RigidBody body = LearnRigidBody(take, All(take));
    for (std::size_t m = 0; m < 5; ++m) EXPECT_LT(Distance(*body.places[m], *take.At(0, m)), kRounding);
    for (std::size_t m = 5; m < 9; ++m) EXPECT_EQ(body.places[m].has_value(), bridged) << m;
    if (bridged) { EXPECT_LT(WorstPlace(body, cloud), kRounding); }
  }
}

TEST(LearnRigidBody, OfALongTakeAThousandFramesEvenlySpreadTellEnough) {
  tests::Random random(29);
  Take whole(Names(5)), thousand(Names(5));
  for (std::size_t f = 0; f < 3000; ++f) {
    Points points = Carry({}, Head());
    Tremble(points, 0.3, random);
    for (auto& p : points) p = Carried(Wandering(f), *p);
    if (f % 3 == 0) Film(thousand, points);
    if (f % 3 == 1) points[4]->z += 500; // nobody looks
    Film(whole, points);
  }
  const RigidBody learned = LearnRigidBody(whole, All(whole)),
                  expected = LearnRigidBody(thousand, All(thousand));
  for (std::size_t m = 0; m < 5; ++m) EXPECT_EQ(Distance(*learned.places[m], *expected.places[m]), 0);
  EXPECT_EQ(learned.spread_mm, expected.spread_mm);
  EXPECT_EQ(learned.noise_mm, expected.noise_mm);
}
