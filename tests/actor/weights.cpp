#include "mien/actor/actor_face.h"
#include "mien/face/face.h"
#include "tests/actor/test_actor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace actor_test;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();

VgeTVector DefaultPoint(int part, int point) { return GetGlobalFace()->mParts[part].mDefaultPoints[point]; }

void ExpectWeights(const VActorFacePartMarker* entry, const double (&expected)[point_count]) {
  for (int j = 0; j < point_count; ++j) EXPECT_EQ(entry->mWeights[j], expected[j]) << "point " << j;
}

void SetWeights(VActorFacePartMarker* entry, double weight) {
  for (double& w : entry->mWeights) w = weight;
}

/// Which points a group drives. Where a brow has an inner marker (group 1), that one drives point 0 instead.
struct Drive {
  int part, group;
  std::vector<int> points;
};
const std::vector<Drive>& Drives() {
  static const std::vector<Drive> drives = {
      {Mouth, 0, {0}},         {Mouth, 1, {1, 2}},       {Mouth, 2, {5, 4}},        {Mouth, 3, {3}},
      {Mouth, 4, {6}},         {LeftBrow, 0, {0, 1, 2}}, {RightBrow, 0, {0, 1, 2}}, {LeftEye, 0, {1}},
      {LeftEye, 1, {3}},       {RightEye, 0, {1}},       {RightEye, 1, {3}},        {LeftCheek, 0, {0, 1}},
      {RightCheek, 0, {0, 1}}, {LeftNostril, 0, {0}},    {RightNostril, 0, {0}},
  };
  return drives;
}

} // namespace

// --- SetupMarkerLocalFromGlobalPosition

TEST(LocalPositions, AreThoseOfTheSetInAnIdentityFrame) {
  TestActor actor;
  VFaceMarkerSetState set;
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group)
      actor.Place(part, group, set, {1.0 * part, 1.0 * group, 0.1 * part});
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group)
      EXPECT_TRUE(IsPoint(actor.Rest(part, actor.mParts[part].mGroups[group][0]),
                          {1.0 * part, 1.0 * group, 0.1 * part}));
}

TEST(LocalPositions, UndoTheFrameOfTheSet) {
  // 90 degrees about z, axes of length 2, 4 and 1/2, translated: every step is exact.
  TestActor actor;
  VFaceMarkerSetState set;
  set.mTransform = {{{0, 2, 0, 0}, {-4, 0, 0, 0}, {0, 0, 0.5, 0}, {10, 20, 30, 1}}};
  const VgeTVector local{3, -5, 7};
  VActorFacePartMarker* const entry = actor.Place(LeftCheek, 0, set, {10 + 4 * 5, 20 + 2 * 3, 30 + 0.5 * 7});
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  EXPECT_TRUE(IsPoint(actor.Rest(LeftCheek, entry), local));
}

TEST(LocalPositions, UndoAnyRigidFrameWithScaledAxes) {
  Random random(1);
  for (int round = 0; round < 200; ++round) {
    TestActor actor;
    VFaceMarkerSetState set;
    set.mTransform = WithScaledAxes(
        Rigid(random.PointBetween(-1, 1), random.Between(-3, 3), random.PointBetween(-100, 100)),
        random.Between(0.1, 10), random.Between(0.1, 10), random.Between(-10, -0.1));
    const VgeTVector local = random.PointBetween(-20, 20);
    VActorFacePartMarker* const entry = actor.Place(round % part_count, round % group_count, set, {});
    set.mPositions[entry->mMarker->mIndex] = Apply(set.mTransform, local);
    actor.SetupMarkerLocalFromGlobalPosition(&set);
    // Positions of up to 500 rounded to 1e-13, in axes of a tenth of the length.
    EXPECT_TRUE(IsPointNear(actor.Rest(round % part_count, entry), local, 1e-11));
  }
}

