#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

namespace {

using namespace tests;

constexpr double kReciprocalOfNothing = 10000000.0; // the reciprocal of a sum that is not above 0

const VFaceTestAccess& Measures() {
  static const VFace face;
  static const VFaceTestAccess access{face};
  return access;
}

// The corners of a square of the given side, in order, in slots 0 to 3; every segment lies along an axis.
VFacePartState Square(double side) {
  VFacePartState pose;
  SetXyz(pose.mPoints[1], side, 0, 0);
  SetXyz(pose.mPoints[2], side, side, 0);
  SetXyz(pose.mPoints[3], 0, side, 0);
  return pose;
}

VFacePartState Moved(VFacePartState pose, double x, double y, double z) {
  for (VgeTVector& point : pose.mPoints) SetXyz(point, point.x + x, point.y + y, point.z + z);
  return pose;
}

double Distance(const VgeTVector& a, const VgeTVector& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return std::sqrt(x * x + y * y + z * z);
}

// One plus the dot product of the directions of two segments, each normalised by multiplying with 1 /
// length.
double Agreement(const VgeTVector& b0, const VgeTVector& b1, const VgeTVector& a0, const VgeTVector& a1) {
  double u[3] = {b1.x - b0.x, b1.y - b0.y, b1.z - b0.z}, v[3] = {a1.x - a0.x, a1.y - a0.y, a1.z - a0.z};
  const double u_length = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  const double v_length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  for (double& c : u) c = u_length == 0 ? 0 : c * (1.0 / u_length);
  for (double& c : v) c = v_length == 0 ? 0 : c * (1.0 / v_length);
  return 1.0 + (u[0] * v[0] + u[1] * v[1] + u[2] * v[2]);
}

double BaseTimesHeight(const VgeTVector& p, const VgeTVector& q, const VgeTVector& r) {
  const double ex = p.x - q.x, ey = p.y - q.y, ez = p.z - q.z;
  const double length = std::sqrt(ex * ex + ey * ey + ez * ez);
  const double t = ((r.x - q.x) * ex + (r.y - q.y) * ey + (r.z - q.z) * ez) / length;
  const VgeTVector foot{q.x + t * ex, q.y + t * ey, q.z + t * ez, 1};
  return Distance(r, foot) * length * 0.5;
}

// --- Agreement of directions.

TEST(AngleMeasure, APoseAndItselfGiveTwoPerSegment) {
  const VFacePartState square = Square(3);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, square, 4, false), 8);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, square, 4, true), 16);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, square, 2, false), 2);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, square, 2, true),
            4); // the chord is the segment once more
}

TEST(AngleMeasure, FewerThanTwoPointsGiveOne) {
  Numbers numbers(31);
  const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
  for (const int n : {0, 1})
    for (const bool closed : {false, true}) EXPECT_EQ(Measures().Face2TemplateAIAngle(a, b, n, closed), 1);
}

TEST(AngleMeasure, SegmentWithoutLengthInEitherPoseIsAFactorOfOne) {
  const VFacePartState square = Square(1);
  VFacePartState folded = square; // slots 1 and 2 coincide; the two other segments stay along their axes
  folded.mPoints[2] = folded.mPoints[1];
  folded.mPoints[3] = {0, 0, 0, 1};
  EXPECT_EQ(Measures().Face2TemplateAIAngle(folded, square, 4, false), 2 * 1 * 2);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, folded, 4, false), 2 * 1 * 2);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(folded, folded, 4, false), 2 * 1 * 2);
  // The closing chord of `folded` has no length either.
  EXPECT_EQ(Measures().Face2TemplateAIAngle(folded, square, 4, true), 2 * 1 * 2 * 1);
}

TEST(AngleMeasure, PerpendicularSegmentsAreAFactorOfOneAndOppositeOnesZero) {
  VFacePartState along_x, along_y, against_x;
  SetXyz(along_x.mPoints[1], 2, 0, 0);
  SetXyz(along_y.mPoints[1], 0, 5, 0);
  SetXyz(against_x.mPoints[1], -7, 0, 0);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(along_x, along_y, 2, false), 1);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(along_x, against_x, 2, false), 0);
}

TEST(AngleMeasure, ClosingChordRunsFromTheFirstToTheLastPoint) {
  const VFacePartState square = Square(1);
  VFacePartState bent = square; // the last corner moves below the first: segment 2-3 and the chord both turn
  SetXyz(bent.mPoints[3], 0, -1, 0);
  const double open = Measures().Face2TemplateAIAngle(square, bent, 4, false);
  EXPECT_GT(open, 0);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(square, bent, 4, true), 0); // chords (0, 1, 0) and (0, -1, 0)
}

