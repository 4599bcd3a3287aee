#include "mien/base/geometry.h"

#include "tests/base/rotations.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

using tests::AxisRotation;
using tests::Product;
using tests::Random;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

VgeTVector Point(double x, double y, double z) {
  VgeTVector p;
  p.x = x, p.y = y, p.z = z;
  return p;
}

VgeRMatrix RandomRotation(Random& random) {
  return Product(
      AxisRotation(2, random.Between(-180, 180)),
      Product(AxisRotation(1, random.Between(-180, 180)), AxisRotation(0, random.Between(-180, 180))));
}

VgeTVector RandomPoint(Random& random) {
  return Point(random.Between(-100, 100), random.Between(-100, 100), random.Between(-100, 100));
}

VgeTVector Rotated(const VgeRMatrix& r, const VgeTVector& p) {
  return Point(r.m[0][0] * p.x + r.m[1][0] * p.y + r.m[2][0] * p.z,
               r.m[0][1] * p.x + r.m[1][1] * p.y + r.m[2][1] * p.z,
               r.m[0][2] * p.x + r.m[1][2] * p.y + r.m[2][2] * p.z);
}

VgeTVector Sum(const VgeTVector& a, const VgeTVector& b) { return Point(a.x + b.x, a.y + b.y, a.z + b.z); }

} // namespace

// --- Vectors and matrices.

TEST(TVector, IsTheOriginWithWOneByDefault) {
  const VgeTVector v;
  EXPECT_EQ(v.x, 0);
  EXPECT_EQ(v.y, 0);
  EXPECT_EQ(v.z, 0);
  EXPECT_EQ(v.w, 1);
}

TEST(TVector, IsFourDoublesInARow) {
  EXPECT_EQ(sizeof(VgeTVector[3]), 12 * sizeof(double));
  EXPECT_EQ(offsetof(VgeTVector, x), 0u);
  EXPECT_EQ(offsetof(VgeTVector, y), 8u);
  EXPECT_EQ(offsetof(VgeTVector, z), 16u);
  EXPECT_EQ(offsetof(VgeTVector, w), 24u);
}

TEST(TVector, CopiesHaveAllFourComponents) {
  VgeTVector source = Point(1, 2, 3);
  source.w = 4;
  const VgeTVector copy(source);
  VgeTVector assigned;
  assigned = source;
  for (const VgeTVector& v : {copy, assigned}) {
    EXPECT_EQ(v.x, 1);
    EXPECT_EQ(v.y, 2);
    EXPECT_EQ(v.z, 3);
    EXPECT_EQ(v.w, 4);
  }
}

TEST(TVector, CopiesFourConsecutiveDoubles) {
  const double doubles[] = {1, 2, 3, 4, 5};
  VgeTVector v;
  EXPECT_EQ(&(v = &doubles[1]), &v);
  EXPECT_EQ(v.x, 2);
  EXPECT_EQ(v.y, 3);
  EXPECT_EQ(v.z, 4);
  EXPECT_EQ(v.w, 5);
}

TEST(TVector, CopiesTheComponentsOfAnother) {
  std::array<double, 4> components = {1, 2, 3, 4};
  VgeTVector source;
  source = components.data();
  VgeTVector target;
  target = &source.x;
  EXPECT_EQ(target, source);
}

TEST(SVector, ChangesNothingByDefault) {
  const VgeSVector s;
  EXPECT_EQ(s.x, 1);
  EXPECT_EQ(s.y, 1);
  EXPECT_EQ(s.z, 1);
}

TEST(SVector, HasThreeFactors) {
  EXPECT_EQ(sizeof(VgeSVector), 3 * sizeof(double));
  const VgeSVector s(2, -3, 4), copy(s);
  VgeSVector assigned;
  assigned = s;
  EXPECT_EQ(copy.x, 2);
  EXPECT_EQ(copy.y, -3);
  EXPECT_EQ(copy.z, 4);
  EXPECT_EQ(assigned, s);
}