TEST(LocalPositions, AreKeptPerPartAndOnlyForItsMarkers) {
  TestActor actor;
  VFaceMarkerSetState set;
  VActorFacePartMarker* const entry = actor.Place(LeftBrow, 0, set, {1, 2, 3});
  actor.Assign(entry->mMarker, LeftEye, 1);
  set.mPositions[50] = {7, 7, 7}; // no marker
  actor.mParts[LeftBrow].mMarkerSet.mPositions[50] = {8, 8, 8};
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  EXPECT_TRUE(IsPoint(actor.Rest(LeftBrow, entry), {1, 2, 3}));
  EXPECT_TRUE(IsPoint(actor.Rest(LeftEye, entry), {1, 2, 3}));
  EXPECT_TRUE(IsPoint(actor.Rest(RightBrow, entry), {0, 0, 0}));
  EXPECT_TRUE(IsPoint(actor.mParts[LeftBrow].mMarkerSet.mPositions[50], {8, 8, 8}));
}

TEST(LocalPositions, LeaveTheVolumesUnchanged) {
  TestActor actor;
  VFaceMarkerSetState set;
  set.mTransform = ScaleAndTranslation(2, 2, 2, 1, 1, 1);
  actor.Place(LeftBrow, 0, set, {1, 2, 3});
  const VgeAMatrix volume = actor.Volume(LeftBrow);
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  EXPECT_EQ(actor.Volume(LeftBrow), volume);
}

TEST(LocalPositions, OfAMarkerEnteredTwiceAreTakenOnce) {
  TestActor actor;
  VFaceMarkerSetState set;
  set.mTransform = ScaleAndTranslation(2, 2, 2, 0, 0, 0);
  VActorFacePartMarker* const entry = actor.Place(Mouth, 0, set, {8, 16, 32});
  actor.Assign(entry->mMarker, Mouth, 1);
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  EXPECT_TRUE(IsPoint(actor.Rest(Mouth, entry), {4, 8, 16})); // from the set each time, not from itself
}

TEST(LocalPositions, InAFrameWithoutDepthAreNotFinite) {
  TestActor actor;
  VFaceMarkerSetState set;
  set.mTransform = ScaleAndTranslation(1, 1, 0, 0, 0, 0);
  VActorFacePartMarker* const entry = actor.Place(Mouth, 0, set, {1, 2, 3});
  actor.SetupMarkerLocalFromGlobalPosition(&set);
  EXPECT_FALSE(std::isfinite(actor.Rest(Mouth, entry).z));
}

// --- SetupComputeNormalisedPosition

TEST(NormalisedPositions, AreRelativeToThePartsVolume) {
  TestActor actor;
  std::vector<VActorFacePartMarker*> entries;
  for (int part = 0; part < part_count; ++part) {
    entries.push_back(actor.Place(part, part % group_count));
    actor.Volume(part) = ScaleAndTranslation(2, 4, 0.5, part, 2 * part, 3 * part);
    actor.Rest(part, entries.back()) = {part + 6.0, 2 * part - 8.0, 3 * part + 1.0};
  }
  actor.SetupComputeNormalisedPosition();
  for (int part = 0; part < part_count; ++part)
    EXPECT_TRUE(IsPoint(actor.Rest(part, entries[static_cast<std::size_t>(part)]), {3, -2, 2}))
        << "part " << part;
}

TEST(NormalisedPositions, UndoRotatedVolumes) {
  Random random(2);
  for (int round = 0; round < 200; ++round) {
    TestActor actor;
    VActorFacePartMarker* const entry = actor.Place(LeftNostril, 0);
    actor.Volume(LeftNostril) =
        WithScaledAxes(Rigid(random.PointBetween(-1, 1), random.Between(-3, 3), random.PointBetween(-50, 50)),
                       random.Between(0.3, 10), random.Between(0.3, 10), random.Between(0.3, 10));
    const VgeTVector normalised = random.PointBetween(-3, 3);
    actor.Rest(LeftNostril, entry) = Apply(actor.Volume(LeftNostril), normalised);
    actor.SetupComputeNormalisedPosition();
    EXPECT_TRUE(
        IsPointNear(actor.Rest(LeftNostril, entry), normalised, 1e-12)); // 1e-14 of 100, in axes of 0.3
  }
}

