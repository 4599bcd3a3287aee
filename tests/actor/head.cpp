#include "mien/actor/actor_face.h"
#include "tests/actor/test_actor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace actor_test;

namespace {

constexpr double no_number = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = std::numbers::pi;

/// sin(10 degrees): a triangle counts only if the sine of its smallest angle is larger.
const double threshold = std::sin(0.17453292519943295);

/// The accuracy of recovered motions, for positions of a few hundred units and triangles of a hundred.
constexpr double recovered = 1e-9;

/// A rigid head: five well distributed markers in millimetres, no three of them near a line.
const std::array<VgeTVector, 5> head = {
    {{-70, 10, 5}, {80, -5, 12}, {5, 90, -30}, {10, -40, 85}, {-25, 60, 70}}};

/// A set with the given positions present in the given slots.
VFaceMarkerSetState HeadSet(const std::vector<VgeTVector>& positions, const std::vector<int>& slots) {
  VFaceMarkerSetState set;
  for (VgeTVector& position : set.mRBPositions) position = {1e6, -1e6, 1e6}; // any value in absent slots
  for (std::size_t r = 0; r < slots.size(); ++r) {
    set.mRBPositions[slots[r]] = positions[r];
    set.mRBPresent[slots[r]] = true;
  }
  return set;
}

std::vector<VgeTVector> FirstOfHead(int count) { return {head.begin(), head.begin() + count}; }

/// The first `count` head markers in the first slots.
VFaceMarkerSetState HeadSet(int count) {
  std::vector<int> slots;
  for (int i = 0; i < count; ++i) slots.push_back(i);
  return HeadSet(FirstOfHead(count), slots);
}

VFaceMarkerSetState Moved(VFaceMarkerSetState set, const VgeAMatrix& motion) {
  for (int i = 0; i < 5; ++i)
    if (set.mRBPresent[i]) set.mRBPositions[i] = Apply(motion, set.mRBPositions[i]);
  return set;
}

VgeAMatrix RandomMotion(Random& random) {
  return Rigid(random.PointBetween(-1, 1), random.Between(-pi, pi), random.PointBetween(-300, 300));
}

void SetUpHead(VActorFace& actor, VFaceMarkerSetState& ref) {
  actor.SetupRBMarkers(&ref);
  actor.SetupRBTPI(&ref);
}

VgeTVector Mean(const std::vector<VgeTVector>& points) {
  VgeTVector sum{0, 0, 0};
  for (const VgeTVector& p : points) sum = Sum(sum, p);
  return Times(1.0 / static_cast<double>(points.size()), sum);
}

// ------------------------------------------------------------------------------------------------------
// A second, simple implementation of the head solve.

struct Triangle {
  VgeAMatrix frame;
  double area, quality;
};

double Dot(const VgeTVector& a, const VgeTVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
VgeTVector Cross(const VgeTVector& a, const VgeTVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Length(const VgeTVector& v) { return std::sqrt(Dot(v, v)); }

Triangle TriangleOf(const VgeTVector& p0, const VgeTVector& p1, const VgeTVector& p2) {
  const VgeTVector e1 = Minus(p1, p0), e2 = Minus(p2, p0), n = Cross(e1, e2);
  const VgeTVector x = Times(1 / Length(e1), e1), z = Times(1 / Length(n), n), y = Cross(z, x);
  const VgeTVector c = Mean({p0, p1, p2});
  double sides[3] = {Length(e1), Length(e2), Length(Minus(p2, p1))};
  std::sort(sides, sides + 3);
  return {{{{x.x, x.y, x.z, 0}, {y.x, y.y, y.z, 0}, {z.x, z.y, z.z, 0}, {c.x, c.y, c.z, 1}}},
          Length(n) / 2,
          Length(n) / (sides[1] * sides[2])};
}

struct Quaternion {
  double w, x, y, z;
};

/// With q = (w, x, y, z), the matrix 4 q q^T has entries that are sums of the rotation's: its longest row is
/// q.
Quaternion QuaternionOf(const VgeAMatrix& a) {
  const auto& m = a.m;
  const double qq[4][4] = {
      {1 + m[0][0] + m[1][1] + m[2][2], m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0]},
      {m[1][2] - m[2][1], 1 + m[0][0] - m[1][1] - m[2][2], m[1][0] + m[0][1], m[2][0] + m[0][2]},
      {m[2][0] - m[0][2], m[1][0] + m[0][1], 1 - m[0][0] + m[1][1] - m[2][2], m[2][1] + m[1][2]},
      {m[0][1] - m[1][0], m[2][0] + m[0][2], m[2][1] + m[1][2], 1 - m[0][0] - m[1][1] + m[2][2]}};
  int best = 0;
  for (int i = 1; i < 4; ++i)
    if (qq[i][i] > qq[best][best]) best = i;
  const double* const row = qq[best];
  const double length = std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2] + row[3] * row[3]);
  return {row[0] / length, row[1] / length, row[2] / length, row[3] / length};
}

