#include "mien/actor/actor_face.h"
#include "mien/face/face.h"
#include "tests/actor/test_actor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

using namespace actor_test;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();

VgeTVector DefaultPoint(int part, int point) { return GetGlobalFace()->mParts[part].mDefaultPoints[point]; }

/// The position of a point in a template.
VgeTVector TemplatePoint(int part, const char* name, int point) {
  const VFacePart& face_part = GetGlobalFace()->mParts[part];
  return face_part.mTemplates[face_part.TemplateIndexByName(name)]->mPoints[point];
}

/// An actor with unit volumes in head space, so that at weight 1 a point has the marker's displacement. The
/// tests set weights directly, as a host may.
struct UnitActor {
  TestActor actor;
  VFaceMarkerSetState frame;
  VFaceState out;

  UnitActor() {
    for (int part = 0; part < part_count; ++part) actor.Volume(part) = VgeAMatrix();
  }
  /// A marker at rest in the origin that drives only `point`.
  VActorFacePartMarker* Drive(int part, int group, int point, double weight = 1) {
    VActorFacePartMarker* const entry = actor.Place(part, group);
    entry->mWeights[point] = weight;
    return entry;
  }
  void Move(const VActorFacePartMarker* entry, const VgeTVector& to) {
    frame.mPositions[entry->mMarker->mIndex] = to;
  }
  void Solve() { actor.Actor2FaceSolve(&out, &frame); }
  VgeTVector& Point(int part, int point) { return out.mParts[part].mPoints[point]; }
};

/// A complete performer, set up with a neutral set as a host does.
struct WholeActor {
  TestActor actor;
  VFaceMarkerSetState neutral;

  explicit WholeActor(Random& random, bool with_chin = true) {
    neutral.mTransform =
        Rigid(random.PointBetween(-1, 1), random.Between(-1, 1), random.PointBetween(-50, 50));
    for (int part = 0; part < part_count; ++part) {
      const int groups = part == Mouth ? (with_chin ? 5 : 4) : part <= RightEye ? 2 : 1;
      const VFacePart& face_part = GetGlobalFace()->mParts[part];
      for (int group = 0; group < groups; ++group)
        for (int i = 1 + random.Below(3); i > 0; --i)
          actor.Place(part, group, neutral,
                      Apply(neutral.mTransform, Sum(face_part.mCenter, random.PointBetween(-2, 2))));
    }
    actor.SetupMarkerLocalFromGlobalPosition(&neutral); // default volumes
    actor.SetupComputeNormalisedPosition();
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
  }
};

/// A second, simple implementation of the solve.
VFaceState PlainSolve(TestActor& actor, const VFaceMarkerSetState& in) {
  const VFace& face = *GetGlobalFace();
  VFaceState out;
  out.mGlobal = in.mTransform;
  for (int part = 0; part < part_count; ++part) {
    const VgeAMatrix to_volume = Composed(Inverse(actor.Volume(part)), Inverse(in.mTransform));
    for (int j = 0; j < point_count; ++j) {
      VgeTVector point = face.mParts[part].mDefaultPoints[j];
      for (const auto& group : actor.mParts[part].mGroups)
        for (int i = 0; i < group.GetCount(); ++i) {
          const VgeTVector now = Apply(to_volume, in.mPositions[group[i]->mMarker->mIndex]);
          point = Sum(point, Times(group[i]->mWeights[j], Minus(now, actor.Rest(part, group[i]))));
        }
      out.mParts[part].mPoints[j] = point;
    }
  }
  for (const int eye : {RightEye, LeftEye}) {
    VgeTVector* const p = out.mParts[eye].mPoints;
    const double close = TemplatePoint(eye, "Close", 1).y, wide = TemplatePoint(eye, "WideOpen", 1).y;
    const double squint = TemplatePoint(eye, "Squint", 3).y;
    p[1] = {DefaultPoint(eye, 1).x, std::clamp(p[1].y, close, wide), DefaultPoint(eye, 1).z};
    p[3] = {DefaultPoint(eye, 3).x, std::clamp(p[3].y, -1.0, squint), DefaultPoint(eye, 3).z};
    const double t = (p[3].y + 1) / (squint + 1);
    const VgeTVector towards = Minus(TemplatePoint(eye, "Squint", 2), DefaultPoint(eye, 2));
    p[2] = Sum(DefaultPoint(eye, 2), Times(t, towards));
  }
  out.mValid = actor.mParts[Mouth].mGroups[4].GetCount() > 0;
  if (!out.mValid) {
    const VgeTVector* const p = out.mParts[Mouth].mPoints;
    const VgeTVector lip = Times(0.5, Sum(p[4], p[5]));
    const VgeTVector lip_at_rest = Times(0.5, Sum(DefaultPoint(Mouth, 4), DefaultPoint(Mouth, 5)));
    out.mParts[Mouth].mPoints[6] = Sum(DefaultPoint(Mouth, 6), Minus(lip, lip_at_rest));
  }
  return out;
}

} // namespace

