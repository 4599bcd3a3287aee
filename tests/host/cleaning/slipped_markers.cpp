#include "host/cleaning/slipped_markers.h"

#include "tests/host/plain_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using mien::Origin;
using mien::Point;
using mien::RigidMotion;
using mien::SlippedMarkers;
using mien::Take;
using mien::TakeOutSlipped;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::AnyMotion;
using tests::Carried;
using tests::Changes;

namespace {

constexpr double kTolerance = 6; // mm

// A head of 0.2 m within two metres of the room's origin, where doubles are exact to 2e-13 m.
constexpr double kRounding = 1e-9;

/// No two markers have nearly the same distance from a third: the distances differ by at least 16 mm.
/// Otherwise their triangle would be the same with the two swapped, and it would be unknown which has
/// slipped.
RigidMotion::Markers Reference() {
  return {Point{20, 155, 65}, Point{50, 115, -75}, Point{65, 150, -25}, Point{65, 130, 55},
          Point{-25, 100, 90}};
}

/// A head in a different position in each frame; the frames are numbered from 101.
struct Head {
  explicit Head(std::size_t frames, std::size_t markers = 5) {
    for (std::size_t m = 0; m < markers; ++m) {
      take.markers.push_back("H" + std::to_string(m + 1));
      all.push_back(m);
    }
    tests::Random random(51);
    take.rate = {100, 1};
    for (std::size_t f = 0; f < frames; ++f) {
      motions.push_back(AnyMotion(random));
      take.AddFrame(101 + static_cast<std::int64_t>(f), static_cast<double>(f) / 100);
      for (std::size_t m = 0; m < markers; ++m) Put(f, m, *reference[m]);
    }
  }

  /// `place`: on the head in its reference position.
  void Put(std::size_t frame, std::size_t marker, const Point& place) {
    take.Set(frame, marker, Carried(motions[frame], place),
             take.OriginAt(frame, marker) == Origin::Computed ? Origin::Computed : Origin::Measured);
  }
  void Slip(std::size_t frame, std::size_t marker, const Point& by) {
    const Point& p = *reference[marker];
    Put(frame, marker, {p.x + by.x, p.y + by.y, p.z + by.z});
  }
  void Swap(std::size_t frame, std::size_t a, std::size_t b) {
    Put(frame, a, *reference[b]), Put(frame, b, *reference[a]);
  }
  SlippedMarkers TakeOut(double tolerance_mm = kTolerance) {
    return TakeOutSlipped(take, all, reference, tolerance_mm);
  }

  RigidMotion::Markers reference = Reference();
  std::vector<VgeAMatrix> motions;
  Take take{std::vector<std::string>()};
  std::vector<std::size_t> all;
};

/// The frames from which a marker is missing, by index.
std::vector<std::size_t> Without(const Take& take, std::size_t marker) {
  std::vector<std::size_t> frames;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    if (!take.At(f, marker)) frames.push_back(f);
  return frames;
}

/// The distance of a marker from its position moved by the motion, to the bit.
double Off(const VgeAMatrix& motion, const Point& place, const Point& seen) {
  return mien::Distance(mien::TransformPoint(motion, {place.x, place.y, place.z}), {seen.x, seen.y, seen.z});
}

/// The largest distance, in the first frame, of these markers from where their own motion carries them.
double WorstOf(const Head& head, const std::vector<std::size_t>& markers) {
  RigidMotion::Markers seen;
  for (const std::size_t m : markers) seen[m] = *head.take.At(0, m);
  const auto motion = RigidMotion(head.reference).Solve(seen);
  double worst = motion ? 0 : std::numeric_limits<double>::infinity();
  for (const std::size_t m : markers)
    if (motion) worst = std::max(worst, Off(*motion, *head.reference[m], *seen[m]));
  return worst;
}

} // namespace

TEST(SlippedMarkers, ARigidHeadIsUnchanged) {
  Head head(20);
  const Take before = head.take;
  const SlippedMarkers report = head.TakeOut();
  EXPECT_EQ(Changes(head.take, before), 0u);
  EXPECT_THAT(report.markers, IsEmpty());
  EXPECT_EQ(report.doubtful_frames, 0u);
}