VgeAMatrix RotationOf(const Quaternion& q) {
  const double s = 2 / (q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
  return {{{1 - s * (q.y * q.y + q.z * q.z), s * (q.x * q.y + q.w * q.z), s * (q.x * q.z - q.w * q.y), 0},
           {s * (q.x * q.y - q.w * q.z), 1 - s * (q.x * q.x + q.z * q.z), s * (q.y * q.z + q.w * q.x), 0},
           {s * (q.x * q.z + q.w * q.y), s * (q.y * q.z - q.w * q.x), 1 - s * (q.x * q.x + q.y * q.y), 0},
           {0, 0, 0, 1}}};
}

struct HeadMotion {
  int counted = 0;
  VgeAMatrix transform;
  VgeTVector area_weighted_translation{0, 0, 0}; // the translation if it were weighted by area as well
};

HeadMotion PlainHeadSolve(const std::vector<VgeTVector>& reference, const std::vector<VgeTVector>& current) {
  HeadMotion motion;
  const VgeTVector centroid = Mean(reference);
  VgeTVector t{0, 0, 0};
  Quaternion q{0, 0, 0, 0};
  double areas = 0;
  for (std::size_t i = 0; i < reference.size(); ++i)
    for (std::size_t j = i + 1; j < reference.size(); ++j)
      for (std::size_t k = j + 1; k < reference.size(); ++k) {
        const Triangle before = TriangleOf(Minus(reference[i], centroid), Minus(reference[j], centroid),
                                           Minus(reference[k], centroid));
        const Triangle now = TriangleOf(current[i], current[j], current[k]);
        if (!(before.quality > threshold) || !(now.quality > threshold)) continue;
        ++motion.counted;
        const VgeAMatrix f = Composed(now.frame, Inverse(before.frame));
        const VgeTVector translation{f.m[3][0], f.m[3][1], f.m[3][2]};
        t = Sum(t, translation);
        motion.area_weighted_translation =
            Sum(motion.area_weighted_translation, Times(now.area, translation));
        areas += now.area;
        const Quaternion one = QuaternionOf(f);
        const double a = one.w * q.w + one.x * q.x + one.y * q.y + one.z * q.z < 0 ? -now.area : now.area;
        q = {q.w + a * one.w, q.x + a * one.x, q.y + a * one.y, q.z + a * one.z};
      }
  if (motion.counted == 0) return motion;
  motion.transform = RotationOf(q);
  t = Times(1.0 / motion.counted, t);
  motion.transform.m[3][0] = t.x, motion.transform.m[3][1] = t.y, motion.transform.m[3][2] = t.z;
  motion.area_weighted_translation = Times(1 / areas, motion.area_weighted_translation);
  return motion;
}

/// Three records whose offsets form a triangle with sides 1 and 1 and an angle of about 10 degrees between
/// them; the height decides whether it counts.
std::array<VgeTVector, 3> Sliver(double height) {
  return {{{0, 0, 0}, {1, 0, 0}, {std::cos(pi / 18), height, 0}}};
}

} // namespace

// --- SetupRBMarkers

TEST(HeadMarkers, AreRecordedInSlotOrderFromTheirCentroid) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet({{4, 0, 0}, {0, 8, 0}, {0, 0, 16}, {4, 4, 4}}, {0, 1, 3, 4});
  actor.SetupRBMarkers(&ref);
  ASSERT_EQ(actor.mRBMarkers.GetCount(), 4);
  const VgeTVector centroid{2, 3, 5};
  const VgeTVector expected[] = {{4, 0, 0}, {0, 8, 0}, {0, 0, 16}, {4, 4, 4}};
  for (int r = 0; r < 4; ++r) {
    EXPECT_TRUE(IsPoint(actor.mRBMarkers[r]->mCurrent, expected[r])) << "record " << r;
    EXPECT_TRUE(IsPoint(actor.mRBMarkers[r]->mOffset, Minus(expected[r], centroid))) << "record " << r;
  }
  EXPECT_TRUE(IsMatrix(ref.mRBTransform, ScaleAndTranslation(1, 1, 1, 2, 3, 5)));
}

TEST(HeadMarkers, RecordsArePointsWhateverTheSetsFourthComponent) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(3);
  for (VgeTVector& position : ref.mRBPositions) position.w = 7;
  actor.SetupRBMarkers(&ref);
  for (int r = 0; r < 3; ++r) {
    EXPECT_EQ(actor.mRBMarkers[r]->mOffset.w, 1.0);
    EXPECT_EQ(actor.mRBMarkers[r]->mCurrent.w, 1.0);
  }
  actor.UpdateRBMarkersState(&ref);
  for (int r = 0; r < 3; ++r) EXPECT_EQ(actor.mRBMarkers[r]->mCurrent.w, 1.0);
}