TEST(NormalisedPositions, WaitUntilAllVolumesAreSet) {
  TestActor actor;
  VActorFacePartMarker* const placed = actor.Place(Mouth, 0);
  VActorFacePartMarker* const unplaced = actor.Place(RightNostril, 0);
  actor.Rest(Mouth, placed) = {1, 2, 3};
  actor.Rest(RightNostril, unplaced) = {4, 5, 6};
  actor.Volume(RightNostril) = VgeAMatrix();
  actor.SetupComputeNormalisedPosition();
  EXPECT_TRUE(IsPoint(actor.Rest(Mouth, placed), {1, 2, 3})); // although the mouth's volume is set
  EXPECT_TRUE(IsPoint(actor.Rest(RightNostril, unplaced), {4, 5, 6}));
}

// A marker that a part lists twice is transformed twice, and the solve measures from that position. This is
// known and kept; otherwise recordings with such a set-up would solve differently.
TEST(NormalisedPositions, OfAMarkerEnteredTwiceInAPartAreTransformedTwice) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(Mouth, 1);
  actor.Assign(entry->mMarker, Mouth, 2);
  VActorFacePartMarker* const single = actor.Place(Mouth, 1);
  actor.Volume(Mouth) = ScaleAndTranslation(2, 2, 2, 1, 1, 1);
  actor.Rest(Mouth, entry) = actor.Rest(Mouth, single) = {9, 17, 33};
  actor.SetupComputeNormalisedPosition();
  EXPECT_TRUE(IsPoint(actor.Rest(Mouth, single), {4, 8, 16}));
  EXPECT_TRUE(IsPoint(actor.Rest(Mouth, entry), {1.5, 3.5, 7.5}));
}

TEST(NormalisedPositions, OfAMarkerInTwoPartsAreTransformedOnceInEach) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(LeftBrow, 0);
  actor.Assign(entry->mMarker, LeftEye, 0);
  actor.Volume(LeftBrow) = ScaleAndTranslation(2, 2, 2, 0, 0, 0);
  actor.Volume(LeftEye) = ScaleAndTranslation(4, 4, 4, 0, 0, 0);
  actor.Rest(LeftBrow, entry) = actor.Rest(LeftEye, entry) = {8, 8, 8};
  actor.SetupComputeNormalisedPosition();
  EXPECT_TRUE(IsPoint(actor.Rest(LeftBrow, entry), {4, 4, 4}));
  EXPECT_TRUE(IsPoint(actor.Rest(LeftEye, entry), {2, 2, 2}));
}

TEST(NormalisedPositions, OfSlotsWithoutMarkerStay) {
  TestActor actor;
  actor.Place(LeftBrow, 0);
  actor.mParts[LeftBrow].mMarkerSet.mPositions[100] = {1, 2, 3};
  actor.mParts[RightBrow].mMarkerSet.mPositions[0] = {4, 5, 6};
  actor.SetupComputeNormalisedPosition();
  EXPECT_TRUE(IsPoint(actor.mParts[LeftBrow].mMarkerSet.mPositions[100], {1, 2, 3}));
  EXPECT_TRUE(IsPoint(actor.mParts[RightBrow].mMarkerSet.mPositions[0], {4, 5, 6}));
}

// --- SetupResetWeights

TEST(ResetWeights, ZeroesAllSevenOfEveryEntry) {
  TestActor actor;
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group)
      for (int i = 0; i < 2; ++i) {
        VActorFacePartMarker* const entry = actor.Place(part, group);
        SetWeights(entry, i == 0 ? 3 : no_number);
        entry->mId = 9;
      }
  actor.SetupResetWeights();
  for (const VActorFacePart& part : actor.mParts)
    for (const auto& group : part.mGroups)
      for (int i = 0; i < 2; ++i) {
        ExpectWeights(group[i], {0, 0, 0, 0, 0, 0, 0});
        EXPECT_EQ(group[i]->mId, 9);
      }
}

// --- SetupWeightUnnormalized

TEST(RawWeight, IsTheInverseFourthPowerOfTheDistance) {
  TestActor actor;
  VActorFacePartMarker* const one = actor.Place(LeftNostril, 0);
  VActorFacePartMarker* const two = actor.Place(LeftNostril, 0);
  VActorFacePartMarker* const nine = actor.Place(LeftNostril, 0);
  actor.Rest(LeftNostril, one) = {1, 0, 0}; // the nostril's point is at 0
  actor.Rest(LeftNostril, two) = {0, 0, -2};
  actor.Rest(LeftNostril, nine) = {1, -2, 2};
  const int points[] = {0};
  actor.SetupWeightUnnormalized(LeftNostril, 0, 1, points);
  EXPECT_EQ(one->mWeights[0], 1.0);
  EXPECT_EQ(two->mWeights[0], 0.0625);
  EXPECT_EQ(nine->mWeights[0], 1.0 / 81);
}

