#include "mien/base/geometry.h"
#include "tests/base/rotations.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

using tests::AxisRotation;
using tests::Distance;
using tests::Product;
using tests::Random;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The axes (0 x, 1 y, 2 z) in the order in which a code turns about them.
struct Order {
  int code;
  const char* letters;
  int first, middle, last;
};

constexpr Order kOrders[] = {{0, "XYZ", 0, 1, 2}, {1, "XZY", 0, 2, 1}, {2, "YZX", 1, 2, 0},
                             {3, "YXZ", 1, 0, 2}, {4, "ZXY", 2, 0, 1}, {5, "ZYX", 2, 1, 0}};

double Component(const VgeRVector& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

VgeRVector Angles(const Order& order, double first, double middle, double last) {
  double angles[3];
  angles[order.first] = first, angles[order.middle] = middle, angles[order.last] = last;
  return VgeRVector(angles[0], angles[1], angles[2]);
}

/// The product of three rotations about single axes, the first letter's applied first.
VgeRMatrix Expected(const Order& order, double first, double middle, double last) {
  return Product(AxisRotation(order.last, last),
                 Product(AxisRotation(order.middle, middle), AxisRotation(order.first, first)));
}

VgeRMatrix Matrix(const Order& order, const VgeRVector& angles) {
  VgeRMatrix matrix;
  VTxRotationOrder{order.code}.V2M(matrix, angles);
  return matrix;
}

VgeRVector Vector(const Order& order, const VgeRMatrix& matrix) {
  VgeRVector angles;
  VTxRotationOrder{order.code}.M2V(angles, matrix);
  return angles;
}

void ExpectInRange(const Order& order, const VgeRVector& angles) {
  for (const int axis : {order.first, order.last}) {
    EXPECT_GT(Component(angles, axis), -180);
    EXPECT_LE(Component(angles, axis), 180);
  }
  EXPECT_GE(Component(angles, order.middle), -90);
  EXPECT_LE(Component(angles, order.middle), 90);
}

/// Checks that angles are in range and give the matrix back. The bound is the guaranteed one; the matrices
/// here have unit size.
void ExpectRoundTrip(const Order& order, const VgeRMatrix& matrix) {
  const VgeRVector angles = Vector(order, matrix);
  ExpectInRange(order, angles);
  EXPECT_LE(Distance(Matrix(order, angles), matrix), 1e-12)
      << order.letters << ": angles " << angles.x << " " << angles.y << " " << angles.z;
}

} // namespace

TEST(RotationOrder, IsXYZByDefault) {
  EXPECT_EQ(VTxRotationOrder().mOrder, 0);
  VgeRMatrix matrix;
  VTxRotationOrder().V2M(matrix, VgeRVector(10, 20, 30));
  EXPECT_LE(Distance(matrix, Product(AxisRotation(2, 30), Product(AxisRotation(1, 20), AxisRotation(0, 10)))),
            1e-15);
}

TEST(RotationOrder, RotatesAxesByDegrees) {
  // 90 degrees about x carry y to z; about y, z to x; about z, x to y. In every order.
  for (const Order& order : kOrders) {
    const VgeRMatrix about_x = Matrix(order, VgeRVector(90, 0, 0));
    const VgeRMatrix about_y = Matrix(order, VgeRVector(0, 90, 0));
    const VgeRMatrix about_z = Matrix(order, VgeRVector(0, 0, 90));
    EXPECT_EQ(about_x.m[1][2], 1.0) << order.letters;
    EXPECT_EQ(about_y.m[2][0], 1.0) << order.letters;
    EXPECT_EQ(about_z.m[0][1], 1.0) << order.letters;
    EXPECT_EQ(about_x.m[0][0], 1.0) << order.letters;
    EXPECT_EQ(about_y.m[1][1], 1.0) << order.letters;
    EXPECT_EQ(about_z.m[2][2], 1.0) << order.letters;
  }
}

TEST(RotationOrder, FirstLetterIsAppliedFirst) {
  // Two rotations by 90 degrees, x then y, carry z to a different axis than y then x.
  for (const Order& order : kOrders) {
    const bool x_before_y = order.code == 0 || order.code == 1 || order.code == 4;
    const VgeRMatrix matrix = Matrix(order, VgeRVector(90, 90, 0));
    // About x, z goes to -y, which a rotation about y keeps. About y, z goes to x, which a rotation about x
    // keeps.
    EXPECT_EQ(matrix.m[2][1], x_before_y ? -1 : 0) << order.letters;
    EXPECT_EQ(matrix.m[2][0], x_before_y ? 0 : 1) << order.letters;
  }
}