TEST(AngleMeasure, FarPointsBeyondTheCountAreNotRead) {
  VFacePartState a = Square(1), b = Square(1);
  for (int slot = 4; slot < 7; ++slot)
    SetXyz(a.mPoints[slot], kNaN, kNaN, kNaN), b.mPoints[slot] = a.mPoints[slot];
  EXPECT_EQ(Measures().Face2TemplateAIAngle(a, b, 4, true), 16);
}

// The unit vectors are computed with one reciprocal and products: 49 * (1 / 49) is below 1, and so is the
// measure.
TEST(AngleMeasure, UnitVectorsAreMadeByMultiplyingWithTheReciprocal) {
  VFacePartState pose;
  SetXyz(pose.mPoints[1], 49, 0, 0);
  const double unit = 49 * (1.0 / 49);
  ASSERT_LT(unit, 1);
  EXPECT_EQ(Measures().Face2TemplateAIAngle(pose, pose, 2, false), 1.0 + unit * unit);
}

TEST(AngleMeasure, IsTheProductOfTheAgreementsInSlotOrder) {
  Numbers numbers(32);
  for (int round = 0; round < 200; ++round) {
    const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
    const int n = 2 + round % 6;
    double product = 1;
    for (int i = 0; i + 1 < n; ++i)
      product *= Agreement(b.mPoints[i], b.mPoints[i + 1], a.mPoints[i], a.mPoints[i + 1]);
    EXPECT_EQ(Measures().Face2TemplateAIAngle(a, b, n, false), product);
    product *= Agreement(b.mPoints[0], b.mPoints[n - 1], a.mPoints[0], a.mPoints[n - 1]);
    EXPECT_EQ(Measures().Face2TemplateAIAngle(a, b, n, true), product);
  }
}

TEST(AngleMeasure, IsSymmetricAndIgnoresPositionAndSize) {
  Numbers numbers(33);
  for (int round = 0; round < 50; ++round) {
    const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
    VFacePartState bigger = b;
    for (VgeTVector& point : bigger.mPoints) SetXyz(point, 4 * point.x, 4 * point.y, 4 * point.z);
    const double measure = Measures().Face2TemplateAIAngle(a, b, 6, true);
    EXPECT_EQ(Measures().Face2TemplateAIAngle(b, a, 6, true), measure);
    EXPECT_EQ(Measures().Face2TemplateAIAngle(a, bigger, 6, true), measure); // a power of two scales exactly
    // Moved coordinates are rounded to an ulp of 64, 1.4e-14, over segments not much shorter than 1; factors
    // below 2 multiply that by up to 64.
    EXPECT_NEAR(Measures().Face2TemplateAIAngle(a, Moved(b, 50, -30, 20), 6, true), measure, 1e-10);
  }
}

TEST(AngleMeasure, ANaNCoordinateGivesNaN) {
  VFacePartState broken = Square(1);
  broken.mPoints[2].y = kNaN;
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateAIAngle(broken, Square(1), 4, false)));
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateAIAngle(Square(1), broken, 4, false)));
}

// --- Summed distances.

TEST(DistanceMeasure, SumsTheDistancesOfTheFirstPoints) {
  VFacePartState a, b;
  SetXyz(a.mPoints[0], 3, 4, 0);  // 5
  SetXyz(b.mPoints[1], 1, 2, -2); // 3
  SetXyz(a.mPoints[2], 0, 0, 7);  // 7, not counted with n = 2
  EXPECT_EQ(Measures().Face2TemplateAIDistance(a, b, 2, false), 8);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(b, a, 2, false), 8);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(a, b, 3, false), 15);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(a, b, 2, true), 0.125);
}

TEST(DistanceMeasure, SumsInSlotOrder) {
  Numbers numbers(34);
  for (int round = 0; round < 100; ++round) {
    const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
    double sum = 0;
    for (int i = 0; i < 7; ++i) sum += Distance(a.mPoints[i], b.mPoints[i]);
    EXPECT_EQ(Measures().Face2TemplateAIDistance(a, b, 7, false), sum);
    EXPECT_EQ(Measures().Face2TemplateAIDistance(a, b, 7, true), 1.0 / sum);
  }
}

TEST(DistanceMeasure, PoseIsAtNoDistanceFromItself) {
  const VFacePartState square = Square(2);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(square, square, 4, false), 0);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(square, square, 4, true), kReciprocalOfNothing);
}