TEST(HeadMarkers, TheCentroidIsWrittenOnlyToTheTranslation) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet({{1, 2, 3}, {3, 6, 9}}, {1, 2});
  const VgeAMatrix before = WithScaledAxes(Rigid({1, 2, 3}, 1, {7, 7, 7}), 2, 3, 4);
  ref.mRBTransform = before;
  ref.mTransform = ScaleAndTranslation(2, 2, 2, 2, 2, 2);
  ref.mRBValid = 1;
  actor.SetupRBMarkers(&ref);
  VgeAMatrix expected = before;
  expected.m[3][0] = 2, expected.m[3][1] = 4, expected.m[3][2] = 6;
  EXPECT_TRUE(IsMatrix(ref.mRBTransform, expected));
  EXPECT_EQ(ref.mTransform, ScaleAndTranslation(2, 2, 2, 2, 2, 2));
  EXPECT_EQ(ref.mRBValid, 1);
}

TEST(HeadMarkers, OfNoneAreNoneAndTheirCentroidIsTheOrigin) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  actor.SetupRBMarkers(&ref);
  EXPECT_EQ(actor.mRBMarkers.GetCount(), 5);
  for (bool& present : ref.mRBPresent) present = false;
  actor.SetupRBMarkers(&ref);
  EXPECT_EQ(actor.mRBMarkers.GetCount(), 0);
  EXPECT_TRUE(IsMatrix(ref.mRBTransform, VgeAMatrix()));
}

TEST(HeadMarkers, SetUpAgainReplaceTheFormerOnes) {
  VActorFace actor;
  for (const int count : {5, 2, 4}) { // AddressSanitizer counts the records that are freed
    VFaceMarkerSetState ref = HeadSet(count);
    actor.SetupRBMarkers(&ref);
    EXPECT_EQ(actor.mRBMarkers.GetCount(), count);
  }
}

// --- SetupRBTPI

TEST(HeadTriangles, AreAllTriplesInLexicographicOrder) {
  for (int count = 0; count <= 5; ++count) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(count);
    SetUpHead(actor, ref);
    int t = 0;
    for (int i = 0; i < count; ++i)
      for (int j = i + 1; j < count; ++j)
        for (int k = j + 1; k < count; ++k, ++t) {
          ASSERT_LT(t, actor.mRBTPI.GetCount());
          const VActorFaceRBTriangle& record = *actor.mRBTPI[t];
          const Triangle expected = TriangleOf(actor.mRBMarkers[i]->mOffset, actor.mRBMarkers[j]->mOffset,
                                               actor.mRBMarkers[k]->mOffset);
          EXPECT_TRUE(IsMatrixNear(record.mFrame, expected.frame, 1e-12)) << i << j << k;
          EXPECT_TRUE(IsMatrixNear(record.mInverse, Inverse(expected.frame), 1e-12)) << i << j << k;
          EXPECT_NEAR(record.mWeight, expected.area, 1e-9) << i << j << k; // areas of thousands
          EXPECT_NEAR(record.mQuality, expected.quality, 1e-14) << i << j << k;
        }
    EXPECT_EQ(actor.mRBTPI.GetCount(), t);
    const int triangles[] = {0, 0, 0, 1, 4, 10};
    EXPECT_EQ(t, triangles[count]);
    EXPECT_EQ(ref.mRBValid, count >= 3 ? 1 : 0);
  }
}

TEST(HeadTriangles, OfTooFewMarkersResetTheValidity) {
  for (int count = 0; count < 3; ++count) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(5);
    SetUpHead(actor, ref);
    EXPECT_EQ(ref.mRBValid, 1);
    ref = HeadSet(count);
    ref.mRBValid = 1;
    SetUpHead(actor, ref);
    EXPECT_EQ(actor.mRBTPI.GetCount(), 0);
    EXPECT_EQ(ref.mRBValid, 0);
  }
}

TEST(HeadTriangles, OnALineAreRecordedButNotValid) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet({{0, 0, 0}, {1, 2, 3}, {2, 4, 6}}, {0, 1, 2});
  SetUpHead(actor, ref);
  ASSERT_EQ(actor.mRBTPI.GetCount(), 1);
  EXPECT_LT(actor.mRBTPI[0]->mQuality, 1e-7);
  EXPECT_EQ(ref.mRBValid, 0);
}

TEST(HeadTriangles, OneWellShapedTriangleIsEnough) {
  VActorFace actor;
  VFaceMarkerSetState ref =
      HeadSet({{0, 0, 0}, {1, 0, 0}, {100, 0, 0}, {100, 1, 0}, {50, 0.5, 70}}, {0, 1, 2, 3, 4});
  SetUpHead(actor, ref);
  int well_shaped = 0;
  for (int t = 0; t < 10; ++t) well_shaped += actor.mRBTPI[t]->mQuality > threshold;
  EXPECT_GT(well_shaped, 0);
  EXPECT_LT(well_shaped, 10);
  EXPECT_EQ(ref.mRBValid, 1);
}

