#include "host/guess/face_pose.h"

#include "host/guess/face_atlas.h"
#include "mien/base/affine.h"
#include "tests/host/plain_face.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using mien::FaceAtlas;
using mien::FacePose;
using mien::FindFacePose;
using mien::ImproveFacePose;

namespace {

/// A marker in the middle of each region, on both sides.
std::vector<VgeTVector> AtlasPlaces() {
  std::vector<VgeTVector> places;
  for (const auto& [place, deviation] : FaceAtlas()) {
    places.push_back({place[0], place[1], place[2]});
    if (place[0] > 0) places.push_back({-place[0], place[1], place[2]});
  }
  return places;
}

std::vector<VgeTVector> Moved(const std::vector<VgeTVector>& places, const VgeAMatrix& motion, double size) {
  std::vector<VgeTVector> moved;
  for (const VgeTVector& p : places)
    moved.push_back(mien::TransformPoint(motion, {size * p.x, size * p.y, size * p.z}));
  return moved;
}

} // namespace

TEST(FacePose, TheAtlasItselfIsFoundWhereverItIsAndOfAnySize) {
  tests::Random random(5);
  for (const double size : {0.8, 1.0, 1.2}) {
    SCOPED_TRACE(size);
    const std::vector<VgeTVector> places = AtlasPlaces();
    const std::vector<VgeTVector> points = Moved(places, tests::AnyMotion(random), size);
    const auto pose = FindFacePose(points);
    ASSERT_TRUE(pose);
    EXPECT_NEAR(pose->scale * size, 1, 0.05);
    EXPECT_GT(pose->fit, 0) << "some markers are on two regions";
    EXPECT_LT(pose->rival_fit, pose->fit - 0.5);
    for (std::size_t i = 0; i < points.size(); ++i)
      EXPECT_LT(mien::Distance(mien::TransformPoint(pose->to_face, points[i]), places[i]), 5) << i;
  }
}

TEST(FacePose, ATurnedCloudGetsTheSamePlaces) {
  tests::Random random(9);
  std::vector<VgeTVector> face;
  for (VgeTVector p : AtlasPlaces())
    face.push_back({p.x + random.Between(-4, 4), p.y + random.Between(-4, 4), p.z + random.Between(-4, 4)});
  const std::vector<VgeTVector> turned = Moved(face, tests::AnyMotion(random), 1);
  const auto a = FindFacePose(face), b = FindFacePose(turned);
  ASSERT_TRUE(a && b);
  for (std::size_t i = 0; i < face.size(); ++i)
    EXPECT_LT(mien::Distance(mien::TransformPoint(a->to_face, face[i]),
                             mien::TransformPoint(b->to_face, turned[i])),
              0.01)
        << i;
}

TEST(FacePose, PointsOnALineHaveNone) {
  EXPECT_FALSE(FindFacePose({}));
  EXPECT_FALSE(FindFacePose({{0, 0, 0}, {30, 0, 0}, {60, 0, 0}, {90, 0, 0}}));
}

TEST(FacePose, ATiltedPlaneIsStraightenedByThePairs) {
  const std::vector<VgeTVector> points = AtlasPlaces();
  FacePose tilted;
  tilted.to_face = tests::Motion({0, 4, 5}, {3, 0, 0});
  const FacePose improved = ImproveFacePose(points, tilted);
  for (std::size_t i = 0; i < points.size(); ++i)
    EXPECT_NEAR(mien::TransformPoint(improved.to_face, points[i]).x, improved.scale * points[i].x, 0.01) << i;
}
