#include "host/performer/local_anchors.h"

#include "host/base/face_parts.h"
#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

using mien::AnchorsOf;
using mien::kLeftBrow;
using mien::kLeftCheek;
using mien::kLeftEye;
using mien::kMouth;
using mien::kRightBrow;
using mien::kRightEye;
using mien::LocalAnchors;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::RigidHead;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::RigidFace;
using tests::RigidPerformer;

namespace {

RigidHead HeadOf(const Performer& performer) { return {performer.rigid, {}}; }

std::vector<std::string> Anchors(std::size_t part, const Performer& performer = RigidPerformer(),
                                 const NeutralPose& neutral = RigidFace()) {
  return AnchorsOf(part, performer, neutral, HeadOf(performer));
}

} // namespace

// --- Which markers are a part's anchors.

TEST(AnchorsOf, AreTheRigidMarkersNearIt) {
  EXPECT_THAT(Anchors(kLeftEye), UnorderedElementsAre("EyeInL", "EyeOutL", "Root"));
  EXPECT_THAT(Anchors(kRightEye), UnorderedElementsAre("EyeInR", "EyeOutR", "Root"));
  EXPECT_THAT(Anchors(kLeftBrow), UnorderedElementsAre("EyeInL", "EyeOutL"));
  EXPECT_THAT(Anchors(kRightBrow), UnorderedElementsAre("EyeInR", "EyeOutR"));
}

// The eyes' lids are 32 mm apart: 0.6 times that is 19.2 mm from the middle of the left ones, (16, 48, 91).
TEST(AnchorsOf, NearIsSixTenthsOfTheWayBetweenTheEyes) {
  for (const auto& [way, near] : {std::pair(19.1, true), {19.3, false}}) {
    NeutralPose neutral = RigidFace();
    neutral["TempleL"] = {16, 48, 91 - way};
    EXPECT_THAT(Anchors(kLeftEye, RigidPerformer(), neutral),
                testing::Contains("TempleL").Times(near ? 1 : 0));
  }
  // Without eyes it is the brows, whose middles are 2 * 59/3 mm apart: 23.6.
  Performer performer = RigidPerformer();
  performer.holders[kLeftEye] = performer.holders[kRightEye] = {};
  for (const auto& [way, near] : {std::pair(23.5, true), {23.7, false}}) {
    NeutralPose neutral = RigidFace();
    neutral["TempleL"] = {59.0 / 3, 169.0 / 3, 273.0 / 3 - way};
    EXPECT_THAT(Anchors(kLeftBrow, performer, neutral), testing::Contains("TempleL").Times(near ? 1 : 0))
        << way;
    EXPECT_THAT(Anchors(kLeftEye, performer, neutral), IsEmpty()) << "a part without markers has no anchors";
  }
}

TEST(AnchorsOf, AMarkerThatDrivesThePartIsNone) {
  Performer performer = RigidPerformer();
  performer.holders[kLeftEye][mien::kLowerEyeHolder] = {"LidLowL", "EyeOutL"};
  EXPECT_THAT(Anchors(kLeftEye, performer), UnorderedElementsAre("EyeInL", "Root"));
  EXPECT_THAT(Anchors(kLeftBrow, performer), UnorderedElementsAre("EyeInL", "EyeOutL"))
      << "of another part it may be";
}

TEST(AnchorsOf, ThoseThatThePerformerNamesAreTakenHoweverFar) {
  Performer performer = RigidPerformer();
  performer.anchors[kLeftEye] = {"H1", "TempleR", "EyeInL"};
  EXPECT_THAT(Anchors(kLeftEye, performer), ElementsAre("H1", "TempleR", "EyeInL"));
  EXPECT_THAT(Anchors(kRightEye, performer), UnorderedElementsAre("EyeInR", "EyeOutR", "Root"));
}