// H1 has the same distance from H2 and H3: with these two swapped, the three also fit together, with the head
// facing backwards. But heads do not turn around in a hundredth of a second.
TEST(SlippedMarkers, TwoSwappedMarkersOnASymmetricHeadDoNotTurnItAround) {
  const mien::NeutralPose face = tests::PlainFace();
  RigidMotion::Markers reference;
  Take take({"H1", "H2", "H3", "H4", "H5"});
  take.rate = {100, 1};
  for (std::size_t m = 0; m < 5; ++m) reference[m] = face.at(take.markers[m]);
  for (std::size_t f = 0; f < 30; ++f) {
    take.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f) / 100);
    const double degrees = static_cast<double>(f);
    const VgeAMatrix motion = tests::Motion({degrees, -degrees, 0}, {degrees, 0, 0});
    for (std::size_t m = 0; m < 5; ++m) take.Set(f, m, Carried(motion, *reference[m]));
    if (f < 10) continue;
    const Point left = *take.At(f, 1), right = *take.At(f, 2);
    take.Set(f, 1, right), take.Set(f, 2, left);
  }
  const SlippedMarkers report = TakeOutSlipped(take, {0, 1, 2, 3, 4}, reference, kTolerance);
  ASSERT_THAT(report.markers, SizeIs(2));
  EXPECT_EQ(report.markers[0].marker, "H2");
  EXPECT_EQ(report.markers[1].marker, "H3");
  EXPECT_EQ(report.markers[0].frames, 20u);
  EXPECT_EQ(report.markers[0].first_frame, 10);
  for (const std::size_t m : {0u, 3u, 4u}) EXPECT_THAT(Without(take, m), IsEmpty()) << m;
}

// Any of them, only in the frames in which it has slipped; the motion of the other four determines by how
// much.
TEST(SlippedMarkers, ASlippedMarkerIsRemovedWhereItSlipped) {
  for (std::size_t m = 0; m < 5; ++m) {
    Head head(10);
    for (const std::size_t f : {3u, 4u, 8u}) head.Slip(f, m, {0, 12, 9});
    head.Slip(4, m, {0, 24, 18});
    const Take before = head.take;
    const SlippedMarkers report = head.TakeOut();
    EXPECT_THAT(Without(head.take, m), ElementsAre(3, 4, 8));
    EXPECT_EQ(Changes(head.take, before), 3u);
    ASSERT_THAT(report.markers, SizeIs(1));
    EXPECT_EQ(report.markers[0].marker, "H" + std::to_string(m + 1));
    EXPECT_EQ(report.markers[0].frames, 3u);
    EXPECT_EQ(report.markers[0].first_frame, 104);
    EXPECT_NEAR(report.markers[0].furthest_mm, 30, kRounding);
    EXPECT_EQ(report.doubtful_frames, 0u);
  }
}

// If the other three fit together.
TEST(SlippedMarkers, TwoSwappedMarkersAreRemoved) {
  for (std::size_t a = 0; a < 5; ++a)
    for (std::size_t b = a + 1; b < 5; ++b) {
      Head head(6);
      head.Swap(2, a, b), head.Swap(3, a, b);
      const Take before = head.take;
      const SlippedMarkers report = head.TakeOut();
      EXPECT_THAT(Without(head.take, a), ElementsAre(2, 3)) << a << b;
      EXPECT_THAT(Without(head.take, b), ElementsAre(2, 3)) << a << b;
      EXPECT_EQ(Changes(head.take, before), 4u);
      ASSERT_THAT(report.markers, SizeIs(2));
      const Point &p = *head.reference[a], &q = *head.reference[b];
      EXPECT_EQ(report.markers[0].marker, head.take.markers[a]) << "in the order given";
      EXPECT_EQ(report.markers[1].marker, head.take.markers[b]);
      for (const auto& marker : report.markers) {
        EXPECT_EQ(marker.frames, 2u);
        EXPECT_EQ(marker.first_frame, 103);
        EXPECT_NEAR(marker.furthest_mm, tests::Distance(p, q), kRounding);
      }
    }
}

TEST(SlippedMarkers, DifferentMarkersMaySlipInDifferentFrames) {
  Head head(8);
  head.Slip(1, 4, {0, 0, -40}), head.Slip(2, 0, {20, 0, 0}), head.Slip(5, 4, {0, 0, -50});
  const SlippedMarkers report = head.TakeOut();
  EXPECT_THAT(Without(head.take, 0), ElementsAre(2));
  EXPECT_THAT(Without(head.take, 4), ElementsAre(1, 5));
  ASSERT_THAT(report.markers, SizeIs(2));
  EXPECT_EQ(report.markers[0].first_frame, 103);
  EXPECT_EQ(report.markers[1].first_frame, 102);
  EXPECT_NEAR(report.markers[1].furthest_mm, 50, kRounding);
}

