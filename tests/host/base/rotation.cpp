#include "host/base/rotation.h"

#include "tests/host/plain_face.h"

#include <gtest/gtest.h>

#include <cmath>

using mien::QuaternionNear;
using mien::RotationOf;

namespace {

double Dot(const VgeQuaternion& a, const VgeQuaternion& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

VgeRMatrix About(double x, double y, double z) {
  VgeRMatrix rotation;
  VTxRotationOrder().V2M(rotation, {x, y, z});
  return rotation;
}

} // namespace

TEST(RotationOf, TakesTheAxesAndNotTheTranslation) {
  VgeAMatrix rigid;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) rigid.m[column][row] = 10 * column + row;
  const VgeRMatrix rotation = RotationOf(rigid);
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      EXPECT_EQ(rotation.m[column][row],
                column < 3 && row < 3 ? 10 * column + row : VgeRMatrix().m[column][row]);
}

TEST(QuaternionNear, IsOneOfTheTwoOfTheRotation) {
  tests::Random random(4);
  for (int i = 0; i < 200; ++i) {
    const VgeRMatrix rotation = RotationOf(tests::AnyMotion(random));
    const VgeQuaternion before(random.Between(-1, 1), random.Between(-1, 1), random.Between(-1, 1),
                               random.Between(-1, 1));
    const VgeQuaternion near = QuaternionNear(before, rotation), of_library(rotation);
    EXPECT_GE(Dot(near, before), 0);
    EXPECT_TRUE(near == of_library ||
                near == VgeQuaternion(-of_library.x, -of_library.y, -of_library.z, -of_library.w));
  }
}

// Twice round: after one turn the rotation is the same and the quaternion is the other one.
TEST(QuaternionNear, DoesNotJumpOnAWayRound) {
  for (const VgeRVector& axis : {VgeRVector(1, 0, 0), VgeRVector(0, 0, 1)}) {
    VgeQuaternion q(0, 0, 0, 1);
    for (int degrees = 5; degrees <= 360; degrees += 5) {
      const VgeQuaternion next =
          QuaternionNear(q, About(axis.x * degrees, axis.y * degrees, axis.z * degrees));
      EXPECT_GT(Dot(next, q), std::cos(2.6 * std::acos(-1.0) / 180))
          << degrees; // half of a step of 5, and rounding
      q = next;
    }
    EXPECT_NEAR(q.w, -1, 1e-12);
  }
}

TEST(QuaternionNear, KeepsTheLibrarysSignWhereBothAreAsNear) {
  const VgeQuaternion q = QuaternionNear(VgeQuaternion(1, 0, 0, 0), About(0, 0, 90));
  EXPECT_EQ(q, VgeQuaternion(About(0, 0, 90)));
}

TEST(RotationOf, TakesAQuaternionOfAnyLength) {
  const double quarter_about_z[3][3] = {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}};
  const double h = std::sqrt(0.5);
  for (const double length : {1.0, -1.0, 1e-200, 1e200}) {
    const VgeRMatrix rotation = RotationOf(VgeQuaternion(0, 0, h * length, h * length));
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row)
        EXPECT_NEAR(rotation.m[column][row], quarter_about_z[column][row], 1e-15) << length;
  }
}

TEST(RotationVector, IsTheAxisTimesTheAngleThatRotationByTurns) {
  tests::Random random(6);
  for (int i = 0; i < 200; ++i) {
    const VgeRMatrix rotation = RotationOf(tests::AnyMotion(random));
    const VgeTVector vector = mien::RotationVector(rotation);
    EXPECT_LE(std::hypot(vector.x, vector.y, vector.z), 3.1415926535897932 + 1e-12);
    const VgeRMatrix back = mien::RotationBy(vector);
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) EXPECT_NEAR(back.m[column][row], rotation.m[column][row], 1e-12);
  }
  const VgeTVector quarter = mien::RotationVector(About(0, 90, 0));
  EXPECT_EQ(quarter.x, 0);
  EXPECT_NEAR(quarter.y, 1.5707963267948966, 1e-15);
  EXPECT_EQ(mien::RotationBy(VgeTVector{0, 0, 0}), VgeRMatrix());
  EXPECT_EQ(mien::RotationVector(VgeRMatrix()), (VgeTVector{0, 0, 0, 0}));
}