TEST(HeadTriangles, CountOnlyAboveTheSineOfTenDegrees) {
  EXPECT_EQ(threshold, 0.17364817766693033);
  // Vary the height of a triangle across the threshold, bit by bit: some are below, at least one is exactly
  // at it, some above.
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(3);
  actor.SetupRBMarkers(&ref);
  int below = 0, on = 0, above = 0;
  double height = threshold;
  for (int i = 0; i < 50; ++i) height = std::nextafter(height, 0);
  for (int i = 0; i < 100; ++i) {
    const std::array<VgeTVector, 3> sliver = Sliver(height);
    for (int r = 0; r < 3; ++r) actor.mRBMarkers[r]->mOffset = sliver[static_cast<std::size_t>(r)];
    actor.SetupRBTPI(&ref);
    const double quality = actor.mRBTPI[0]->mQuality;
    EXPECT_EQ(ref.mRBValid, quality > 0.17364817766693033 ? 1 : 0) << "quality " << quality;
    ++(quality < threshold ? below : quality > threshold ? above : on);
    height = std::nextafter(height, 1);
  }
  EXPECT_GT(below, 0);
  EXPECT_GT(on, 0);
  EXPECT_GT(above, 0);
}

// --- UpdateRBMarkersState

TEST(HeadMarkersOfAFrame, AreMatchedByRankNotBySlot) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(FirstOfHead(3), {0, 2, 4});
  actor.SetupRBMarkers(&ref);
  const VFaceMarkerSetState frame = HeadSet({{1, 1, 1}, {2, 2, 2}, {3, 3, 3}}, {1, 2, 3});
  actor.UpdateRBMarkersState(&frame);
  for (int r = 0; r < 3; ++r)
    EXPECT_TRUE(IsPoint(actor.mRBMarkers[r]->mCurrent, {r + 1.0, r + 1.0, r + 1.0}));
}

TEST(HeadMarkersOfAFrame, ReplaceOnlyThePositions) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(4);
  SetUpHead(actor, ref);
  std::vector<VgeTVector> offsets;
  for (int r = 0; r < 4; ++r) offsets.push_back(actor.mRBMarkers[r]->mOffset);
  const VgeAMatrix frame_of_first = actor.mRBTPI[0]->mFrame;
  const VFaceMarkerSetState frame = Moved(ref, Rigid({1, 2, 3}, 1, {4, 5, 6}));
  actor.UpdateRBMarkersState(&frame);
  ASSERT_EQ(actor.mRBMarkers.GetCount(), 4);
  for (int r = 0; r < 4; ++r) {
    EXPECT_EQ(actor.mRBMarkers[r]->mOffset, offsets[static_cast<std::size_t>(r)]);
    EXPECT_TRUE(IsPoint(actor.mRBMarkers[r]->mCurrent, frame.mRBPositions[r]));
  }
  EXPECT_EQ(actor.mRBTPI[0]->mFrame, frame_of_first);
}

TEST(HeadMarkersOfAFrame, ThatAreMissingKeepTheirLastPosition) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet({{1, 1, 1}, {2, 2, 2}, {3, 3, 3}}, {0, 1, 2});
  actor.SetupRBMarkers(&ref);
  const VFaceMarkerSetState frame =
      HeadSet({{8, 8, 8}}, {2}); // the first present slot goes to the first record
  actor.UpdateRBMarkersState(&frame);
  EXPECT_TRUE(IsPoint(actor.mRBMarkers[0]->mCurrent, {8, 8, 8}));
  EXPECT_TRUE(IsPoint(actor.mRBMarkers[1]->mCurrent, {2, 2, 2}));
  EXPECT_TRUE(IsPoint(actor.mRBMarkers[2]->mCurrent, {3, 3, 3}));
}

TEST(HeadMarkersOfAFrame, AreNotStoredWithoutSetUp) {
  VActorFace actor;
  VFaceMarkerSetState frame = HeadSet(5);
  actor.UpdateRBMarkersState(&frame);
  EXPECT_EQ(actor.mRBMarkers.GetCount(), 0);
}

// --- SolveRB

TEST(HeadMotionSolve, RecoversRigidMotionsOfThreeToFiveMarkers) {
  Random random(1);
  for (int round = 0; round < 1000; ++round) {
    const int count = 3 + round % 3;
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(count);
    SetUpHead(actor, ref);
    const VgeAMatrix motion = RandomMotion(random);
    VFaceMarkerSetState frame = Moved(ref, motion);
    frame.mRBValid = 0;
    frame.mRBTransform = ScaleAndTranslation(9, 9, 9, 9, 9, 9);
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    EXPECT_EQ(frame.mRBValid, 1);
    // It moves the offsets, which are relative to the centroid.
    const VgeAMatrix from_centroid = ref.mRBTransform;
    EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, Composed(motion, from_centroid), recovered))
        << "round " << round;
  }
}