TEST(SlippedMarkers, OfFourTheThreeThatFitTogetherStay) {
  for (std::size_t m = 0; m < 4; ++m) {
    Head head(5, 4);
    head.Slip(2, m, {15, -20, 0});
    const SlippedMarkers report = head.TakeOut();
    EXPECT_THAT(Without(head.take, m), ElementsAre(2)) << m;
    ASSERT_THAT(report.markers, SizeIs(1)) << m;
    EXPECT_NEAR(report.markers[0].furthest_mm, 25, kRounding);
    EXPECT_EQ(report.doubtful_frames, 0u);
  }
}

TEST(SlippedMarkers, OneMarkerMayBeHiddenAndAnotherSlip) {
  Head head(5);
  head.take.Clear(2, 1);
  head.Slip(2, 3, {0, 30, 0});
  const SlippedMarkers report = head.TakeOut();
  EXPECT_THAT(Without(head.take, 3), ElementsAre(2));
  EXPECT_THAT(Without(head.take, 1), ElementsAre(2));
  ASSERT_THAT(report.markers, SizeIs(1)) << "the hidden one has not slipped";
  EXPECT_EQ(report.markers[0].marker, "H4");
}

// The sides of the triangle do not fit, but any of its corners may be wrong.
TEST(SlippedMarkers, ThreeThatDoNotFitAreDoubtful) {
  Head three(6, 3), hidden(6);
  for (Head* head : {&three, &hidden}) {
    head->Slip(1, 0, {0, 60, 0}), head->Slip(4, 2, {-70, 0, 0});
    if (head == &hidden)
      for (std::size_t f = 0; f < 6; ++f) head->take.Clear(f, 3), head->take.Clear(f, 4);
    const Take before = head->take;
    const SlippedMarkers report = head->TakeOut();
    EXPECT_EQ(Changes(head->take, before), 0u);
    EXPECT_THAT(report.markers, IsEmpty());
    EXPECT_EQ(report.doubtful_frames, 2u);
  }
}

TEST(SlippedMarkers, FourWithTwoSwappedAreDoubtful) {
  Head head(4, 4);
  head.Swap(1, 0, 3);
  const Take before = head.take;
  const SlippedMarkers report = head.TakeOut();
  EXPECT_EQ(Changes(head.take, before), 0u);
  EXPECT_EQ(report.doubtful_frames, 1u);
}

// Too few to find a head: nothing is doubtful and nothing is removed.
TEST(SlippedMarkers, TwoMarkersAreUnchanged) {
  Head head(4, 2);
  head.Slip(1, 0, {0, 600, 0});
  const Take before = head.take;
  const SlippedMarkers report = head.TakeOut();
  EXPECT_EQ(Changes(head.take, before), 0u);
  EXPECT_THAT(report.markers, IsEmpty());
  EXPECT_EQ(report.doubtful_frames, 0u);
}

// If one is wrong by d and the other four are exact, their motion shows it d away. The motion of all five
// partly follows it, so a marker slightly beyond the tolerance may stay.
TEST(SlippedMarkers, MarkersWithinTheToleranceStay) {
  for (std::size_t m = 0; m < 5; ++m) {
    Head head(3);
    head.Slip(1, m, {0, 0, kTolerance - 1e-6});
    const Take before = head.take;
    EXPECT_THAT(head.TakeOut().markers, IsEmpty()) << m;
    EXPECT_EQ(Changes(head.take, before), 0u) << m;
  }
}

// To the bit: the set of all five fits if the tolerance equals its largest error, and not with a smaller one.
TEST(SlippedMarkers, ASetFitsIfItsLargestErrorIsTheTolerance) {
  for (std::size_t slipping = 0; slipping < 5; ++slipping) {
    Head head(1);
    head.motions[0] = {};
    for (std::size_t m = 0; m < 5; ++m) head.Put(0, m, *head.reference[m]);
    head.Slip(0, slipping, {0, 9, 0});
    const double worst = WorstOf(head, {0, 1, 2, 3, 4});
    ASSERT_LT(worst, 9) << "the motion of all five partly follows the one that is off";
    const Take before = head.take;
    EXPECT_THAT(head.TakeOut(worst).markers, IsEmpty()) << slipping;
    EXPECT_EQ(Changes(head.take, before), 0u) << slipping;
    EXPECT_THAT(head.TakeOut(std::nextafter(worst, 0)).markers, SizeIs(1)) << slipping;
    EXPECT_THAT(Without(head.take, slipping), ElementsAre(0));
  }
}

