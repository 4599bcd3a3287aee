#include "host/guess/symmetry_planes.h"

#include "mien/base/affine.h"
#include "tests/host/plain_face.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using mien::FindSymmetryPlanes;
using mien::SymmetryPlane;

namespace {

/// 20 points and their mirror images about x = 5, and 8 without one.
std::vector<VgeTVector> Cloud(const VgeAMatrix& motion) {
  tests::Random random(2);
  const auto point = [&] {
    return VgeTVector{random.Between(0, 60), random.Between(-90, 60), random.Between(-20, 40)};
  };
  std::vector<VgeTVector> points;
  for (int i = 0; i < 20; ++i) {
    const VgeTVector p = point();
    points.push_back(mien::TransformPoint(motion, {5 + p.x, p.y, p.z}));
    points.push_back(mien::TransformPoint(motion, {5 - p.x, p.y, p.z}));
  }
  for (int i = 0; i < 8; ++i) points.push_back(mien::TransformPoint(motion, point()));
  return points;
}

} // namespace

TEST(SymmetryPlanes, ThePlaneOfACloudIsFoundWhereverItIs) {
  tests::Random random(7);
  for (int trial = 0; trial < 3; ++trial) {
    const VgeAMatrix motion = tests::AnyMotion(random);
    const std::vector<SymmetryPlane> planes = FindSymmetryPlanes(Cloud(motion));
    ASSERT_FALSE(planes.empty());
    const VgeTVector normal = mien::Column(motion, 0), on_plane = mien::TransformPoint(motion, {5, 0, 0});
    const auto& [found, offset] = planes.front();
    EXPECT_NEAR(std::fabs(mien::Dot(found, normal)), 1, 1e-9);
    EXPECT_NEAR(mien::Dot(found, on_plane), offset, 1e-6) << "millimetres, two metres from the origin";
  }
}

TEST(SymmetryPlanes, CloseOrNoPointsHaveNone) {
  EXPECT_TRUE(FindSymmetryPlanes({}).empty());
  EXPECT_TRUE(FindSymmetryPlanes({{0, 0, 0}, {20, 0, 0}, {10, 10, 0}}).empty());
}