TEST(RawWeight, IsAtMostAHundredThousand) {
  struct {
    double distance, weight;
  } const cases[] = {
      {0, 100000},       {-0.0, 100000},      {1e-100, 100000}, // the fourth power underflows to 0
      {1e-80, 100000},                                          // its inverse overflows
      {0.03125, 100000},                                        // 2^20 is more
      {0.0625, 65536},                                          // 2^16 is less
      {0x1p300, 0},                                             // the fourth power overflows
      {infinity, 0},     {no_number, 100000},                   // no distance is below the limit
  };
  for (const auto& c : cases) {
    TestActor actor;
    VActorFacePartMarker* const entry = actor.Place(LeftNostril, 0);
    actor.Rest(LeftNostril, entry) = {c.distance, 0, 0};
    const int points[] = {0};
    actor.SetupWeightUnnormalized(LeftNostril, 0, 1, points);
    EXPECT_EQ(entry->mWeights[0], c.weight) << "distance " << c.distance;
  }
}

TEST(RawWeight, IsWrittenOnlyForTheListedPoints) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(Mouth, 2);
  VActorFacePartMarker* const in_other_group = actor.Place(Mouth, 1);
  VActorFacePartMarker* const in_other_part = actor.Place(LeftEye, 2);
  for (VActorFacePartMarker* const e : {entry, in_other_group, in_other_part}) SetWeights(e, 0.5);
  actor.Rest(Mouth, entry) = Sum(DefaultPoint(Mouth, 5), {0, 0, 1});
  const int points[] = {5, 4, 6};
  actor.SetupWeightUnnormalized(Mouth, 2, 2, points); // the count excludes the third listed point
  // RightLowerMouth is 1 away from LeftLowerMouth: d2 = 1 + 1.
  ExpectWeights(entry, {0.5, 0.5, 0.5, 0.5, 0.25, 1, 0.5});
  ExpectWeights(in_other_group, {0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5});
  ExpectWeights(in_other_part, {0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5});
}

TEST(RawWeight, OfAnEmptyGroupIsNone) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(Mouth, 1);
  const int points[] = {0, 1};
  actor.SetupWeightUnnormalized(Mouth, 0, 2, points);
  ExpectWeights(entry, {0, 0, 0, 0, 0, 0, 0});
}

TEST(RawWeight, MeasuresFromTheGlobalFacesRestPoint) {
  const ChangedGlobalPart nostril(LeftNostril);
  nostril->mDefaultPoints[0] = VgeTVector{4, 4, 4};
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(LeftNostril, 0);
  actor.Rest(LeftNostril, entry) = {4, 2, 4};
  const int points[] = {0};
  actor.SetupWeightUnnormalized(LeftNostril, 0, 1, points);
  EXPECT_EQ(entry->mWeights[0], 0.0625);
}

// --- SetupWeightNormalized

TEST(NormalisedWeights, OfEachGroupAndPointAddUpToOne) {
  TestActor actor;
  VActorFacePartMarker* const a = actor.Place(Mouth, 0);
  VActorFacePartMarker* const b = actor.Place(Mouth, 0);
  VActorFacePartMarker* const c = actor.Place(Mouth, 1);
  a->mWeights[0] = 1, b->mWeights[0] = 3, c->mWeights[0] = 5;
  a->mWeights[6] = 6, c->mWeights[6] = 0.5;
  actor.SetupWeightNormalized(Mouth, 5, 7);
  ExpectWeights(a, {0.25, 0, 0, 0, 0, 0, 1});
  ExpectWeights(b, {0.75, 0, 0, 0, 0, 0, 0});
  ExpectWeights(c, {1, 0, 0, 0, 0, 0, 1});
}