// --- Displacements

TEST(MarkerSolve, WithoutMarkersEveryPointRests) {
  UnitActor solve;
  for (VFacePartState& part : solve.out.mParts)
    for (VgeTVector& point : part.mPoints) point = {9, 9, 9};
  solve.Solve();
  for (int part = 0; part < part_count; ++part)
    for (int j = 0; j < point_count; ++j) // unused slots too
      EXPECT_TRUE(IsPoint(solve.Point(part, j), DefaultPoint(part, j))) << "part " << part << ", point " << j;
}

TEST(MarkerSolve, TheNeutralFrameGivesTheRestPose) {
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    Random random(seed);
    WholeActor whole(random, seed % 2 == 0);
    VFaceState out;
    whole.actor.Actor2FaceSolve(&out, &whole.neutral);
    for (int part = 0; part < part_count; ++part)
      for (int j = 0; j < point_count; ++j)
        EXPECT_TRUE(IsPoint(out.mParts[part].mPoints[j], DefaultPoint(part, j)))
            << "seed " << seed << ", part " << part << ", point " << j;
  }
}

TEST(MarkerSolve, AddsTheWeightedDisplacementsOfAllGroups) {
  UnitActor solve;
  VActorFacePartMarker* const a = solve.Drive(Mouth, 0, 1, 0.5);
  VActorFacePartMarker* const b = solve.Drive(Mouth, 0, 1, 0.25);
  VActorFacePartMarker* const c = solve.Drive(Mouth, 3, 1, -2); // weights are not limited
  solve.actor.Rest(Mouth, a) = {1, 1, 1};
  solve.Move(a, {3, 5, 9});
  solve.Move(b, {4, 8, -4});
  solve.Move(c, {0.5, 1, 2});
  solve.Solve();
  // (2, 4, 8) / 2 + (4, 8, -4) / 4 - 2 (0.5, 1, 2)
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 1), Sum(DefaultPoint(Mouth, 1), {1, 2, -1})));
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 2), DefaultPoint(Mouth, 2)));
}

TEST(MarkerSolve, MeasuresInThePartsVolume) {
  UnitActor solve;
  VActorFacePartMarker* const entry = solve.Drive(LeftCheek, 0, 0);
  solve.actor.Volume(LeftCheek) = ScaleAndTranslation(2, 4, 8, 10, 20, 30);
  solve.actor.Rest(LeftCheek, entry) = {1, 1, 1};
  solve.Move(entry, {10 + 2 * 3, 20 + 4 * 5, 30 - 8 * 7});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftCheek, 0), Sum(DefaultPoint(LeftCheek, 0), {2, 4, -8})));
}

TEST(MarkerSolve, RemovesTheFramesTransformFirst) {
  UnitActor solve;
  VActorFacePartMarker* const entry = solve.Drive(LeftCheek, 0, 0);
  // 90 degrees about z with axes of length 2, 4 and 1/2.
  solve.frame.mTransform = {{{0, 2, 0, 0}, {-4, 0, 0, 0}, {0, 0, 0.5, 0}, {10, 20, 30, 1}}};
  solve.Move(entry, {10 - 4 * 2, 20 + 2 * 1, 30 + 0.5 * 3});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftCheek, 0), Sum(DefaultPoint(LeftCheek, 0), {1, 2, 3})));
}