// Without points there is no reciprocal: 0, not the fallback.
TEST(DistanceMeasure, NoPointsAreAtNoDistanceInEitherForm) {
  EXPECT_EQ(Measures().Face2TemplateAIDistance(Square(1), Square(2), 0, false), 0);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(Square(1), Square(2), 0, true), 0);
}

TEST(DistanceMeasure, SumThatIsNotANumberFallsBackOnlyInTheReciprocal) {
  VFacePartState broken;
  broken.mPoints[1].z = kNaN;
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateAIDistance(broken, Square(1), 2, false)));
  EXPECT_EQ(Measures().Face2TemplateAIDistance(broken, Square(1), 2, true), kReciprocalOfNothing);
}

TEST(DistanceMeasure, InfiniteDistanceHasReciprocalZero) {
  VFacePartState far;
  far.mPoints[1].x = -kInfinity;
  EXPECT_EQ(Measures().Face2TemplateAIDistance(far, Square(1), 2, false), kInfinity);
  EXPECT_EQ(Measures().Face2TemplateAIDistance(far, Square(1), 2, true), 0);
}

TEST(DistanceMeasure, FourthComponentIsNotRead) {
  VFacePartState other_w = Square(1);
  for (VgeTVector& point : other_w.mPoints) point.w = 50;
  EXPECT_EQ(Measures().Face2TemplateAIDistance(other_w, Square(1), 7, false), 0);
}

// --- Summed distances along an axis.

TEST(AxisMeasure, SumsTheAbsoluteDotProductsFromTheOrigin) {
  VFacePartState pose;
  SetXyz(pose.mPoints[0], 1, 2, 3);
  SetXyz(pose.mPoints[1], 1, -5, 3);
  SetXyz(pose.mPoints[2], 9, 9, 9);
  const VgeTVector origin{1, 1, 1, 1}, up{0, 1, 0, 0};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, up, 2, false), 1 + 6);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, up, 3, false), 1 + 6 + 8);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, up, 3, true), 1.0 / 15);
}

TEST(AxisMeasure, EveryComponentOfTheAxisCounts) {
  VFacePartState pose;
  SetXyz(pose.mPoints[0], 2, 3, 5);
  const VgeTVector origin{0, 0, 0, 1}, axis{100, 10, 1, 0};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, axis, 1, false), 235);
}

// The axis is not normalised: its length scales the measure.
TEST(AxisMeasure, AxisIsNotNormalised) {
  Numbers numbers(35);
  const VFacePartState pose = numbers.PartPose(5);
  const VgeTVector origin{1, 2, 3, 1}, unit{0, 0, 1, 0}, twice{0, 0, 2, 0};
  const double once = Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, unit, 7, false);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, twice, 7, false), 2 * once);
}

TEST(AxisMeasure, FallsBackForASumThatIsNotAboveZero) {
  VFacePartState pose;
  const VgeTVector origin{0, 0, 0, 1}, axis{1, 0, 0, 0};
  SetXyz(pose.mPoints[0], 0, 4, 4); // nothing along x
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, axis, 1, true), kReciprocalOfNothing);
  pose.mPoints[0].x = kNaN;
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, axis, 1, true), kReciprocalOfNothing);
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateAIDistanceAlongAxis(pose, origin, axis, 1, false)));
}

TEST(AxisMeasure, NoPointsGiveZeroInEitherForm) {
  const VgeTVector origin{9, 9, 9, 1}, axis{1, 1, 1, 0};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(Square(1), origin, axis, 0, false), 0);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceAlongAxis(Square(1), origin, axis, 0, true), 0);
}

// --- Summed distances over chosen points.

TEST(ExclusiveDistanceMeasure, CountsOnlyTheFlaggedPoints) {
  VFacePartState a, b;
  SetXyz(a.mPoints[0], 3, 4, 0);    // 5
  SetXyz(a.mPoints[1], kNaN, 0, 0); // not flagged: not read
  SetXyz(b.mPoints[2], 0, 0, -2);   // 2
  const bool use[3] = {true, false, true};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 3, use, false), 7);
}

// The sum of the points' reciprocals, unlike the plain distance, which has the reciprocal of the sum.
TEST(ExclusiveDistanceMeasure, InverseSumsTheReciprocals) {
  VFacePartState a, b;
  SetXyz(a.mPoints[0], 4, 0, 0);
  SetXyz(b.mPoints[1], 0, 2, 0);
  const bool use[2] = {true, true};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 2, use, true), 0.25 + 0.5);
}