TEST(NormalisedWeights, OfDistancesOneAndTwo) {
  TestActor actor;
  VActorFacePartMarker* const one = actor.Place(LeftNostril, 0);
  VActorFacePartMarker* const two = actor.Place(LeftNostril, 0);
  actor.Rest(LeftNostril, one) = {0, 1, 0};
  actor.Rest(LeftNostril, two) = {0, -2, 0};
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  EXPECT_EQ(one->mWeights[0], 16.0 / 17); // 0.941176...
  EXPECT_EQ(two->mWeights[0], 1.0 / 17);  // 0.058823...
}

TEST(NormalisedWeights, StopAtTheGivenGroupAndPoint) {
  TestActor actor;
  VActorFacePartMarker* const first = actor.Place(LeftCheek, 0);
  VActorFacePartMarker* const second = actor.Place(LeftCheek, 1);
  VActorFacePartMarker* const other = actor.Place(RightCheek, 0);
  for (VActorFacePartMarker* const entry : {first, second, other}) SetWeights(entry, 4);
  actor.SetupWeightNormalized(LeftCheek, 1, 2);
  ExpectWeights(first, {1, 1, 4, 4, 4, 4, 4});
  ExpectWeights(second, {4, 4, 4, 4, 4, 4, 4});
  ExpectWeights(other, {4, 4, 4, 4, 4, 4, 4});
}

TEST(NormalisedWeights, OfNoGroupOrPointStay) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(LeftCheek, 0);
  SetWeights(entry, 4);
  actor.SetupWeightNormalized(LeftCheek, 0, 7);
  actor.SetupWeightNormalized(LeftCheek, -1, 7);
  actor.SetupWeightNormalized(LeftCheek, 5, 0);
  ExpectWeights(entry, {4, 4, 4, 4, 4, 4, 4});
}

TEST(NormalisedWeights, StayIfTheirSumIsNotPositive) {
  TestActor actor;
  VActorFacePartMarker* const a = actor.Place(Mouth, 0);
  VActorFacePartMarker* const b = actor.Place(Mouth, 0);
  a->mWeights[1] = 1, b->mWeights[1] = -1;
  a->mWeights[2] = 1, b->mWeights[2] = -3;
  a->mWeights[3] = no_number, b->mWeights[3] = 5;
  a->mWeights[4] = 3, b->mWeights[4] = -1; // a positive sum counts, whatever its terms
  actor.SetupWeightNormalized(Mouth, 5, 7);
  EXPECT_EQ(a->mWeights[0], 0.0);
  EXPECT_EQ(a->mWeights[1], 1.0);
  EXPECT_EQ(b->mWeights[1], -1.0);
  EXPECT_EQ(a->mWeights[2], 1.0);
  EXPECT_EQ(b->mWeights[2], -3.0);
  EXPECT_TRUE(std::isnan(a->mWeights[3]));
  EXPECT_EQ(b->mWeights[3], 5.0);
  EXPECT_EQ(a->mWeights[4], 1.5);
  EXPECT_EQ(b->mWeights[4], -0.5);
}

// --- SetupComputeWeights

TEST(MarkerWeights, ASingleMarkerDrivesThePointsOfItsGroup) {
  for (const Drive& drive : Drives()) {
    SCOPED_TRACE("part " + std::to_string(drive.part) + ", group " + std::to_string(drive.group));
    TestActor actor;
    VActorFacePartMarker* const entry = actor.Place(drive.part, drive.group);
    actor.Rest(drive.part, entry) = {0.3, -0.7, 1.9};
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    double expected[point_count] = {};
    for (const int point : drive.points) expected[point] = 1;
    const bool brow = drive.part == LeftBrow || drive.part == RightBrow;
    if (brow) expected[2] = 0.25;
    ExpectWeights(entry, expected);
  }
}

TEST(MarkerWeights, OtherGroupsDriveNothing) {
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group) {
      const bool brow = part == LeftBrow || part == RightBrow;
      const bool drives = (brow && group == 1) ||
                          std::any_of(Drives().begin(), Drives().end(),
                                      [&](const Drive& d) { return d.part == part && d.group == group; });
      if (drives) continue;
      TestActor actor;
      VActorFacePartMarker* const entry = actor.Place(part, group);
      actor.SetupResetWeights();
      actor.SetupComputeWeights();
      ExpectWeights(entry, {0, 0, 0, 0, 0, 0, 0});
    }
}