TEST(HeadMotionSolve, RecoversRotationsBy180DegreesAboutAnyAxis) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  for (int x = -1; x <= 1; ++x)
    for (int y = -1; y <= 1; ++y)
      for (int z = -1; z <= 1; ++z) {
        if (x == 0 && y == 0 && z == 0) continue;
        for (const double turn : {pi, std::nextafter(pi, 0), pi - 1e-8, pi + 1e-8}) {
          const VgeAMatrix motion = Rigid({1.0 * x, 1.0 * y, 1.0 * z}, turn, {10, 20, 30});
          VFaceMarkerSetState frame = Moved(ref, motion);
          actor.UpdateRBMarkersState(&frame);
          actor.SolveRB(&frame);
          EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, Composed(motion, ref.mRBTransform), recovered))
              << "axis " << x << " " << y << " " << z << ", turn " << turn;
        }
      }
}

// Near 180 degrees, the triangles of a slightly deformed head give quaternions of either sign for nearly the
// same rotation. Their plain sum would cancel; with equal signs they average to the motion.
TEST(HeadMotionSolve, QuaternionsOfOppositeSignDoNotCancel) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  Random random(2);
  for (int round = 0; round < 2000; ++round) {
    // About an axis such as between x and -y, where the two largest components differ only in sign.
    const VgeTVector axes[] = {{1, -1, 0.1}, {-1, 0.2, 1}, {0.1, 1, -1}, {1, -1, 1}};
    const VgeAMatrix motion = Rigid(axes[round % 4], pi + random.Between(-1e-3, 1e-3), {10, 20, 30});
    VFaceMarkerSetState frame = Moved(ref, motion);
    for (VgeTVector& position : frame.mRBPositions) position = Sum(position, random.PointBetween(-0.5, 0.5));
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    const VgeAMatrix expected = Composed(motion, ref.mRBTransform);
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) // half a millimetre on a head of a hundred
        ASSERT_NEAR(frame.mRBTransform.m[column][row], expected.m[column][row], 0.05) << "round " << round;
  }
}

TEST(HeadMotionSolve, OfADeformedHeadAgreesWithASimpleImplementation) {
  Random random(3);
  double largest_difference = 0;
  int partly_counted = 0;
  for (int round = 0; round < 1000; ++round) {
    const int count = 3 + round % 3;
    const std::vector<VgeTVector> reference = FirstOfHead(count);
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(count);
    SetUpHead(actor, ref);
    const VgeAMatrix motion = RandomMotion(random);
    const double noise = round % 2 ? 3 : 60; // sliding skin; or an almost different head, with thin triangles
    std::vector<VgeTVector> current;
    std::vector<int> slots;
    for (const VgeTVector& position : reference) {
      slots.push_back(static_cast<int>(current.size()));
      current.push_back(Apply(motion, Sum(position, random.PointBetween(-noise, noise))));
    }
    VFaceMarkerSetState frame = HeadSet(current, slots);
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    const HeadMotion expected = PlainHeadSolve(reference, current);
    const int triangles[] = {1, 4, 10};
    if (expected.counted > 0 && expected.counted < triangles[count - 3]) ++partly_counted;
    EXPECT_EQ(frame.mRBValid, expected.counted > 0 ? 1 : 0);
    EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, expected.transform, recovered)) << "round " << round;
    const VgeTVector t{expected.transform.m[3][0], expected.transform.m[3][1], expected.transform.m[3][2]};
    if (expected.counted > 0)
      largest_difference = std::max(largest_difference, Length(Minus(t, expected.area_weighted_translation)));
  }
  EXPECT_GT(partly_counted, 50);
  // The areas weight only the rotations: with these heads the test would fail if they weighted the
  // translations.
  EXPECT_GT(largest_difference, 1.0);
}

TEST(HeadMotionSolve, GivesAProperRotation) {
  Random random(4);
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  for (int round = 0; round < 200; ++round) {
    VFaceMarkerSetState frame = Moved(ref, RandomMotion(random));
    for (VgeTVector& position : frame.mRBPositions) position = Sum(position, random.PointBetween(-20, 20));
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    ASSERT_EQ(frame.mRBValid, 1);
    VgeAMatrix rotation = frame.mRBTransform;
    for (int row = 0; row < 3; ++row) rotation.m[3][row] = 0;
    VgeAMatrix transposed;
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) transposed.m[column][row] = rotation.m[row][column];
    EXPECT_TRUE(IsMatrixNear(Composed(rotation, transposed), VgeAMatrix(), 1e-14)); // entries of at most 1
    EXPECT_TRUE(IsMatrixNear(Inverse(rotation), transposed, 1e-14));                // not a mirror image
    const VgeTVector x{rotation.m[0][0], rotation.m[0][1], rotation.m[0][2]};
    const VgeTVector y{rotation.m[1][0], rotation.m[1][1], rotation.m[1][2]};
    EXPECT_TRUE(IsPointNear(Cross(x, y), {rotation.m[2][0], rotation.m[2][1], rotation.m[2][2]}, 1e-14));
    for (int column = 0; column < 4; ++column)
      EXPECT_EQ(frame.mRBTransform.m[column][3], column == 3 ? 1.0 : 0.0);
  }
}