// H1, H2 and H3 are near each other and H4 is distant: with a small error of H1, all four would tilt H4 by
// more. The other three fit, and H1, which is not in their set, stays if it is within the tolerance.
TEST(SlippedMarkers, AMarkerOutsideTheSetStaysIfItsErrorIsTheTolerance) {
  Head head(1, 4);
  head.reference = {Point{0, 0, 0}, Point{10, 0, 0}, Point{0, 10, 0}, Point{40, 40, 0}, std::nullopt};
  head.motions[0] = {};
  for (std::size_t m = 0; m < 4; ++m) head.Put(0, m, *head.reference[m]);
  head.Slip(0, 0, {0, 0, 1});
  RigidMotion body(head.reference);
  const auto motion =
      body.Solve({std::nullopt, *head.take.At(0, 1), *head.take.At(0, 2), *head.take.At(0, 3)});
  ASSERT_TRUE(motion);
  const double off = Off(*motion, *head.reference[0], *head.take.At(0, 0));
  ASSERT_GT(WorstOf(head, {0, 1, 2, 3}), off);
  const Take before = head.take;
  EXPECT_THAT(head.TakeOut(off).markers, IsEmpty());
  EXPECT_EQ(Changes(head.take, before), 0u);
  EXPECT_THAT(head.TakeOut(std::nextafter(off, 0)).markers, SizeIs(1));
  EXPECT_THAT(Without(head.take, 0), ElementsAre(0));
}

// Three markers fit exactly if they have turned about the one that they share with three others; those three
// are where the head was one frame earlier, within half a millimetre. Up to a right angle the better fit
// counts.
TEST(SlippedMarkers, ASetThatTurnsTheHeadByMoreThanARightAngleComesLast) {
  for (const double degrees : {89.0, 91.0})
    for (const bool last_three_turn : {false, true}) {
      Head head(2);
      head.reference = {Point{-80, 0, 0}, Point{-30, 60, 20}, Point{0, 0, 0}, Point{70, 10, 30},
                        Point{20, -50, 60}};
      head.motions[0] = head.motions[1] = {};
      for (std::size_t f = 0; f < 2; ++f)
        for (std::size_t m = 0; m < 5; ++m) head.Put(f, m, *head.reference[m]);
      const std::vector<std::size_t> turned = last_three_turn ? std::vector<std::size_t>{3, 4}
                                                              : std::vector<std::size_t>{0, 1},
                                     others = last_three_turn ? std::vector<std::size_t>{0, 1}
                                                              : std::vector<std::size_t>{3, 4};
      for (const std::size_t m : turned)
        head.take.Set(1, m, Carried(tests::Motion({0, 0, degrees}, {}), *head.reference[m]));
      head.Slip(1, others[0], {0.5, 0, 0});
      const SlippedMarkers report = head.TakeOut();
      for (const std::size_t m : degrees < 90 ? others : turned)
        EXPECT_THAT(Without(head.take, m), ElementsAre(1)) << degrees;
      for (const std::size_t m : degrees < 90 ? turned : others)
        EXPECT_THAT(Without(head.take, m), IsEmpty()) << degrees;
      EXPECT_THAT(report.markers, SizeIs(2));
    }
}

TEST(SlippedMarkers, TheCallerSetsTheTolerance) {
  for (const double tolerance : {0.5, 2.0, 20.0}) {
    Head head(3);
    head.Slip(0, 2, {0, tolerance / 2, 0}), head.Slip(1, 2, {0, 3 * tolerance, 0});
    const SlippedMarkers report = head.TakeOut(tolerance);
    EXPECT_THAT(Without(head.take, 2), ElementsAre(1)) << tolerance;
    ASSERT_THAT(report.markers, SizeIs(1));
    EXPECT_NEAR(report.markers[0].furthest_mm, 3 * tolerance, kRounding);
  }
}