TEST(AnchorsOf, OneIsNone) {
  Performer performer = RigidPerformer();
  performer.anchors[kLeftEye] = {"EyeInL"};
  EXPECT_THAT(Anchors(kLeftEye, performer), IsEmpty());
  performer = RigidPerformer();
  std::erase(performer.rigid, "EyeOutL");
  EXPECT_THAT(Anchors(kLeftBrow, performer), IsEmpty());
  EXPECT_THAT(Anchors(kLeftEye, performer), UnorderedElementsAre("EyeInL", "Root"));
}

TEST(AnchorsOf, WhatTheNeutralPoseLacksIsNone) {
  NeutralPose neutral = RigidFace();
  neutral.erase("EyeInL");
  EXPECT_THAT(Anchors(kLeftEye, RigidPerformer(), neutral), UnorderedElementsAre("EyeOutL", "Root"));
  EXPECT_THAT(Anchors(kLeftBrow, RigidPerformer(), neutral), IsEmpty());
  Performer performer = RigidPerformer();
  performer.anchors[kLeftBrow] = {"EyeInL", "EyeOutL", "Root"};
  EXPECT_THAT(Anchors(kLeftBrow, performer, neutral), ElementsAre("EyeOutL", "Root"));
}

TEST(AnchorsOf, AFaceWithoutEyesAndBrowsHasNone) {
  Performer performer = RigidPerformer();
  for (const int part : {kLeftBrow, kRightBrow, kLeftEye, kRightEye})
    performer.holders[static_cast<std::size_t>(part)] = {};
  for (const std::size_t part : mien::kAnchoredParts) EXPECT_THAT(Anchors(part, performer), IsEmpty());
  // Of a single eye nobody knows how far it is from the other; a brow beside it does not tell either.
  performer.holders[kLeftEye] = RigidPerformer().holders[kLeftEye];
  EXPECT_THAT(Anchors(kLeftEye, performer), IsEmpty());
}

// --- What they take away.

namespace {

const std::vector<Point> kRest = {{-10, 0, 5}, {10, 1, 6}, {0, 12, 9}};

/// Frames of as many anchors as `offs` answers, each off its place so far; a NaN is a gap.
Take Film(std::size_t anchors, std::size_t frames,
          const std::function<Point(std::size_t f, std::size_t m)>& off) {
  Take take(std::vector<std::string>(anchors, "anchor"));
  for (std::size_t f = 0; f < frames; ++f) {
    take.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f) / 30);
    for (std::size_t m = 0; m < anchors; ++m)
      if (const Point p = off(f, m); !std::isnan(p.x))
        take.Set(f, m, {kRest[m].x + p.x, kRest[m].y + p.y, kRest[m].z + p.z});
  }
  return take;
}

std::vector<Point> RestOf(std::size_t anchors) {
  return {kRest.begin(), kRest.begin() + static_cast<std::ptrdiff_t>(anchors)};
}

/// 1 or -1: each frame of a run of 2^bits has another combination of signs.
double Sign(std::size_t f, std::size_t bit) { return f >> bit & 1 ? 1 : -1; }

const Point kGap = {std::nan(""), 0, 0};

} // namespace

// What both anchors do alike is no noise.
TEST(LocalAnchors, ACommonShiftIsTakenAwayWhole) {
  for (const std::size_t count : {2u, 3u}) {
    const auto shift = [](std::size_t f, std::size_t) {
      return Point{std::sin(0.3 * static_cast<double>(f)), 0.25 * static_cast<double>(f), 0};
    };
    const LocalAnchors local(Film(count, 40, shift), RestOf(count));
    EXPECT_NEAR(local.Gain()[0], 1, 1e-12);
    EXPECT_NEAR(local.Gain()[1], 1, 1e-12);
    EXPECT_EQ(local.Gain()[2], 0) << "nothing moves along z";
    for (std::size_t f = 0; f < 40; ++f) {
      const Point lid = {3, 4, 5}, off = shift(f, 0);
      EXPECT_LT(tests::Distance(local.Measure({lid.x + off.x, lid.y + off.y, lid.z}, f), lid), 1e-12);
    }
  }
}