TEST(Matrices, AreTheIdentityByDefault) {
  const VgeAMatrix affine;
  const VgeRMatrix rotation;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) {
      EXPECT_EQ(affine.m[column][row], column == row ? 1 : 0);
      EXPECT_EQ(rotation.m[column][row], column == row ? 1 : 0);
    }
}

TEST(Matrices, AffineOnesAreSixteenDoubles) { EXPECT_EQ(sizeof(VgeAMatrix), 16 * sizeof(double)); }

TEST(Matrices, CopyByValue) {
  VgeAMatrix affine;
  VgeRMatrix rotation;
  double value = 1;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) affine.m[column][row] = rotation.m[column][row] = value++;
  const VgeAMatrix affine_copy(affine);
  const VgeRMatrix rotation_copy(rotation);
  VgeAMatrix affine_assigned;
  VgeRMatrix rotation_assigned;
  affine_assigned = affine;
  rotation_assigned = rotation;
  affine.m[2][1] = rotation.m[2][1] = -1;
  for (const VgeAMatrix& m : {affine_copy, affine_assigned})
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m.m[k / 4][k % 4], k + 1);
  for (const VgeRMatrix& m : {rotation_copy, rotation_assigned})
    for (int k = 0; k < 16; ++k) EXPECT_EQ(m.m[k / 4][k % 4], k + 1);
}

TEST(Matrices, AreEqualByValue) {
  VgeAMatrix negative_zero, not_a_number;
  negative_zero.m[1][0] = -0.0;
  not_a_number.m[1][0] = kNaN;
  EXPECT_EQ(negative_zero, VgeAMatrix());
  EXPECT_FALSE(not_a_number == not_a_number);
  VgeAMatrix other;
  other.m[3][2] = 1e-300;
  EXPECT_FALSE(other == VgeAMatrix());
}

TEST(RMatrix, InitRestoresTheIdentity) {
  VgeRMatrix r;
  for (auto& column : r.m)
    for (double& element : column) element = kNaN;
  EXPECT_EQ(&r.Init(), &r);
  EXPECT_EQ(r, VgeRMatrix());
}

// --- Quaternions.

TEST(Quaternion, KeepsItsFourComponents) {
  const VgeQuaternion zero(0, 0, 0, 0), q(1, 2, 3, 4);
  EXPECT_EQ(zero.x, 0);
  EXPECT_EQ(zero.w, 0);
  EXPECT_EQ(q.x, 1);
  EXPECT_EQ(q.y, 2);
  EXPECT_EQ(q.z, 3);
  EXPECT_EQ(q.w, 4);
}

TEST(Quaternion, OfTheIdentityIsTheScalarOne) {
  EXPECT_EQ(VgeQuaternion(VgeRMatrix()), VgeQuaternion(0, 0, 0, 1));
}

TEST(Quaternion, OfHalfATurnIsItsAxis) {
  EXPECT_EQ(VgeQuaternion(AxisRotation(0, 0.0, -1.0)), VgeQuaternion(1, 0, 0, 0));
  EXPECT_EQ(VgeQuaternion(AxisRotation(1, 0.0, -1.0)), VgeQuaternion(0, 1, 0, 0));
  EXPECT_EQ(VgeQuaternion(AxisRotation(2, 0.0, -1.0)), VgeQuaternion(0, 0, 1, 0));
}

TEST(Quaternion, OfATurnAboutAnAxisHasTheSineOfHalfTheAngleThere) {
  for (int axis = 0; axis < 3; ++axis) {
    for (double angle = -179; angle <= 179; angle += 1) {
      const VgeQuaternion q(AxisRotation(axis, angle));
      const double sine = std::sin(tests::Radians(angle / 2)), cosine = std::cos(tests::Radians(angle / 2));
      // Below -90 degrees the sine is larger than the cosine, and negative: the other quaternion of the
      // rotation is expected.
      const double sign = angle < -90 ? -1 : 1;
      if (std::abs(angle) == 90 && sine < 0) continue; // equal sizes: either sign is correct
      const double vector[] = {q.x, q.y, q.z};
      for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(vector[k], k == axis ? sign * sine : 0, 1e-14) << angle << " degrees";
      EXPECT_NEAR(q.w, sign * cosine, 1e-14) << angle << " degrees";
    }
  }
}