TEST(MarkerWeights, OfASingleMarkerOnAPointAreOne) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(Mouth, 4);
  actor.Rest(Mouth, entry) = DefaultPoint(Mouth, 6);
  const int chin[] = {6};
  actor.SetupWeightUnnormalized(Mouth, 4, 1, chin);
  EXPECT_EQ(entry->mWeights[6], 100000.0);
  actor.SetupComputeWeights();
  EXPECT_EQ(entry->mWeights[6], 1.0);
}

TEST(MarkerWeights, OfTheLowerLipPreferTheNearerSide) {
  TestActor actor;
  VActorFacePartMarker* const left = actor.Place(Mouth, 2);
  VActorFacePartMarker* const right = actor.Place(Mouth, 2);
  actor.Rest(Mouth, left) = Sum(DefaultPoint(Mouth, 5), {0, 0, 1});
  actor.Rest(Mouth, right) = Sum(DefaultPoint(Mouth, 4), {0, 0, 1});
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  // Towards its own side 1 against 1/4 (d2 = 2) of the other marker.
  ExpectWeights(left, {0, 0, 0, 0, 0.2, 0.8, 0});
  ExpectWeights(right, {0, 0, 0, 0, 0.8, 0.2, 0});
}

TEST(MarkerWeights, OfEyesLeaveTheCornersAtZero) {
  for (const int eye : {LeftEye, RightEye}) {
    TestActor actor;
    for (int group = 0; group < 2; ++group)
      for (int i = 0; i < 2; ++i) actor.Rest(eye, actor.Place(eye, group)) = {0.5 * i, 0.25 * group, 1};
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    for (int group = 0; group < 2; ++group) {
      double sums[point_count] = {};
      for (int i = 0; i < 2; ++i)
        for (int j = 0; j < point_count; ++j) sums[j] += actor.mParts[eye].mGroups[group][i]->mWeights[j];
      for (int j = 0; j < point_count; ++j)
        EXPECT_NEAR(sums[j], (group == 0 && j == 1) || (group == 1 && j == 3) ? 1 : 0, 1e-15)
            << "point " << j;
    }
  }
}

// A single brow marker is closer to the other points than to the outer brow: it moves that point by a
// quarter.
TEST(BrowWeights, OfASingleMarkerAreAQuarterForTheOuterBrow) {
  for (const int brow : {LeftBrow, RightBrow}) {
    TestActor actor;
    VActorFacePartMarker* const entry = actor.Place(brow, 0);
    actor.Rest(brow, entry) = {0.1, 0.2, 0.3};
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    ExpectWeights(entry, {1, 1, 0.25, 0, 0, 0, 0});
  }
}

TEST(BrowWeights, AnInnerMarkerDrivesTheInnerPoint) {
  for (const int brow : {LeftBrow, RightBrow}) {
    TestActor actor;
    VActorFacePartMarker* const inner = actor.Place(brow, 1);
    VActorFacePartMarker* const outer = actor.Place(brow, 0);
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    ExpectWeights(inner, {1, 0, 0, 0, 0, 0, 0});
    ExpectWeights(outer, {0, 1, 0.25, 0, 0, 0, 0}); // still the only one in its group
  }
}

TEST(BrowWeights, OfTwoMarkersAreNotReduced) {
  for (const int brow : {LeftBrow, RightBrow}) {
    TestActor actor;
    VActorFacePartMarker* const mid = actor.Place(brow, 0);
    VActorFacePartMarker* const outer = actor.Place(brow, 0);
    actor.Rest(brow, mid) = Sum(DefaultPoint(brow, 2), {0, 0, 2});
    actor.Rest(brow, outer) = Sum(DefaultPoint(brow, 2), {0, 0, 1});
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    EXPECT_EQ(mid->mWeights[2], 1.0 / 17);
    EXPECT_EQ(outer->mWeights[2], 16.0 / 17);
  }
}

TEST(BrowWeights, TwoInnerMarkersDoNotChangeTheQuarter) {
  TestActor actor;
  for (int i = 0; i < 2; ++i)
    actor.Rest(LeftBrow, actor.Place(LeftBrow, 1)) = Sum(DefaultPoint(LeftBrow, 0), {1, 0, 0});
  VActorFacePartMarker* const outer = actor.Place(LeftBrow, 0);
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  for (int i = 0; i < 2; ++i) ExpectWeights(actor.mParts[LeftBrow].mGroups[1][i], {0.5, 0, 0, 0, 0, 0, 0});
  ExpectWeights(outer, {0, 1, 0.25, 0, 0, 0, 0});
}