// Two anchors that tremble by themselves by 1 or -1, in each of the four ways: half of the frames have a
// common way, and as much is to be expected of noise.
TEST(LocalAnchors, IndependentNoiseIsNotTakenAway) {
  for (const std::size_t count : {2u, 3u}) {
    const LocalAnchors local(Film(count, 64,
                                  [](std::size_t f, std::size_t m) {
                                    return Point{Sign(f, m), 2 * Sign(f, m), -Sign(f, m)};
                                  }),
                             RestOf(count));
    for (const double gain : local.Gain()) EXPECT_NEAR(gain, 0, 1e-12) << count;
  }
  const auto opposite = [](std::size_t f, std::size_t m) {
    return Point{m == 0 ? Sign(f, 0) : -Sign(f, 0), 0, 0};
  };
  EXPECT_EQ(LocalAnchors(Film(2, 16, opposite), RestOf(2)).Gain()[0], 0) << "even less than noise would have";
}

// A common shift by b or -b and noise by a or -a, in all combinations: of the variance of the common way, b^2
// + a^2/n, b^2 is no noise. Along each axis by itself.
TEST(LocalAnchors, OfAMixtureTheGainIsWieners) {
  constexpr double kNoise = 0.5;
  const double shift[3] = {0.25, 1, 4};
  for (const std::size_t n : {2u, 3u}) {
    const LocalAnchors local(
        Film(n, 128,
             [&](std::size_t f, std::size_t m) {
               const double noise = kNoise * Sign(f, m), common = Sign(f, 3);
               return Point{common * shift[0] + noise, common * shift[1] + noise, common * shift[2] + noise};
             }),
        RestOf(n));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double b = shift[axis] * shift[axis], a = kNoise * kNoise / static_cast<double>(n);
      EXPECT_NEAR(local.Gain()[axis], b / (b + a), 1e-12) << n << ' ' << axis;
    }
  }
}

// A steady distance from the places on the neutral face is neither noise nor a reason to follow noise.
TEST(LocalAnchors, WhereTheAnchorsStandMakesNoDifferenceToTheGain) {
  const auto mixture = [](const Point& a, const Point& b) {
    return LocalAnchors(Film(2, 64,
                             [&](std::size_t f, std::size_t m) {
                               const Point& off = m == 0 ? a : b;
                               return Point{off.x + Sign(f, 3) + 0.5 * Sign(f, m), off.y + Sign(f, 3),
                                            off.z + Sign(f, m)};
                             }),
                        RestOf(2))
        .Gain();
  };
  const auto there = mixture({}, {}), elsewhere = mixture({5, -3, 2}, {-1, 8, 4});
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(elsewhere[axis], there[axis], 1e-12);
}

TEST(LocalAnchors, MeasureTakesAwayTheGainsPartOfTheCommonWay) {
  const auto mixture = [](std::size_t f, std::size_t m) {
    return Point{Sign(f, 3) + 0.5 * Sign(f, m), 2 + Sign(f, m), 0};
  };
  const LocalAnchors local(Film(2, 64, mixture), RestOf(2));
  for (std::size_t f = 0; f < 64; ++f) {
    const double x = (mixture(f, 0).x + mixture(f, 1).x) / 2, y = (mixture(f, 0).y + mixture(f, 1).y) / 2;
    const Point expected = {7 - local.Gain()[0] * x, 8 - local.Gain()[1] * y, 9};
    EXPECT_LT(tests::Distance(local.Measure({7, 8, 9}, f), expected), 1e-12);
  }
}

// --- Gaps.