TEST(RotationOrder, V2MIsTheProductOfThreeAxisRotations) {
  Random random(1);
  for (int i = 0; i < 3000; ++i) {
    const double first = random.Between(-180, 180), middle = random.Between(-180, 180),
                 last = random.Between(-180, 180);
    for (const Order& order : kOrders)
      // A few rounding errors of products of sines.
      ASSERT_LE(
          Distance(Matrix(order, Angles(order, first, middle, last)), Expected(order, first, middle, last)),
          4e-15)
          << order.letters << " " << first << " " << middle << " " << last;
  }
}

TEST(RotationOrder, V2MAcceptsAnglesBeyondOneRotation) {
  for (const Order& order : kOrders) {
    EXPECT_EQ(Matrix(order, VgeRVector(1830, -700, 760)), Matrix(order, VgeRVector(30, 20, 40)))
        << order.letters;
    EXPECT_EQ(Matrix(order, VgeRVector(360e12, -3600, 1)), Matrix(order, VgeRVector(0, 0, 1)))
        << order.letters;
  }
}

TEST(RotationOrder, V2MOfAnInfiniteAngleIsNotANumber) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const Order& order : kOrders) {
    for (const double angle : {kInfinity, -kInfinity, kNaN}) {
      const VgeRMatrix matrix = Matrix(order, VgeRVector(angle, 20, 30));
      int not_numbers = 0;
      for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) not_numbers += std::isnan(matrix.m[column][row]);
      EXPECT_GE(not_numbers, 6) << order.letters; // at least all except the column or row of the x axis
    }
  }
}

TEST(RotationOrder, MultiplesOf90DegreesGiveOnlyZerosAndOnes) {
  // Any three of them, also after whole rotations: products of exact sines are exact.
  for (const Order& order : kOrders) {
    for (int quarters = 0; quarters < 9 * 9 * 9; ++quarters) {
      const int of_each[] = {quarters % 9 - 4, quarters / 9 % 9 - 4, quarters / 81 - 4};
      const double first = 90 * of_each[0], middle = 90 * of_each[1], last = 90 * of_each[2];
      const VgeRMatrix matrix = Matrix(order, Angles(order, first, middle, last));
      for (int column = 0; column < 3; ++column) {
        double sizes = 0;
        for (int row = 0; row < 3; ++row) {
          const double element = std::abs(matrix.m[column][row]);
          EXPECT_TRUE(element == 0 || element == 1) << order.letters << " " << element;
          sizes += element;
        }
        EXPECT_EQ(sizes, 1) << order.letters;
      }
      EXPECT_LE(Distance(matrix, Expected(order, first, middle, last)), 4e-15) << order.letters;
      ASSERT_FALSE(HasFailure()) << first << " " << middle << " " << last;
    }
  }
}

TEST(RotationOrder, ZeroAnglesAreTheIdentity) {
  for (const Order& order : kOrders) {
    EXPECT_EQ(Matrix(order, VgeRVector()), VgeRMatrix()) << order.letters;
    const VgeRVector angles = Vector(order, VgeRMatrix());
    EXPECT_EQ(angles.x, 0) << order.letters;
    EXPECT_EQ(angles.y, 0) << order.letters;
    EXPECT_EQ(angles.z, 0) << order.letters;
  }
}

TEST(RotationOrder, V2MWritesTheWholeMatrix) {
  for (const Order& order : kOrders) {
    VgeRMatrix matrix;
    for (auto& column : matrix.m)
      for (double& element : column) element = 7;
    VTxRotationOrder{order.code}.V2M(matrix, VgeRVector(10, 20, 30));
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(matrix.m[3][k], k == 3 ? 1 : 0) << order.letters;
      EXPECT_EQ(matrix.m[k][3], k == 3 ? 1 : 0) << order.letters;
    }
    EXPECT_LE(Distance(matrix, Matrix(order, VgeRVector(10, 20, 30))), 0) << order.letters;
  }
}