TEST(MarkerSolve, CopiesTheFramesTransform) {
  UnitActor solve;
  solve.frame.mTransform = WithScaledAxes(Rigid({1, 2, 3}, 0.5, {4, 5, 6}), 1, 2, 3);
  solve.out.mGlobal = ScaleAndTranslation(9, 9, 9, 9, 9, 9);
  solve.Solve();
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row)
      EXPECT_EQ(solve.out.mGlobal.m[column][row], solve.frame.mTransform.m[column][row]);
}

TEST(MarkerSolve, AnEntryInTwoGroupsContributesTwice) {
  UnitActor solve;
  VActorFacePartMarker* const entry = solve.Drive(LeftNostril, 0, 0, 0.5);
  solve.actor.mParts[LeftNostril].mGroups[2].Add(entry);
  solve.Move(entry, {2, 4, 6});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftNostril, 0), {2, 4, 6})); // its default is 0
}

TEST(MarkerSolve, AMarkerInTwoPartsMovesEachFromItsRestPositionThere) {
  UnitActor solve;
  VActorFacePartMarker* const brow = solve.Drive(LeftBrow, 0, 1);
  VActorFacePartMarker* const cheek = solve.actor.Assign(brow->mMarker, LeftCheek, 0);
  cheek->mWeights[1] = 1;
  solve.actor.Rest(LeftBrow, brow) = {1, 0, 0};
  solve.actor.Rest(LeftCheek, cheek) = {0, 1, 0};
  solve.Move(brow, {4, 4, 4});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftBrow, 1), Sum(DefaultPoint(LeftBrow, 1), {3, 4, 4})));
  EXPECT_TRUE(IsPointNear(solve.Point(LeftCheek, 1), Sum(DefaultPoint(LeftCheek, 1), {4, 3, 4}), 0));
}

TEST(MarkerSolve, WeightsOfZeroIgnoreANonsensePosition) {
  for (const double nonsense : {no_number, infinity}) {
    UnitActor solve;
    VActorFacePartMarker* const entry = solve.Drive(Mouth, 0, 0);
    entry->mWeights[1] = -0.0;
    solve.Move(entry, {nonsense, nonsense, nonsense});
    solve.Solve();
    EXPECT_FALSE(std::isfinite(solve.Point(Mouth, 0).x));
    for (int j = 1; j < point_count; ++j) EXPECT_TRUE(IsPoint(solve.Point(Mouth, j), DefaultPoint(Mouth, j)));
  }
}

TEST(MarkerSolve, MovesEvenSlotsThatThePartDoesNotUse) {
  UnitActor solve;
  VActorFacePartMarker* const entry = solve.Drive(LeftNostril, 4, 6);
  solve.Move(entry, {1, 2, 3});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftNostril, 6), Sum(DefaultPoint(LeftNostril, 6), {1, 2, 3})));
}

TEST(MarkerSolve, ChangesOnlyItsResult) {
  Random random(5);
  WholeActor whole(random);
  VFaceMarkerSetState frame = whole.neutral;
  for (VgeTVector& position : frame.mPositions) position = Sum(position, random.PointBetween(-1, 1));
  const VActorFace& actor = whole.actor;
  std::vector<VFaceMarkerSetState> sets;
  for (const VActorFacePart& part : actor.mParts) sets.push_back(part.mMarkerSet);
  VFaceState first, second;
  actor.Actor2FaceSolve(&first, &frame);
  actor.Actor2FaceSolve(&second, &frame);
  for (int part = 0; part < part_count; ++part) {
    const VFaceMarkerSetState& before = sets[static_cast<std::size_t>(part)];
    EXPECT_EQ(actor.mParts[part].mMarkerSet.mTransform, before.mTransform);
    for (int k = 0; k < 225; ++k)
      EXPECT_EQ(actor.mParts[part].mMarkerSet.mPositions[k], before.mPositions[k]);
    for (int j = 0; j < point_count; ++j)
      EXPECT_TRUE(IsPoint(second.mParts[part].mPoints[j], first.mParts[part].mPoints[j]));
  }
}