TEST(ExclusiveDistanceMeasure, SumsInSlotOrder) {
  Numbers numbers(36);
  const bool use[7] = {true, true, false, true, true, true, true};
  for (int round = 0; round < 100; ++round) {
    const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
    double sum = 0, sum_of_reciprocals = 0;
    for (int i = 0; i < 7; ++i) {
      if (!use[i]) continue;
      sum += Distance(a.mPoints[i], b.mPoints[i]);
      sum_of_reciprocals += 1.0 / Distance(a.mPoints[i], b.mPoints[i]);
    }
    EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 7, use, false), sum);
    EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 7, use, true), sum_of_reciprocals);
  }
}

// A coincident point counts as the largest double here, not as ten million as in the other measures: it
// outweighs everything.
TEST(ExclusiveDistanceMeasure, CoincidentPointCountsAsTheLargestDouble) {
  VFacePartState a, b;
  SetXyz(a.mPoints[1], 4, 0, 0);
  const bool first[2] = {true, false}, both[2] = {true, true};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 2, first, true), DBL_MAX);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 2, both, true), DBL_MAX + 0.25);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, a, 2, both, true), kInfinity); // twice the largest
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, a, 2, both, false), 0);
}

TEST(ExclusiveDistanceMeasure, DistanceThatIsNotANumberCountsAsCoincidentInTheReciprocal) {
  VFacePartState broken;
  broken.mPoints[0].x = kNaN;
  const bool use[1] = {true};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(broken, Square(1), 1, use, true), DBL_MAX);
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateAIDistanceExclusive(broken, Square(1), 1, use, false)));
}

TEST(ExclusiveDistanceMeasure, NothingFlaggedIsZero) {
  const bool use[4] = {};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(Square(1), Square(2), 4, use, false), 0);
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(Square(1), Square(2), 4, use, true), 0);
}

TEST(ExclusiveDistanceMeasure, FlagsBeyondTheCountAreNotRead) {
  VFacePartState a, b;
  SetXyz(a.mPoints[1], 4, 0, 0);
  const bool use[2] = {false, true};
  EXPECT_EQ(Measures().Face2TemplateAIDistanceExclusive(a, b, 1, use, false), 0);
}

// --- Triangles.

TEST(TriangleArea, IsExactForAUnitBase) {
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({1, 0, 0, 1}, {0, 0, 0, 1}, {0, 1, 0, 1}), 0.5);
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({1, 0, 0, 1}, {0, 0, 0, 1}, {0.75, 1, 0, 1}), 0.5);
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({1, 0, 5, 1}, {0, 0, 5, 1}, {0.25, 0, 7, 1}), 1);
}

TEST(TriangleArea, IsExactIfTheApexIsAboveTheSecondPoint) {
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({2, 0, 0, 1}, {0, 0, 0, 1}, {0, 1, 0, 1}), 1);
}

// The foot point is divided by the base's length once, not by its square: it is too far along a base longer
// than 1, and the "height" is slanted. The mouth surface uses exactly this number.
TEST(TriangleArea, FootPointIsOffForABaseThatIsNotOne) {
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({2, 0, 0, 1}, {0, 0, 0, 1}, {1, 1, 0, 1}), std::sqrt(2.0));
  // Base 0.5: the foot of (0.5, 1) is at x = 0.25 instead of 0.5.
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({0.5, 0, 0, 1}, {0, 0, 0, 1}, {0.5, 1, 0, 1}),
            std::sqrt(0.25 * 0.25 + 1) * 0.5 * 0.5);
}

TEST(TriangleArea, CoincidentBasePointsGiveNaN) {
  const VgeTVector point{1, 2, 3, 1}, apex{4, 5, 6, 1};
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateTriangleArea(point, point, apex)));
  EXPECT_TRUE(std::isnan(Measures().Face2TemplateTriangleArea(point, point, point)));
}

TEST(TriangleArea, ApexOnTheSecondPointHasNoArea) {
  EXPECT_EQ(Measures().Face2TemplateTriangleArea({4, 5, 6, 1}, {1, 2, 3, 1}, {1, 2, 3, 1}), 0);
}

TEST(TriangleArea, FollowsItsDefinitionToTheBit) {
  Numbers numbers(37);
  for (int round = 0; round < 200; ++round) {
    const VgeTVector p = numbers.Point(5), q = numbers.Point(5), r = numbers.Point(5);
    EXPECT_EQ(Measures().Face2TemplateTriangleArea(p, q, r), BaseTimesHeight(p, q, r));
  }
}