TEST(RotationOrder, M2VReadsOnlyTheUpperThreeByThree) {
  for (const Order& order : kOrders) {
    const VgeRMatrix clean = Matrix(order, VgeRVector(10, 20, 30));
    VgeRMatrix soiled = clean;
    for (int k = 0; k < 4; ++k) soiled.m[3][k] = soiled.m[k][3] = kNaN;
    EXPECT_EQ(Vector(order, soiled), Vector(order, clean)) << order.letters;
  }
}

TEST(RotationOrder, V2MIgnoresTheFourthComponent) {
  // A position can be passed as angles, with any w.
  VgeTVector position;
  position.x = 10, position.y = 20, position.z = 30, position.w = kNaN;
  for (const Order& order : kOrders)
    EXPECT_EQ(Matrix(order, position), Matrix(order, VgeRVector(10, 20, 30))) << order.letters;
}

TEST(RotationOrder, M2VReturnsTheAngles) {
  Random random(2);
  for (int i = 0; i < 3000; ++i) {
    const double first = random.Between(-180, 180), middle = random.Between(-89, 89),
                 last = random.Between(-180, 180);
    for (const Order& order : kOrders) {
      const VgeRVector angles = Vector(order, Matrix(order, Angles(order, first, middle, last)));
      // One degree from the pole, first and last are read from elements of size 1/57: 57 * 57 rounding errors
      // in degrees.
      ASSERT_NEAR(Component(angles, order.first), first, 1e-11) << order.letters;
      ASSERT_NEAR(Component(angles, order.middle), middle, 1e-11) << order.letters;
      ASSERT_NEAR(Component(angles, order.last), last, 1e-11) << order.letters;
    }
  }
}

TEST(RotationOrder, EveryRotationIsRestoredInEveryOrder) {
  Random random(3);
  for (int i = 0; i < 3000; ++i) {
    const VgeRMatrix matrix =
        Expected(kOrders[0], random.Between(-180, 180), random.Between(-180, 180), random.Between(-180, 180));
    for (const Order& order : kOrders) ExpectRoundTrip(order, matrix);
    ASSERT_FALSE(HasFailure());
  }
}

TEST(RotationOrder, RotationsAtAndNearThePolesAreRestored) {
  std::vector<double> distances = {0};
  for (double degrees = 10; degrees > 1e-17; degrees /= 3) distances.push_back(degrees);
  Random random(4);
  for (const Order& order : kOrders) {
    for (const double distance : distances) {
      for (const double pole : {-90.0, 90.0}) {
        for (int i = 0; i < 40; ++i) {
          const double first = random.Between(-180, 180), last = random.Between(-180, 180);
          // The middle rotation is made from its distance to the pole, so that distances below the spacing of
          // doubles at 90 degrees are possible; on both sides of the pole.
          for (const double side : {-1.0, 1.0}) {
            const double sine = std::copysign(std::cos(tests::Radians(distance)), pole);
            const double cosine = side * std::sin(tests::Radians(distance));
            const VgeRMatrix middle = AxisRotation(order.middle, sine, cosine);
            ExpectRoundTrip(order, Product(AxisRotation(order.last, last),
                                           Product(middle, AxisRotation(order.first, first))));
            ASSERT_FALSE(HasFailure()) << order.letters << ", " << distance << " degrees from " << pole;
          }
        }
      }
    }
  }
}

TEST(RotationOrder, AtThePoleTheLastAngleIsZero) {
  Random random(5);
  for (const Order& order : kOrders) {
    // With the middle angle at the pole, a rotation about the last axis is also one about the first axis: in
    // the same way at +90 and the other way at -90 degrees in even orders, the reverse in odd ones.
    const bool even = (order.middle - order.first + 3) % 3 == 1;
    for (const double pole : {-90.0, 90.0}) {
      const VgeRMatrix middle = AxisRotation(order.middle, pole > 0 ? 1.0 : -1.0, 0.0);
      for (int i = 0; i < 200; ++i) {
        const double first = random.Between(-89, 89), last = random.Between(-89, 89);
        const VgeRMatrix matrix =
            Product(AxisRotation(order.last, last), Product(middle, AxisRotation(order.first, first)));
        const VgeRVector angles = Vector(order, matrix);
        ASSERT_EQ(Component(angles, order.last), 0) << order.letters << ", pole " << pole;
        ASSERT_NEAR(Component(angles, order.middle), pole, 1e-12) << order.letters;
        const double merged = (pole > 0) == even ? first - last : first + last;
        ASSERT_NEAR(Component(angles, order.first), merged, 1e-12) << order.letters << ", pole " << pole;
      }
    }
  }
}