TEST(BrowWeights, OfAnEmptyGroupZeroAreAccepted) {
  TestActor actor;
  VActorFacePartMarker* const inner = actor.Place(RightBrow, 1);
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  ExpectWeights(inner, {1, 0, 0, 0, 0, 0, 0});
}

TEST(MarkerWeights, AreTheSameHoweverOftenTheyAreComputed) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(LeftBrow, 0);
  actor.Rest(LeftBrow, entry) = {1, 2, 3};
  actor.SetupResetWeights();
  for (int call = 0; call < 3; ++call) {
    actor.SetupComputeWeights();
    ExpectWeights(entry, {1, 1, 0.25, 0, 0, 0, 0});
  }
}

// Computing does not reset: old values in slots that no group drives are normalised as well.
TEST(MarkerWeights, KeepValuesThatWereNotReset) {
  TestActor actor;
  VActorFacePartMarker* const lid = actor.Place(LeftEye, 0);
  SetWeights(lid, 7);
  VActorFacePartMarker* const cheek = actor.Place(LeftCheek, 0);
  SetWeights(cheek, 7);
  actor.SetupComputeWeights();
  ExpectWeights(lid, {1, 1, 1, 1, 7, 7, 7});
  ExpectWeights(cheek, {1, 1, 7, 7, 7, 7, 7});
}

TEST(MarkerWeights, AgreeWithASimpleImplementation) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    TestActor actor;
    for (int part = 0; part < part_count; ++part)
      for (int group = 0; group < group_count; ++group)
        for (int i = random.Below(4); i > 0; --i) {
          const VgeTVector near = DefaultPoint(part, random.Below(GetGlobalFace()->mParts[part].mPointCount));
          actor.Rest(part, actor.Place(part, group)) = Sum(near, random.PointBetween(-0.5, 0.5));
        }
    actor.SetupResetWeights();
    actor.SetupComputeWeights();

    for (int part = 0; part < part_count; ++part) {
      const bool brow = part == LeftBrow || part == RightBrow;
      const bool has_inner = actor.mParts[part].mGroups[1].GetCount() > 0;
      for (int group = 0; group < group_count; ++group) {
        std::vector<int> points;
        for (const Drive& drive : Drives())
          if (drive.part == part && drive.group == group) points = drive.points;
        if (brow && has_inner && group == 0) points = {1, 2};
        if (brow && has_inner && group == 1) points = {0};

        const auto& entries = actor.mParts[part].mGroups[group];
        for (int j = 0; j < point_count; ++j) {
          const bool driven = std::find(points.begin(), points.end(), j) != points.end();
          std::vector<double> raw;
          double sum = 0;
          for (int i = 0; i < entries.GetCount(); ++i) {
            const VgeTVector d = Minus(DefaultPoint(part, j), actor.Rest(part, entries[i]));
            const double d2 = d.x * d.x + d.y * d.y + d.z * d.z;
            raw.push_back(driven ? std::min(1 / (d2 * d2), 100000.0) : 0);
            sum += raw.back();
          }
          for (int i = 0; i < entries.GetCount(); ++i) {
            double expected = driven ? raw[static_cast<std::size_t>(i)] / sum : 0;
            if (brow && group == 0 && j == 2 && entries.GetCount() == 1) expected *= 0.25;
            EXPECT_EQ(entries[i]->mWeights[j], expected)
                << "part " << part << ", group " << group << ", entry " << i << ", point " << j;
          }
        }
      }
    }
  }
}

TEST(MarkerWeights, DoNotMovePositionsOrVolumes) {
  TestActor actor;
  VActorFacePartMarker* const entry = actor.Place(LeftBrow, 0);
  actor.Rest(LeftBrow, entry) = {1, 2, 3};
  const VgeAMatrix volume = actor.Volume(LeftBrow);
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  EXPECT_TRUE(IsPoint(actor.Rest(LeftBrow, entry), {1, 2, 3}));
  EXPECT_EQ(actor.Volume(LeftBrow), volume);
}