TEST(HeadMotionSolve, WithoutTrianglesIsTheIdentity) {
  for (int count = 0; count < 3; ++count) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(count);
    SetUpHead(actor, ref);
    VFaceMarkerSetState frame = Moved(ref, Rigid({1, 2, 3}, 1, {4, 5, 6}));
    frame.mRBValid = 1;
    frame.mRBTransform = ScaleAndTranslation(9, 9, 9, 9, 9, 9);
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    EXPECT_EQ(frame.mRBValid, 0);
    EXPECT_TRUE(IsMatrix(frame.mRBTransform, VgeAMatrix()));
  }
}

TEST(HeadMotionSolve, WithoutSetUpIsTheIdentity) {
  const VActorFace actor;
  VFaceMarkerSetState frame = HeadSet(5);
  frame.mRBValid = 1;
  frame.mRBTransform = ScaleAndTranslation(9, 9, 9, 9, 9, 9);
  actor.SolveRB(&frame);
  EXPECT_EQ(frame.mRBValid, 0);
  EXPECT_TRUE(IsMatrix(frame.mRBTransform, VgeAMatrix()));
}

TEST(HeadMotionSolve, AThinTriangleAtSetUpNeverCounts) {
  // The fourth marker is nearly on the first: its triangles with it are thin. When it comes off, the
  // triangles without it that counted at set-up still determine the motion; those with it, although well
  // shaped now, must not count.
  const std::vector<VgeTVector> reference = {{-70, 0, 0}, {70, 0, 0}, {0, 90, 0}, {-70, 1, 0}};
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(reference, {0, 1, 2, 3});
  SetUpHead(actor, ref);
  for (const int sliver : {1, 2})
    EXPECT_LT(actor.mRBTPI[sliver]->mQuality, threshold); // (0, 1, 3), (0, 2, 3)
  VFaceMarkerSetState frame = ref;
  frame.mRBPositions[3] = {-70, 1, 100};
  actor.UpdateRBMarkersState(&frame);
  actor.SolveRB(&frame);
  const HeadMotion expected = PlainHeadSolve(reference, {{-70, 0, 0}, {70, 0, 0}, {0, 90, 0}, {-70, 1, 100}});
  EXPECT_EQ(expected.counted, 2);
  EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, expected.transform, recovered));
}

TEST(HeadMotionSolve, AThinTriangleInTheFrameDoesNotCount) {
  // Marker 3 slides onto the line of markers 0 and 1; with 2 it still forms triangles.
  std::vector<VgeTVector> current = FirstOfHead(4);
  current[3] = Times(0.5, Sum(current[0], current[1]));
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(4);
  SetUpHead(actor, ref);
  for (int t = 0; t < 4; ++t) EXPECT_GT(actor.mRBTPI[t]->mQuality, threshold);
  VFaceMarkerSetState frame = HeadSet(current, {0, 1, 2, 3});
  actor.UpdateRBMarkersState(&frame);
  actor.SolveRB(&frame);
  const HeadMotion expected = PlainHeadSolve(FirstOfHead(4), current);
  EXPECT_EQ(expected.counted, 3);
  EXPECT_EQ(frame.mRBValid, 1);
  EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, expected.transform, recovered));
}

TEST(HeadMotionSolve, AFrameOfThinTrianglesIsTheIdentity) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  VFaceMarkerSetState frame =
      HeadSet({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}}, {0, 1, 2, 3, 4});
  actor.UpdateRBMarkersState(&frame);
  actor.SolveRB(&frame);
  EXPECT_EQ(frame.mRBValid, 0);
  EXPECT_TRUE(IsMatrix(frame.mRBTransform, VgeAMatrix()));
}

TEST(HeadMotionSolve, TheStoredQualityMustExceedTheThreshold) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(3);
  SetUpHead(actor, ref);
  VFaceMarkerSetState frame = ref;
  const double on = 0.17364817766693033;
  for (const double quality : {0.0, std::nextafter(on, 0), on, no_number}) {
    actor.mRBTPI[0]->mQuality = quality;
    actor.SolveRB(&frame);
    EXPECT_EQ(frame.mRBValid, 0) << "quality " << quality;
  }
  actor.mRBTPI[0]->mQuality = std::nextafter(on, 1);
  actor.SolveRB(&frame);
  EXPECT_EQ(frame.mRBValid, 1);
}