TEST(MarkerSolve, AgreesWithASimpleImplementation) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    WholeActor whole(random, seed % 2 == 0);
    VFaceMarkerSetState frame = whole.neutral;
    frame.mTransform = Rigid(random.PointBetween(-1, 1), random.Between(-3, 3), random.PointBetween(-50, 50));
    for (int k = 0; k < whole.actor.mMarkers.GetCount(); ++k)
      frame.mPositions[k] =
          Apply(frame.mTransform, Sum(Apply(Inverse(whole.neutral.mTransform), whole.neutral.mPositions[k]),
                                      random.PointBetween(-1, 1)));
    VFaceState out;
    whole.actor.Actor2FaceSolve(&out, &frame);
    const VFaceState expected = PlainSolve(whole.actor, frame);
    EXPECT_EQ(out.mValid, expected.mValid);
    for (int part = 0; part < part_count; ++part)
      for (int j = 0; j < point_count; ++j) // positions of up to 100, in volumes as thin as 0.2
        EXPECT_TRUE(IsPointNear(out.mParts[part].mPoints[j], expected.mParts[part].mPoints[j], 1e-11))
            << "part " << part << ", point " << j;
  }
}

TEST(MarkerSolve, DoesNotDependOnTheHeadsMotion) {
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    Random random(seed);
    WholeActor whole(random);
    VFaceMarkerSetState still = whole.neutral;
    for (VgeTVector& position : still.mPositions) position = Sum(position, random.PointBetween(-1, 1));
    const VgeAMatrix motion =
        Rigid(random.PointBetween(-1, 1), random.Between(-3, 3), random.PointBetween(-50, 50));
    VFaceMarkerSetState moved = still;
    moved.mTransform = Composed(motion, still.mTransform);
    for (VgeTVector& position : moved.mPositions) position = Apply(motion, position);
    VFaceState a, b;
    whole.actor.Actor2FaceSolve(&a, &still);
    whole.actor.Actor2FaceSolve(&b, &moved);
    for (int part = 0; part < part_count; ++part)
      for (int j = 0; j < point_count; ++j)
        EXPECT_TRUE(IsPointNear(b.mParts[part].mPoints[j], a.mParts[part].mPoints[j], 1e-11))
            << "seed " << seed;
  }
}

// --- Eyes

TEST(EyeLimits, TheUpperLidOnlyMovesUpAndDown) {
  for (const int eye : {LeftEye, RightEye}) {
    UnitActor solve;
    VActorFacePartMarker* const lid = solve.Drive(eye, 0, 1);
    solve.Move(lid, {3, -0.25, 5});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 1), {0, 0.75, 0})); // rests at 1
  }
}

TEST(EyeLimits, TheUpperLidStaysBetweenCloseAndWideOpen) {
  struct {
    double move, y;
  } const cases[] = {{-10, -0.5},  {-1.75, -0.5}, {-1.5, -0.5}, {-1.25, -0.25},
                     {0.25, 1.25}, {10, 1.4},     {1e300, 1.4}, {-1e300, -0.5}};
  for (const int eye : {LeftEye, RightEye})
    for (const auto& c : cases) {
      UnitActor solve;
      VActorFacePartMarker* const lid = solve.Drive(eye, 0, 1);
      solve.Move(lid, {0, c.move, 0});
      solve.Solve();
      EXPECT_EQ(solve.Point(eye, 1).y, c.y) << "moved by " << c.move;
    }
}