TEST(RotationOrder, RightAnglesAreRestoredExactlyAndInRange) {
  // All 24 rotations of a cube onto itself, each with every sign of its zeros: half turns must become 180,
  // never -180, and rotations at a pole must not depend on the sign of a zero.
  constexpr int permutations[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
  int rotations = 0;
  for (int p = 0; p < 6; ++p) {
    for (int signs = 0; signs < 8; ++signs) {
      const double s[3] = {signs & 1 ? -1.0 : 1.0, signs & 2 ? -1.0 : 1.0, signs & 4 ? -1.0 : 1.0};
      const double parity = p < 3 ? 1 : -1;
      if (s[0] * s[1] * s[2] * parity < 0) continue; // a reflection
      ++rotations;
      for (int zeros = 0; zeros < 64; ++zeros) {
        VgeRMatrix matrix;
        int zero = 0;
        for (int column = 0; column < 3; ++column)
          for (int row = 0; row < 3; ++row) {
            const bool one = permutations[p][column] == row;
            matrix.m[column][row] = one ? s[column] : (zeros >> zero++) & 1 ? -0.0 : 0.0;
          }
        for (const Order& order : kOrders) {
          ExpectRoundTrip(order, matrix);
          const VgeRVector angles = Vector(order, matrix);
          for (int axis = 0; axis < 3; ++axis) {
            const double quarters = Component(angles, axis) / 90;
            EXPECT_EQ(quarters, std::round(quarters)) << order.letters;
          }
          if (std::abs(Component(angles, order.middle)) == 90) {
            EXPECT_EQ(Component(angles, order.last), 0);
          }
        }
        ASSERT_FALSE(HasFailure()) << "permutation " << p << ", signs " << signs << ", zeros " << zeros;
      }
    }
  }
  EXPECT_EQ(rotations, 24);
}

TEST(RotationOrder, AnElementRoundedBeyondOneIsAtThePole) {
  // A sine of the middle angle just above 1, as products of rotations can have, must not become NaN.
  for (const Order& order : kOrders) {
    for (const double pole : {-90.0, 90.0}) {
      const double sine = std::copysign(std::nextafter(1.0, 2.0), pole);
      ExpectRoundTrip(order, Product(AxisRotation(order.middle, sine, 0.0), AxisRotation(order.first, 25)));
    }
  }
}

TEST(RotationOrder, Minus180DegreesReadsAsPlus180) {
  for (const Order& order : kOrders) {
    EXPECT_NEAR(Component(Vector(order, Matrix(order, Angles(order, -180, 0, 0))), order.first), 180, 1e-13);
    EXPECT_NEAR(Component(Vector(order, Matrix(order, Angles(order, 0, 0, -180))), order.last), 180, 1e-13);
    // 180 degrees about the middle axis equal 180 degrees about each of the others.
    const VgeRVector angles = Vector(order, Matrix(order, Angles(order, 0, 180, 0)));
    EXPECT_NEAR(std::abs(Component(angles, order.first)), 180, 1e-12) << order.letters;
    EXPECT_NEAR(Component(angles, order.middle), 0, 1e-12) << order.letters;
    EXPECT_NEAR(std::abs(Component(angles, order.last)), 180, 1e-12) << order.letters;
    ExpectInRange(order, angles);
  }
}

TEST(RotationVector, IsLaidOutLikeAPosition) {
  EXPECT_EQ(sizeof(VgeRVector), sizeof(VgeTVector));
  EXPECT_EQ(offsetof(VgeRVector, x), offsetof(VgeTVector, x));
  EXPECT_EQ(offsetof(VgeRVector, y), offsetof(VgeTVector, y));
  EXPECT_EQ(offsetof(VgeRVector, z), offsetof(VgeTVector, z));
}

TEST(RotationVector, IsZeroByDefaultAndTakenFromAPosition) {
  const VgeRVector none;
  EXPECT_EQ(none.x, 0);
  EXPECT_EQ(none.y, 0);
  EXPECT_EQ(none.z, 0);
  VgeTVector position;
  position.x = 1, position.y = 2, position.z = 3;
  const VgeRVector angles = position;
  EXPECT_EQ(angles.x, 1);
  EXPECT_EQ(angles.y, 2);
  EXPECT_EQ(angles.z, 3);
}