TEST(Quaternion, IsOfUnitLengthAndTurnsAsTheMatrixDoes) {
  Random random(6);
  for (int i = 0; i < 5000; ++i) {
    const VgeRMatrix r = RandomRotation(random);
    const auto [x, y, z, w] = VgeQuaternion(r);
    ASSERT_NEAR(x * x + y * y + z * z + w * w, 1, 1e-14);
    // v -> q v q*, column by column.
    const double expected[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)},
                                   {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)},
                                   {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)}};
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row)
        ASSERT_NEAR(expected[column][row], r.m[column][row], 1e-14) << "case " << i;
  }
}

TEST(Quaternion, LargestComponentIsPositive) {
  Random random(7);
  for (int i = 0; i < 5000; ++i) {
    const VgeQuaternion q(RandomRotation(random));
    const double largest = std::max({q.x, q.y, q.z, q.w}), smallest = std::min({q.x, q.y, q.z, q.w});
    // If two components have the same size up to rounding, either may be the larger one.
    ASSERT_GE(largest, -smallest - 1e-14) << q.x << " " << q.y << " " << q.z << " " << q.w;
  }
}

TEST(Quaternion, StaysAccurateNextToHalfATurn) {
  // As the scalar part goes to zero, its sign and size must still be read from the matrix.
  for (const double missing : {1e-3, 1e-6, 1e-9, 1e-12}) {
    const VgeQuaternion q(AxisRotation(1, std::sin(missing), -std::cos(missing))); // pi - missing, in radians
    EXPECT_NEAR(q.y, 1, missing);
    EXPECT_NEAR(q.w / (missing / 2), 1, 1e-6);
  }
}

TEST(Quaternion, ReadsOnlyTheUpperThreeByThree) {
  VgeRMatrix clean = AxisRotation(1, 40), soiled = clean;
  for (int k = 0; k < 4; ++k) soiled.m[3][k] = soiled.m[k][3] = kNaN;
  EXPECT_EQ(VgeQuaternion(soiled), VgeQuaternion(clean));
}

// --- The frame of three points.

namespace {

/// A triangle's frame, computed into variables with other values.
struct Frame {
  VgeAMatrix m;
  double area = kNaN, quality = kNaN;

  Frame(const VgeTVector& p0, const VgeTVector& p1, const VgeTVector& p2) {
    for (auto& column : m.m)
      for (double& element : column) element = kNaN;
    ThreePointsTransform(m, area, quality, p0, p1, p2);
  }