// All kept markers are where the motion of the kept markers carries them.
TEST(SlippedMarkers, KeptMarkersFitTogether) {
  Head head(300);
  tests::Random random(52);
  for (std::size_t f = 0; f < 300; ++f) {
    const auto m = static_cast<std::size_t>(random.Between(0, 5));
    for (std::size_t other = 0; other < 5; ++other)
      head.Slip(f, other, {random.Between(-1, 1), random.Between(-1, 1), random.Between(-1, 1)});
    head.Slip(f, m, {random.Between(-40, 40), random.Between(-40, 40), random.Between(-40, 40)});
  }
  const Take before = head.take;
  const SlippedMarkers report = head.TakeOut();
  std::size_t taken_out = 0, kept_fit = 0;
  for (std::size_t f = 0; f < 300; ++f) {
    RigidMotion::Markers kept;
    for (std::size_t m = 0; m < 5; ++m)
      if (const Point* p = head.take.At(f, m))
        kept[m] = *p;
      else
        ++taken_out;
    const auto motion = RigidMotion(head.reference).Solve(kept);
    ASSERT_TRUE(motion) << f;
    for (std::size_t m = 0; m < 5; ++m)
      if (kept[m]) {
        // A marker outside the set that fits it also affects this motion, unlike the set's own: by less than
        // one more tolerance.
        ASSERT_LT(tests::Distance(*kept[m], Carried(*motion, *head.reference[m])), 2 * kTolerance) << f;
        ++kept_fit;
      }
  }
  std::size_t told = 0;
  for (const auto& marker : report.markers) {
    told += marker.frames;
    EXPECT_GT(marker.furthest_mm, kTolerance);
  }
  EXPECT_EQ(told, taken_out);
  EXPECT_EQ(Changes(head.take, before), taken_out);
  EXPECT_GT(taken_out, 200u);
  EXPECT_GT(kept_fit, 1000u);
  EXPECT_EQ(report.doubtful_frames, 0u);
}

// Both takes have the same slips; in one of them the head is upright at the origin.
TEST(SlippedMarkers, DoesNotDependOnTheHeadsPosition) {
  Head moving(40), still(40);
  tests::Random random(53);
  for (VgeAMatrix& motion : still.motions) motion = {};
  for (std::size_t f = 0; f < 40; ++f)
    for (std::size_t m = 0; m < 5; ++m) {
      const double most = m == f % 5 ? 30 : 2;
      const Point by = {random.Between(-most, most), random.Between(-most, most),
                        random.Between(-most, most)};
      moving.Slip(f, m, by), still.Slip(f, m, by);
    }
  const SlippedMarkers a = moving.TakeOut(), b = still.TakeOut();
  for (std::size_t m = 0; m < 5; ++m) EXPECT_EQ(Without(moving.take, m), Without(still.take, m)) << m;
  ASSERT_EQ(a.markers.size(), b.markers.size());
  EXPECT_GE(a.markers.size(), 3u);
  for (std::size_t i = 0; i < a.markers.size(); ++i) {
    EXPECT_EQ(a.markers[i].frames, b.markers[i].frames);
    EXPECT_NEAR(a.markers[i].furthest_mm, b.markers[i].furthest_mm, kRounding);
  }
}

TEST(SlippedMarkers, TheyMatchTheReferenceByTheGivenOrderNotTheTakes) {
  Take take({"other", "H5", "H3", "H1", "H2", "H4"});
  take.rate = {100, 1};
  const std::vector<std::size_t> markers = {3, 4, 2, 5, 1};
  tests::Random random(54);
  for (int f = 0; f < 4; ++f) {
    const std::size_t i = take.AddFrame(f, f / 100.0);
    const VgeAMatrix motion = AnyMotion(random);
    take.Set(i, 0, {1e6, 0, 0});
    for (std::size_t slot = 0; slot < 5; ++slot)
      take.Set(i, markers[slot], Carried(motion, *Reference()[slot]));
  }
  const Point* const there = take.At(2, 2);
  take.Set(2, 2, {there->x + 100, there->y, there->z}); // H3
  const SlippedMarkers report = TakeOutSlipped(take, markers, Reference(), kTolerance);
  ASSERT_THAT(report.markers, SizeIs(1));
  EXPECT_EQ(report.markers[0].marker, "H3");
  EXPECT_NEAR(report.markers[0].furthest_mm, 100, kRounding);
  EXPECT_THAT(Without(take, 2), ElementsAre(2));
  EXPECT_THAT(Without(take, 0), IsEmpty());
}

// Its correct position is unknown.
TEST(SlippedMarkers, AMarkerWithoutAReferenceIsNeverRemoved) {
  Head head(4);
  head.reference[1].reset();
  head.take.Set(2, 1, {1e5, 0, 0});
  const SlippedMarkers report = head.TakeOut();
  EXPECT_THAT(report.markers, IsEmpty());
  EXPECT_THAT(Without(head.take, 1), IsEmpty());
}

TEST(SlippedMarkers, ATakeWithoutFramesHasNone) {
  Head head(0);
  const SlippedMarkers report = head.TakeOut();
  EXPECT_THAT(report.markers, IsEmpty());
  EXPECT_EQ(report.doubtful_frames, 0u);
}