TEST(LocalAnchors, FramesWithoutTwoAnchorsAreEvenBetweenThoseAround) {
  const auto drift = [](std::size_t f, std::size_t m) {
    if (f < 3 || f > 15 || (f >= 6 && f < 10 && m == 1)) return kGap;
    return Point{f < 6 ? 1.0 : f < 10 ? 99.0 : 6.0, f % 2 == 0 ? 1.0 : -1.0, 0};
  };
  Take take = Film(2, 20, drift);
  const LocalAnchors local(take, RestOf(2));
  EXPECT_NEAR(local.Gain()[0], 1, 1e-12);
  const auto way = [&](std::size_t f) { return -local.Measure({0, 0, 0}, f).x; };
  for (std::size_t f = 0; f < 20; ++f)
    EXPECT_NEAR(way(f), f < 6 ? 1.0 : f < 10 ? 1 + static_cast<double>(f - 5) : 6.0, 1e-12) << f;
  // By their times.
  for (std::size_t f = 7; f < 20; ++f) take.times[f] += 1;
  const LocalAnchors late(take, RestOf(2));
  const double step = 1.0 / 30, whole = 1 + 5 * step;
  EXPECT_NEAR(-late.Measure({0, 0, 0}, 6).x, 1 + 5 * step / whole, 1e-12);
  EXPECT_NEAR(-late.Measure({0, 0, 0}, 7).x, 1 + 5 * (1 + 2 * step) / whole, 1e-12);
}

// The three drift in common, each with a steady distance of its own from its place; one is hidden for the
// second half, or each in its turn. Where it comes from and goes to nothing jumps, and what it misses of the
// drift does not count as noise.
TEST(LocalAnchors, AHiddenAnchorMakesNoDifference) {
  const Point offs[] = {{1, 0, 0}, {-1, 0.5, 0}, {0, 0, 2}};
  const auto film = [&](const std::function<bool(std::size_t, std::size_t)>& hides) {
    return Film(3, 33, [&](std::size_t f, std::size_t m) {
      if (hides(f, m)) return kGap;
      const double common = 0.1 * static_cast<double>(f);
      return Point{offs[m].x + common, offs[m].y - common, offs[m].z + Sign(f, 0)};
    });
  };
  const LocalAnchors seen(film([](std::size_t, std::size_t) { return false; }), RestOf(3));
  for (const auto& hides : {std::function([](std::size_t f, std::size_t m) { return m == 0 && f >= 16; }),
                            std::function([](std::size_t f, std::size_t m) { return f % 3 == m; })}) {
    const LocalAnchors hidden(film(hides), RestOf(3));
    for (const double gain : hidden.Gain()) EXPECT_NEAR(gain, 1, 1e-9);
    for (std::size_t f = 0; f < 33; ++f)
      EXPECT_LT(tests::Distance(hidden.Measure({1, 2, 3}, f), seen.Measure({1, 2, 3}, f)), 1e-9) << f;
  }
}

TEST(LocalAnchors, WithoutTwoInAnyFrameNothingIsMeasured) {
  const auto one = [](std::size_t f, std::size_t m) { return f % 2 == m ? Point{1, 2, 3} : kGap; };
  const std::vector<Take> takes = {Film(2, 10, one),
                                   Film(2, 10, [](std::size_t, std::size_t) { return kGap; }),
                                   Film(1, 10,
                                        [](std::size_t f, std::size_t) {
                                          return Point{Sign(f, 0), 0, 0};
                                        }),
                                   Film(0, 10, [](std::size_t, std::size_t) { return kGap; })};
  for (const Take& take : takes) {
    const LocalAnchors local(take, RestOf(take.MarkerCount()));
    EXPECT_THAT(local.Gain(), ElementsAre(0, 0, 0));
    for (std::size_t f = 0; f < 10; ++f) {
      const Point p = local.Measure({4, 5, 6}, f);
      EXPECT_THAT(std::vector<double>({p.x, p.y, p.z}), ElementsAre(4, 5, 6));
    }
  }
  EXPECT_THAT(LocalAnchors(Film(2, 0, one), RestOf(2)).Gain(), ElementsAre(0, 0, 0))
      << "a take without frames";
}

// One frame tells nothing of noise.
TEST(LocalAnchors, InASingleFrameNothingIsTakenAway) {
  const LocalAnchors local(Film(2, 1, [](std::size_t, std::size_t) { return Point{1, 2, 3}; }), RestOf(2));
  EXPECT_THAT(local.Gain(), ElementsAre(0, 0, 0));
}