TEST(HeadMotionSolve, TheFramesQualityMustExceedTheThreshold) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(3);
  SetUpHead(actor, ref);
  int on = 0;
  double height = threshold;
  for (int i = 0; i < 50; ++i) height = std::nextafter(height, 0);
  for (int i = 0; i < 100; ++i) {
    const std::array<VgeTVector, 3> sliver = Sliver(height);
    for (int r = 0; r < 3; ++r) actor.mRBMarkers[r]->mCurrent = sliver[static_cast<std::size_t>(r)];
    VgeAMatrix ignored;
    double area = 0, quality = 0;
    ThreePointsTransform(ignored, area, quality, sliver[0], sliver[1], sliver[2]);
    VFaceMarkerSetState frame;
    actor.SolveRB(&frame);
    EXPECT_EQ(frame.mRBValid, quality > 0.17364817766693033 ? 1 : 0) << "quality " << quality;
    on += quality == threshold;
    height = std::nextafter(height, 1);
  }
  EXPECT_GT(on, 0);
}

TEST(HeadMotionSolve, UsesTheFramesAreasNotTheReferences) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  VFaceMarkerSetState frame = Moved(ref, Rigid({1, 2, 3}, 1, {4, 5, 6}));
  frame.mRBPositions[1].x += 20;
  actor.UpdateRBMarkersState(&frame);
  actor.SolveRB(&frame);
  for (int t = 0; t < 10; ++t) actor.mRBTPI[t]->mWeight = t == 0 ? 1e9 : 0;
  VFaceMarkerSetState again = frame;
  again.mRBTransform = VgeAMatrix();
  actor.SolveRB(&again);
  EXPECT_EQ(again.mRBTransform, frame.mRBTransform);
}

TEST(HeadMotionSolve, UsesTheRecordsNotTheFrame) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  VFaceMarkerSetState frame; // without present markers
  actor.SolveRB(&frame);
  EXPECT_EQ(frame.mRBValid, 1);
  EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, ref.mRBTransform, recovered));
  EXPECT_EQ(frame.mTransform, VgeAMatrix());
}

TEST(HeadMotionSolve, AMissingMarkerLeavesTheOthersToSolve) {
  Random random(6);
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  SetUpHead(actor, ref);
  for (int lost = 0; lost < 5; ++lost) {
    const VgeAMatrix motion = RandomMotion(random);
    VFaceMarkerSetState frame = Moved(ref, motion);
    frame.mRBPositions[lost] = {no_number, 1, 2};
    actor.UpdateRBMarkersState(&frame);
    actor.SolveRB(&frame);
    EXPECT_EQ(frame.mRBValid, 1);
    EXPECT_TRUE(IsMatrixNear(frame.mRBTransform, Composed(motion, ref.mRBTransform), recovered))
        << "lost " << lost;
  }
}

// --- ReferenceFromRBMarker

TEST(HeadFrame, OfTheReferenceIsItsOwn) {
  Random random(7);
  for (int round = 0; round < 100; ++round) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(3 + round % 3);
    ref.mTransform = RandomMotion(random);
    SetUpHead(actor, ref);
    VFaceMarkerSetState frame = ref;
    frame.mTransform = VgeAMatrix();
    actor.ReferenceFromRBMarker(&frame, &ref);
    EXPECT_EQ(frame.mRBValid, 1);
    EXPECT_TRUE(IsMatrixNear(frame.mTransform, ref.mTransform, recovered)) << "round " << round;
  }
}

TEST(HeadFrame, MovesWithTheHead) {
  Random random(8);
  for (int round = 0; round < 1000; ++round) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(3 + round % 3);
    // A reference frame with its own position and a scale per axis.
    ref.mTransform = WithScaledAxes(RandomMotion(random), 1, round % 2 ? 2 : 1, round % 2 ? 0.5 : 1);
    SetUpHead(actor, ref);
    const VgeAMatrix motion = RandomMotion(random);
    VFaceMarkerSetState frame = Moved(ref, motion);
    frame.mTransform = ScaleAndTranslation(9, 9, 9, 9, 9, 9); // its former value does not matter
    actor.ReferenceFromRBMarker(&frame, &ref);
    EXPECT_TRUE(IsMatrixNear(frame.mTransform, Composed(motion, ref.mTransform), recovered))
        << "round " << round;
  }
}

TEST(HeadFrame, IsTheReferenceFrameRelativeToTheReferencesHeadFrame) {
  Random random(9);
  for (int round = 0; round < 200; ++round) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(5);
    ref.mTransform = RandomMotion(random);
    // Set-up writes only the translation: rotated and scaled axes of the reference's head frame are kept, and
    // are inverted.
    ref.mRBTransform = WithScaledAxes(RandomMotion(random), 2, 3, 0.5);
    SetUpHead(actor, ref);
    VFaceMarkerSetState frame = Moved(ref, RandomMotion(random));
    actor.ReferenceFromRBMarker(&frame, &ref);
    const VgeAMatrix relative = Composed(Inverse(ref.mRBTransform), ref.mTransform);
    EXPECT_TRUE(IsMatrixNear(frame.mTransform, Composed(frame.mRBTransform, relative), recovered));
  }
}