// --- Mouth surfaces.

double Surface(const VFacePartState& first, const VFacePartState& second) {
  const auto &a = first.mPoints, &b = second.mPoints;
  const double a1 = BaseTimesHeight(a[0], a[1], a[5]), a2 = BaseTimesHeight(a[5], a[1], a[2]),
               a3 = BaseTimesHeight(a[5], a[1], a[2]), a4 = BaseTimesHeight(a[3], a[2], a[4]);
  const double b1 = BaseTimesHeight(b[0], b[1], b[5]), b2 = BaseTimesHeight(b[5], b[1], b[2]),
               b3 = BaseTimesHeight(b[5], b[2], b[4]), b4 = BaseTimesHeight(b[3], b[2], b[4]);
  const double s = std::abs((b4 - a4) + ((b2 - a2) + (b1 - a1) + (b3 - a3)));
  return s > 0 ? 1.0 / s : kReciprocalOfNothing;
}

TEST(MouthSurfaceMeasure, FollowsItsDefinitionToTheBit) {
  Numbers numbers(38);
  for (int round = 0; round < 200; ++round) {
    const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
    EXPECT_EQ(Measures().Face2TemplateAIMouthSurface(a, b, 6), Surface(a, b));
  }
}

// The first pose counts its upper triangle twice and its lower one not at all; the second counts each once. A
// mouth therefore differs from itself by the difference of those two triangles.
TEST(MouthSurfaceMeasure, MouthDiffersFromItselfByItsLowerAgainstItsUpperTriangle) {
  Numbers numbers(39);
  for (int round = 0; round < 50; ++round) {
    const VFacePartState pose = numbers.PartPose(5);
    const double upper = BaseTimesHeight(pose.mPoints[5], pose.mPoints[1], pose.mPoints[2]);
    const double lower = BaseTimesHeight(pose.mPoints[5], pose.mPoints[2], pose.mPoints[4]);
    const double expected = 1.0 / std::abs(lower - upper);
    EXPECT_NEAR(Measures().Face2TemplateAIMouthSurface(pose, pose, 6), expected, 1e-12 * expected);
  }
}

TEST(MouthSurfaceMeasure, IsNotSymmetric) {
  Numbers numbers(40);
  const VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
  EXPECT_NE(Measures().Face2TemplateAIMouthSurface(a, b, 6), Measures().Face2TemplateAIMouthSurface(b, a, 6));
}

TEST(MouthSurfaceMeasure, EqualSurfacesFallBack) {
  // Three coincident lip points: the triangles (5, 1, 2) and (5, 2, 4), in which a mouth differs from
  // itself, have no area, and the others cancel.
  VFacePartState pose;
  SetXyz(pose.mPoints[0], 2, 0, 0);
  for (const int slot : {1, 2, 4}) SetXyz(pose.mPoints[slot], 0, 1, 0);
  SetXyz(pose.mPoints[3], -1, 0, 0);
  SetXyz(pose.mPoints[5], 1, 0, 0);
  EXPECT_EQ(Measures().Face2TemplateAIMouthSurface(pose, pose, 6), kReciprocalOfNothing);
}

TEST(MouthSurfaceMeasure, SurfaceThatIsNotANumberFallsBack) {
  Numbers numbers(41);
  const VFacePartState whole = numbers.PartPose(5);
  VFacePartState folded = whole;
  folded.mPoints[1] = folded.mPoints[0]; // the base of the first triangle has no length
  EXPECT_EQ(Measures().Face2TemplateAIMouthSurface(whole, folded, 6), kReciprocalOfNothing);
  EXPECT_EQ(Measures().Face2TemplateAIMouthSurface(folded, whole, 6), kReciprocalOfNothing);
}

TEST(MouthSurfaceMeasure, NeitherTheChinNorTheCountIsRead) {
  Numbers numbers(42);
  VFacePartState a = numbers.PartPose(5), b = numbers.PartPose(5);
  const double measure = Measures().Face2TemplateAIMouthSurface(a, b, 6);
  SetXyz(a.mPoints[6], kNaN, kNaN, kNaN);
  b.mPoints[6] = a.mPoints[6];
  for (const int unused : {-1, 0, 3, 1000})
    EXPECT_EQ(Measures().Face2TemplateAIMouthSurface(a, b, unused), measure);
}

} // namespace