TEST(EyeLimits, TheUpperLidHasLimitsWithoutTemplatesToo) {
  for (const int eye : {LeftEye, RightEye}) {
    ChangedGlobalPart part(eye);
    UnitActor solve;
    VActorFacePartMarker* const lid = solve.Drive(eye, 0, 1);
    part.HideTemplate("Close");
    solve.Move(lid, {0, -10, 0});
    solve.Solve();
    EXPECT_EQ(solve.Point(eye, 1).y, -1.0);
    solve.Move(lid, {0, 10, 0});
    solve.Solve();
    EXPECT_EQ(solve.Point(eye, 1).y, 1.4); // WideOpen still exists

    part.HideTemplate("WideOpen");
    solve.Solve();
    EXPECT_EQ(solve.Point(eye, 1).y, 1.0);
    solve.Move(lid, {0, -1.75, 0});
    solve.Solve();
    EXPECT_EQ(solve.Point(eye, 1).y, -0.75);
  }
}

TEST(EyeLimits, TheLowerLidMovesUpAndDownBetweenItsRestAndSquint) {
  struct {
    double move, y;
  } const cases[] = {{-10, -1},   {-0.25, -1}, {0, -1},      {0.25, -0.75},
                     {0.5, -0.5}, {10, -0.4},  {-1e300, -1}, {1e300, -0.4}};
  for (const int eye : {LeftEye, RightEye})
    for (const auto& c : cases) {
      UnitActor solve;
      VActorFacePartMarker* const lid = solve.Drive(eye, 1, 3);
      solve.Move(lid, {4, c.move, 6});
      solve.Solve();
      EXPECT_TRUE(IsPoint(solve.Point(eye, 3), {0, c.y, 0})) << "moved by " << c.move;
    }
}

// A lid without a position is placed like a lid that moved too far up: the limits are the only heights
// known.
TEST(EyeLimits, ANaNEndsAtTheUpperLimit) {
  for (const int eye : {LeftEye, RightEye}) {
    UnitActor solve;
    VActorFacePartMarker* const upper = solve.Drive(eye, 0, 1);
    VActorFacePartMarker* const lower = solve.Drive(eye, 1, 3);
    solve.Move(upper, {no_number, no_number, no_number});
    solve.Move(lower, {no_number, no_number, no_number});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 1), {0, 1.4, 0}));
    EXPECT_TRUE(IsPoint(solve.Point(eye, 3), {0, -0.4, 0}));
    EXPECT_TRUE(IsPointNear(solve.Point(eye, 2), TemplatePoint(eye, "Squint", 2), 1e-15)); // t is 1
  }
}

TEST(EyeLimits, TheOuterCornerFollowsTheSquint) {
  // Squint lifts the lower lid from -1 to -0.4 and the outer corner from (±1, 0, 0) to (±0.8, 0.4, 0).
  for (const int eye : {LeftEye, RightEye}) {
    const double side = eye == LeftEye ? 1 : -1;
    for (const double t : {0.0, 0.25, 0.5, 1.0}) {
      UnitActor solve;
      VActorFacePartMarker* const lower = solve.Drive(eye, 1, 3);
      solve.Move(lower, {0, 0.6 * t, 0});
      solve.Solve();
      EXPECT_TRUE(IsPointNear(solve.Point(eye, 2), {side * (1 - 0.2 * t), 0.4 * t, 0}, 1e-15)) << "t = " << t;
    }
  }
}

TEST(EyeLimits, TheOuterCornerIgnoresItsMarkers) {
  for (const int eye : {LeftEye, RightEye}) {
    UnitActor solve;
    VActorFacePartMarker* const corner = solve.Drive(eye, 0, 2);
    solve.Move(corner, {5, 5, 5});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 2), DefaultPoint(eye, 2)));
  }
}

TEST(EyeLimits, WithoutSquintTheOuterCornerFollowsItsMarkers) {
  for (const int eye : {LeftEye, RightEye}) {
    ChangedGlobalPart part(eye);
    part.HideTemplate("Squint");
    UnitActor solve;
    VActorFacePartMarker* const corner = solve.Drive(eye, 0, 2);
    VActorFacePartMarker* const lower = solve.Drive(eye, 1, 3);
    solve.Move(corner, {5, 6, 7});
    solve.Move(lower, {1, 10, 1});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 2), Sum(DefaultPoint(eye, 2), {5, 6, 7})));
    EXPECT_TRUE(IsPoint(solve.Point(eye, 3), {0, 0, 0})); // the lower lid's limit is 0 then
    solve.Move(lower, {1, -10, 1});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 3), {0, -1, 0}));
  }
}