TEST(HeadFrame, LeavesTheReferenceUnchanged) {
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(5);
  ref.mTransform = Rigid({1, 2, 3}, 1, {4, 5, 6});
  SetUpHead(actor, ref);
  const VFaceMarkerSetState before = ref;
  VFaceMarkerSetState frame = Moved(ref, Rigid({3, 2, 1}, 2, {1, 2, 3}));
  const VFaceMarkerSetState frame_before = frame;
  actor.ReferenceFromRBMarker(&frame, &ref);
  EXPECT_EQ(ref.mTransform, before.mTransform);
  EXPECT_EQ(ref.mRBTransform, before.mRBTransform);
  EXPECT_EQ(ref.mRBValid, before.mRBValid);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(ref.mRBPositions[i], before.mRBPositions[i]);
    EXPECT_EQ(frame.mRBPositions[i], frame_before.mRBPositions[i]);
    EXPECT_EQ(frame.mRBPresent[i], frame_before.mRBPresent[i]);
  }
}

TEST(HeadFrame, WithoutTrianglesIsTheReferenceFrameRelativeToItsHeadFrame) {
  for (int count = 0; count < 3; ++count) {
    VActorFace actor;
    VFaceMarkerSetState ref = HeadSet(count);
    ref.mTransform = Rigid({1, 2, 3}, 1, {4, 5, 6});
    SetUpHead(actor, ref);
    VFaceMarkerSetState frame = Moved(ref, Rigid({3, 2, 1}, 2, {1, 2, 3}));
    actor.ReferenceFromRBMarker(&frame, &ref);
    EXPECT_EQ(frame.mRBValid, 0);
    EXPECT_TRUE(IsMatrix(frame.mRBTransform, VgeAMatrix()));
    VgeAMatrix expected = ref.mTransform; // minus the centroid
    for (int row = 0; row < 3; ++row) expected.m[3][row] -= ref.mRBTransform.m[3][row];
    EXPECT_TRUE(IsMatrixNear(frame.mTransform, expected, 1e-13));
  }
}

// One set as frame and reference: the solve overwrites its head frame before it is inverted, so its own
// frame is unchanged wherever the head is.
TEST(HeadFrame, OfASetThatIsItsOwnReferenceIsUnchanged) {
  Random random(10);
  for (int round = 0; round < 100; ++round) {
    VActorFace actor;
    VFaceMarkerSetState set = HeadSet(5);
    set.mTransform = RandomMotion(random);
    SetUpHead(actor, set);
    const VgeAMatrix own = set.mTransform, centroid = set.mRBTransform, motion = RandomMotion(random);
    set = Moved(set, motion);
    actor.ReferenceFromRBMarker(&set, &set);
    EXPECT_EQ(set.mRBValid, 1);
    EXPECT_TRUE(IsMatrixNear(set.mRBTransform, Composed(motion, centroid), recovered)) << "round " << round;
    EXPECT_TRUE(IsMatrixNear(set.mTransform, own, recovered)) << "round " << round;
  }
}

TEST(HeadFrame, SlotsMayChangeIfTheirOrderStays) {
  const VgeAMatrix motion = Rigid({1, 2, 3}, 1, {4, 5, 6});
  VActorFace actor;
  VFaceMarkerSetState ref = HeadSet(FirstOfHead(3), {0, 2, 4});
  SetUpHead(actor, ref);
  std::vector<VgeTVector> moved;
  for (const VgeTVector& position : FirstOfHead(3)) moved.push_back(Apply(motion, position));
  VFaceMarkerSetState frame = HeadSet(moved, {1, 2, 3});
  actor.ReferenceFromRBMarker(&frame, &ref);
  EXPECT_TRUE(IsMatrixNear(frame.mTransform, motion, recovered));
}

TEST(HeadFrame, RemovesTheHeadsMotionFromTheMarkerSolve) {
  TestActor actor;
  VFaceMarkerSetState ref = HeadSet(4);
  VActorFacePartMarker* const entry = actor.Place(LeftCheek, 0, ref, {30, 10, 90});
  entry->mWeights[0] = 1;
  actor.Volume(LeftCheek) = VgeAMatrix();
  actor.SetupMarkerLocalFromGlobalPosition(&ref);
  SetUpHead(actor, ref);
  VFaceState rest;
  actor.Actor2FaceSolve(&rest, &ref);

  const VgeAMatrix motion = Rigid({1, -2, 0.5}, 2.5, {100, -200, 300});
  VFaceMarkerSetState frame = Moved(ref, motion);
  frame.mPositions[0] = Apply(motion, {31, 12, 87}); // moved with the head, and by (1, 2, -3) on it
  actor.ReferenceFromRBMarker(&frame, &ref);
  VFaceState out;
  actor.Actor2FaceSolve(&out, &frame);
  EXPECT_TRUE(IsPointNear(out.mParts[LeftCheek].mPoints[0],
                          Sum(rest.mParts[LeftCheek].mPoints[0], {1, 2, -3}), recovered));
}