  VgeTVector Axis(int k) const { return Point(m.m[k][0], m.m[k][1], m.m[k][2]); }
};

double Dot(const VgeTVector& a, const VgeTVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

VgeTVector Cross(const VgeTVector& a, const VgeTVector& b) {
  return Point(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

void ExpectNear(const VgeTVector& actual, const VgeTVector& expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void ExpectWithoutArea(const Frame& frame) {
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 4; ++row) EXPECT_EQ(frame.m.m[column][row], column == row ? 1 : 0);
  EXPECT_EQ(frame.m.m[3][3], 1);
  EXPECT_EQ(frame.area, 0);
  EXPECT_EQ(frame.quality, 0);
}

} // namespace

TEST(ThreePoints, FrameOfARightTriangle) {
  const Frame frame(Point(1, 1, 1), Point(5, 1, 1), Point(1, 4, 1));
  ExpectNear(frame.Axis(0), Point(1, 0, 0), 0);
  ExpectNear(frame.Axis(1), Point(0, 1, 0), 0);
  ExpectNear(frame.Axis(2), Point(0, 0, 1), 0);
  EXPECT_DOUBLE_EQ(frame.m.m[3][0], 7.0 / 3);
  EXPECT_DOUBLE_EQ(frame.m.m[3][1], 2);
  EXPECT_DOUBLE_EQ(frame.m.m[3][2], 1);
  EXPECT_DOUBLE_EQ(frame.area, 6);
  EXPECT_DOUBLE_EQ(frame.quality, 0.6); // sides 3, 4, 5: the smallest angle is opposite to 3
}

TEST(ThreePoints, XPointsToTheSecondPoint) {
  const Frame frame(Point(0, 0, 0), Point(0, 0, -2), Point(3, 0, 5));
  ExpectNear(frame.Axis(0), Point(0, 0, -1), 0);
  ExpectNear(frame.Axis(2), Point(0, -1, 0), 0); // (0, 0, -2) x (3, 0, 5) = (0, -6, 0)
  ExpectNear(frame.Axis(1), Point(1, 0, 0), 0);
}

TEST(ThreePoints, ExchangedPointsReverseTheNormal) {
  const Frame frame(Point(0, 0, 0), Point(0, 3, 0), Point(4, 0, 0));
  ExpectNear(frame.Axis(0), Point(0, 1, 0), 0);
  ExpectNear(frame.Axis(2), Point(0, 0, -1), 0);
  ExpectNear(frame.Axis(1), Point(1, 0, 0), 0);
}

TEST(ThreePoints, WritesTheFourthRowOfAnAffineMatrix) {
  const Frame frame(Point(1, 1, 1), Point(5, 1, 1), Point(1, 4, 1));
  for (int column = 0; column < 4; ++column) EXPECT_EQ(frame.m.m[column][3], column == 3 ? 1 : 0);
}

TEST(ThreePoints, QualityIsTheSineOfTheSmallestAngle) {
  const double height = std::sqrt(3.0) / 2;
  EXPECT_DOUBLE_EQ(Frame(Point(0, 0, 0), Point(1, 0, 0), Point(0.5, height, 0)).quality,
                   height); // equilateral
  // An apex of 10 degrees between two equal sides, at each of the three points.
  const VgeTVector apex = Point(0, 0, 0), right = Point(5, 0, 0);
  const VgeTVector left = Point(5 * std::cos(tests::Radians(10)), 5 * std::sin(tests::Radians(10)), 0);
  EXPECT_NEAR(Frame(apex, right, left).quality, std::sin(tests::Radians(10)), 1e-15);
  EXPECT_NEAR(Frame(right, left, apex).quality, std::sin(tests::Radians(10)), 1e-15);
  EXPECT_NEAR(Frame(left, apex, right).quality, std::sin(tests::Radians(10)), 1e-15);
  // A flat triangle: two small angles of 5 degrees at the ends of the long side.
  const VgeTVector top = Point(0, std::tan(tests::Radians(5)), 0);
  EXPECT_NEAR(Frame(Point(-1, 0, 0), Point(1, 0, 0), top).quality, std::sin(tests::Radians(5)), 1e-15);
}

TEST(ThreePoints, AreaAndQualityAreThoseOfTheTriangle) {
  Random random(8);
  for (int i = 0; i < 5000; ++i) {
    const VgeTVector p[3] = {RandomPoint(random), RandomPoint(random), RandomPoint(random)};
    const Frame frame(p[0], p[1], p[2]);
    // By Heron's formula and the law of cosines, which use no cross product.
    double squared[3];
    for (int k = 0; k < 3; ++k) {
      const VgeTVector &q = p[(k + 1) % 3], &r = p[(k + 2) % 3];
      const VgeTVector side = Point(q.x - r.x, q.y - r.y, q.z - r.z);
      squared[k] = Dot(side, side);
    }
    const double sum = squared[0] + squared[1] + squared[2];
    const double four_squares =
        sum * sum - 2 * (squared[0] * squared[0] + squared[1] * squared[1] + squared[2] * squared[2]);
    const double area = std::sqrt(four_squares) / 4;
    std::sort(squared, squared + 3);
    const double cosine = (squared[1] + squared[2] - squared[0]) / (2 * std::sqrt(squared[1] * squared[2]));
    const double sine = std::sqrt(1 - cosine * cosine);
    if (sine < 1e-3) continue; // both formulas cancel on thin triangles
    // The cancellation multiplies their rounding errors by up to 1 / sine^2.
    ASSERT_NEAR(frame.area / area, 1, 1e-15 * 10 / (sine * sine)) << "case " << i;
    ASSERT_NEAR(frame.quality / sine, 1, 1e-15 * 10 / (sine * sine)) << "case " << i;
  }
}

TEST(ThreePoints, FrameIsRightHandedAndOrthonormal) {
  Random random(9);
  for (int i = 0; i < 5000; ++i) {
    const VgeTVector p0 = RandomPoint(random), p1 = RandomPoint(random), p2 = RandomPoint(random);
    const Frame frame(p0, p1, p2);
    if (frame.quality < 1e-3) continue; // the normal of a thin triangle is not exact
    for (int k = 0; k < 3; ++k) {
      ASSERT_NEAR(Dot(frame.Axis(k), frame.Axis(k)), 1, 1e-12);
      ASSERT_NEAR(Dot(frame.Axis(k), frame.Axis((k + 1) % 3)), 0, 1e-12);
    }
    ExpectNear(Cross(frame.Axis(0), frame.Axis(1)), frame.Axis(2), 1e-12);
    // x along the first side; the third point on the side of +y; the whole triangle in the xy plane.
    const VgeTVector e1 = Point(p1.x - p0.x, p1.y - p0.y, p1.z - p0.z),
                     e2 = Point(p2.x - p0.x, p2.y - p0.y, p2.z - p0.z);
    ASSERT_NEAR(Dot(e1, frame.Axis(0)), std::sqrt(Dot(e1, e1)), 1e-11);
    ASSERT_GT(Dot(e2, frame.Axis(1)), 0);
    ASSERT_NEAR(Dot(e2, frame.Axis(2)), 0, 1e-10);
    ExpectNear(Point(frame.m.m[3][0], frame.m.m[3][1], frame.m.m[3][2]),
               Point((p0.x + p1.x + p2.x) / 3, (p0.y + p1.y + p2.y) / 3, (p0.z + p1.z + p2.z) / 3), 1e-13);
    ASSERT_FALSE(HasFailure()) << "case " << i;
  }
}

TEST(ThreePoints, FrameMovesWithTheTriangle) {
  Random random(10);
  for (int i = 0; i < 2000; ++i) {
    const VgeTVector p[3] = {RandomPoint(random), RandomPoint(random), RandomPoint(random)};
    const VgeRMatrix r = RandomRotation(random);
    const VgeTVector t = RandomPoint(random);
    const Frame still(p[0], p[1], p[2]);
    if (still.quality < 1e-2) continue; // the normal of a thin triangle is not exact to the tolerance below
    const Frame moved(Sum(Rotated(r, p[0]), t), Sum(Rotated(r, p[1]), t), Sum(Rotated(r, p[2]), t));
    // Rounding errors of positions of size 300, relative to sides that may be a hundredth of the longest.
    for (int k = 0; k < 3; ++k) ExpectNear(moved.Axis(k), Rotated(r, still.Axis(k)), 1e-10);
    const VgeTVector centroid = Point(still.m.m[3][0], still.m.m[3][1], still.m.m[3][2]);
    ExpectNear(Point(moved.m.m[3][0], moved.m.m[3][1], moved.m.m[3][2]), Sum(Rotated(r, centroid), t), 1e-12);
    EXPECT_NEAR(moved.area / still.area, 1, 1e-11);
    EXPECT_NEAR(moved.quality / still.quality, 1, 1e-11);
    ASSERT_FALSE(HasFailure()) << "case " << i;
  }
}

TEST(ThreePoints, AreaAndQualityDoNotDependOnTheOrderOfThePoints) {
  Random random(11);
  for (int i = 0; i < 1000; ++i) {
    const VgeTVector p[3] = {RandomPoint(random), RandomPoint(random), RandomPoint(random)};
    const Frame reference(p[0], p[1], p[2]);
    if (reference.quality < 1e-3) continue;
    constexpr int orders[5][3] = {{0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& order : orders) {
      const Frame other(p[order[0]], p[order[1]], p[order[2]]);
      ASSERT_NEAR(other.area / reference.area, 1, 1e-11);
      ASSERT_NEAR(other.quality / reference.quality, 1, 1e-11);
    }
  }
}

TEST(ThreePoints, UnitsChangeOnlyTheArea) {
  // A power of two, so that every result is exact.
  const VgeTVector p0 = Point(3, -2, 7), p1 = Point(-11, 5, 1), p2 = Point(4, 9, -6);
  const auto scaled = [](const VgeTVector& p) { return Point(p.x * 1024, p.y * 1024, p.z * 1024); };
  const Frame small(p0, p1, p2), large(scaled(p0), scaled(p1), scaled(p2));
  for (int k = 0; k < 3; ++k) ExpectNear(large.Axis(k), small.Axis(k), 0);
  EXPECT_EQ(large.area, small.area * 1024 * 1024);
  EXPECT_EQ(large.quality, small.quality);
}

TEST(ThreePoints, IgnoreTheFourthComponents) {
  VgeTVector p[3] = {Point(3, -2, 7), Point(-11, 5, 1), Point(4, 9, -6)};
  const Frame clean(p[0], p[1], p[2]);
  for (VgeTVector& point : p) point.w = kNaN;
  const Frame soiled(p[0], p[1], p[2]);
  EXPECT_EQ(soiled.m, clean.m);
  EXPECT_EQ(soiled.area, clean.area);
  EXPECT_EQ(soiled.quality, clean.quality);
}

TEST(ThreePoints, WithoutAreaHaveIdentityAxesAtTheCentroid) {
  const VgeTVector p = Point(1, 2, 3), q = Point(4, 8, 12),
                   r = Point(-5, -10, -15); // on one line with the origin
  const VgeTVector cases[][3] = {
      {p, p, p}, {p, p, q}, {p, q, p}, {q, p, p}, {Point(0, 0, 0), q, r}, {q, r, Point(0, 0, 0)}};
  for (const auto& [p0, p1, p2] : cases) {
    const Frame frame(p0, p1, p2);
    ExpectWithoutArea(frame);
    EXPECT_DOUBLE_EQ(frame.m.m[3][0], (p0.x + p1.x + p2.x) / 3);
    EXPECT_DOUBLE_EQ(frame.m.m[3][1], (p0.y + p1.y + p2.y) / 3);
    EXPECT_DOUBLE_EQ(frame.m.m[3][2], (p0.z + p1.z + p2.z) / 3);
  }
}

TEST(ThreePoints, NonFinitePointsNeverGiveAUsableFrame) {
  for (int point = 0; point < 3; ++point) {
    for (int axis = 0; axis < 3; ++axis) {
      for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        VgeTVector p[3] = {Point(3, -2, 7), Point(-11, 5, 1), Point(4, 9, -6)};
        (axis == 0 ? p[point].x : axis == 1 ? p[point].y : p[point].z) = bad;
        const Frame frame(p[0], p[1], p[2]);
        // For an infinite one only this matters: no threshold accepts it as a usable frame.
        if (std::isnan(bad)) {
          ExpectWithoutArea(frame);
          EXPECT_TRUE(std::isnan(frame.m.m[3][axis]));
        } else {
          EXPECT_FALSE(frame.quality > 0) << "point " << point << ", axis " << axis << ", " << bad;
        }
      }
    }
  }
}