TEST(EyeLimits, TheInnerCornerIsFree) {
  for (const int eye : {LeftEye, RightEye}) {
    UnitActor solve;
    VActorFacePartMarker* const corner = solve.Drive(eye, 0, 0);
    solve.Move(corner, {5, 6, 7});
    solve.Solve();
    EXPECT_TRUE(IsPoint(solve.Point(eye, 0), Sum(DefaultPoint(eye, 0), {5, 6, 7})));
  }
}

// The lids' limits are heights in the eye's space, wherever its rest pose is; the lowest height is -1 even
// then.
TEST(EyeLimits, AreHeightsNotDistancesFromTheRest) {
  const ChangedGlobalPart eye(LeftEye);
  eye->mDefaultPoints[1] = VgeTVector{0.5, -3, 0.25};
  eye->mDefaultPoints[3] = VgeTVector{-0.5, -3, -0.25};
  UnitActor solve;
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(LeftEye, 1), {0.5, -0.5, 0.25}));
  EXPECT_TRUE(IsPoint(solve.Point(LeftEye, 3), {-0.5, -1, -0.25}));
}

TEST(EyeLimits, TheOuterCornersFractionIsAlsoMeasuredFromMinusOne) {
  const ChangedGlobalPart eye(RightEye);
  eye->mDefaultPoints[3].y = -0.7; // already halfway to the squint
  UnitActor solve;
  solve.Solve();
  EXPECT_TRUE(IsPointNear(solve.Point(RightEye, 2), {-0.9, 0.2, 0}, 1e-15));
}

TEST(EyeLimits, ApplyOnlyToEyes) {
  for (const int part : {Mouth, LeftBrow, RightBrow, LeftCheek, RightCheek, LeftNostril, RightNostril}) {
    UnitActor solve;
    for (int j = 0; j < 4; ++j) solve.Move(solve.Drive(part, 0, j), {10, 20, 30});
    solve.Solve();
    for (int j = 0; j < 4; ++j)
      EXPECT_TRUE(IsPoint(solve.Point(part, j), Sum(DefaultPoint(part, j), {10, 20, 30})))
          << "part " << part << ", point " << j;
  }
}

// --- Chin

TEST(Chin, FollowsTheLowerLipWithoutItsOwnMarker) {
  UnitActor solve;
  solve.Move(solve.Drive(Mouth, 2, 4), {1, 2, 3});
  solve.Move(solve.Drive(Mouth, 2, 5), {3, -4, 5});
  solve.out.mValid = true;
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 6), Sum(DefaultPoint(Mouth, 6), {2, -1, 4})));
  EXPECT_FALSE(solve.out.mValid);
}

TEST(Chin, IsMeasuredWithItsOwnMarker) {
  UnitActor solve;
  solve.Move(solve.Drive(Mouth, 2, 4), {1, 2, 3});
  solve.Move(solve.Drive(Mouth, 4, 6), {0, -1, 0});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 6), Sum(DefaultPoint(Mouth, 6), {0, -1, 0})));
  EXPECT_TRUE(solve.out.mValid);
}

TEST(Chin, ItsOwnMarkerCountsEvenWithoutWeight) {
  UnitActor solve;
  solve.Move(solve.Drive(Mouth, 2, 4), {1, 2, 3});
  solve.Move(solve.Drive(Mouth, 4, 6, 0), {0, -1, 0});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 6), DefaultPoint(Mouth, 6)));
  EXPECT_TRUE(solve.out.mValid);
}

TEST(Chin, TheEstimateReplacesTheEffectOfOtherGroups) {
  UnitActor solve;
  solve.Move(solve.Drive(Mouth, 2, 6), {7, 7, 7});
  solve.Solve();
  EXPECT_TRUE(IsPoint(solve.Point(Mouth, 6), DefaultPoint(Mouth, 6)));
  EXPECT_FALSE(solve.out.mValid);
}

TEST(Chin, OnlyTheMouthsFifthGroupIsTheChin) {
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group) {
      UnitActor solve;
      solve.actor.Place(part, group);
      solve.Solve();
      EXPECT_EQ(solve.out.mValid, part == Mouth && group == 4) << "part " << part << ", group " << group;
    }
}

// --- ComputeGlobalPosition

TEST(HeadLocalPositions, AreThoseOfTheFirstSlots) {
  const TestActor actor;
  VFaceMarkerSetState src, dst;
  src.mTransform = {{{0, 2, 0, 0}, {-4, 0, 0, 0}, {0, 0, 0.5, 0}, {10, 20, 30, 1}}};
  for (int k = 0; k < 225; ++k) {
    src.mPositions[k] = {10 - 4.0 * k, 20 + 2.0, 30 + 0.5 * 3};
    dst.mPositions[k] = {-1, -2, -3};
  }
  dst.mTransform = ScaleAndTranslation(5, 5, 5, 5, 5, 5);
  dst.mRBTransform = ScaleAndTranslation(6, 6, 6, 6, 6, 6);
  dst.mRBValid = 1;
  dst.mRBPositions[2] = {1, 2, 3};
  dst.mRBPresent[2] = true;
  for (const int count : {0, -3}) {
    actor.ComputeGlobalPosition(&dst, &src, count);
    for (const VgeTVector& position : dst.mPositions) EXPECT_TRUE(IsPoint(position, {-1, -2, -3}));
  }
  actor.ComputeGlobalPosition(&dst, &src, 7);
  for (int k = 0; k < 225; ++k)
    EXPECT_TRUE(IsPoint(dst.mPositions[k], k < 7 ? VgeTVector{1, 1.0 * k, 3} : VgeTVector{-1, -2, -3}))
        << "slot " << k;
  EXPECT_EQ(dst.mTransform, ScaleAndTranslation(5, 5, 5, 5, 5, 5));
  EXPECT_EQ(dst.mRBTransform, ScaleAndTranslation(6, 6, 6, 6, 6, 6));
  EXPECT_EQ(dst.mRBValid, 1);
  EXPECT_TRUE(IsPoint(dst.mRBPositions[2], {1, 2, 3}));
  for (int i = 0; i < 5; ++i) EXPECT_EQ(dst.mRBPresent[i], i == 2);

  actor.ComputeGlobalPosition(&dst, &src, 225);
  EXPECT_TRUE(IsPoint(dst.mPositions[224], {1, 224, 3}));
}

TEST(HeadLocalPositions, MayReplaceTheirSource) {
  const TestActor actor;
  VFaceMarkerSetState set;
  set.mTransform = ScaleAndTranslation(2, 4, 8, 1, 2, 3);
  for (int k = 0; k < 3; ++k) set.mPositions[k] = {1 + 2.0 * k, 2 + 4.0 * k, 3 + 8.0 * k};
  actor.ComputeGlobalPosition(&set, &set, 3);
  for (int k = 0; k < 3; ++k) EXPECT_TRUE(IsPoint(set.mPositions[k], {1.0 * k, 1.0 * k, 1.0 * k}));
  EXPECT_EQ(set.mTransform, ScaleAndTranslation(2, 4, 8, 1, 2, 3));
}

TEST(HeadLocalPositions, NeedNoMarkers) {
  Random random(9);
  const TestActor actor;
  for (int round = 0; round < 50; ++round) {
    VFaceMarkerSetState src, dst;
    src.mTransform = Rigid(random.PointBetween(-1, 1), random.Between(-3, 3), random.PointBetween(-100, 100));
    const VgeTVector local = random.PointBetween(-100, 100);
    src.mPositions[0] = Apply(src.mTransform, local);
    actor.ComputeGlobalPosition(&dst, &src, 1);
    EXPECT_TRUE(IsPointNear(dst.mPositions[0], local, 1e-12));
  }
}
