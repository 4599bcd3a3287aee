#include "host/fit/own_poses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

using mien::CalibrationRecord;
using mien::LaidBasis;
using mien::Point;
using mien::UseOwnPoses;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

/// Corners of a mouth, a chin, lids, and eight markers that nothing moves; the shapes that the tests need.
LaidBasis Basis() {
  LaidBasis basis;
  basis.shapes = {"jawOpen",         "mouthSmileLeft", "mouthSmileRight",
                  "mouthDimpleLeft", "eyeBlinkLeft",   "browInnerUp"};
  const auto add = [&](const std::string& name, const Point& rest, const std::vector<Point>& moved) {
    basis.markers.push_back({name, rest, std::nullopt, mien::FitRegion::None});
    basis.moved.insert(basis.moved.end(), moved.begin(), moved.end());
  };
  const Point none = {0, 0, 0};
  add("chin", {0, -60, 90}, {{0, -30, -5}, none, none, none, none, none});
  add("cornerL", {25, -25, 95}, {{0, -8, 0}, {6, 6, -4}, none, {3, 0, -2}, none, none});
  add("cornerR", {-25, -25, 95}, {{0, -8, 0}, none, {-6, 6, -4}, none, none, none});
  add("lip", {0, -20, 100}, {none, {1, 1, 0}, {-1, 1, 0}, none, none, none});
  add("lidL", {30, 40, 80}, {none, none, none, none, {0, -9, 0}, none});
  for (int i = 0; i < 8; ++i)
    add("still" + std::to_string(i), {i % 2 * 60.0 - 30, i * 12.0 - 20, 60.0 + i % 3 * 20},
        std::vector(6, none));
  return basis;
}

/// The markers at rest, with these moved.
CalibrationRecord::Pose Pose(const std::string& name, const std::map<std::string, Point>& moved) {
  CalibrationRecord::Pose pose;
  pose.name = name;
  for (const LaidBasis::Marker& marker : Basis().markers) {
    Point p = marker.rest;
    if (const auto way = moved.find(marker.name); way != moved.end())
      p.x += way->second.x, p.y += way->second.y, p.z += way->second.z;
    pose.points[marker.name] = p;
  }
  return pose;
}

Point Moved(const LaidBasis& basis, const std::string& marker, const std::string& shape) {
  const auto m = std::find_if(basis.markers.begin(), basis.markers.end(),
                              [&](const auto& known) { return known.name == marker; }) -
                 basis.markers.begin();
  const auto s = std::find(basis.shapes.begin(), basis.shapes.end(), shape) - basis.shapes.begin();
  return basis.moved[static_cast<std::size_t>(m) * basis.shapes.size() + static_cast<std::size_t>(s)];
}

void ExpectPoint(const Point& p, const Point& expected) {
  EXPECT_NEAR(p.x, expected.x, 1e-6);
  EXPECT_NEAR(p.y, expected.y, 1e-6);
  EXPECT_NEAR(p.z, expected.z, 1e-6);
}

} // namespace

TEST(OwnPoses, APoseOfOneShapeIsThatShape) {
  LaidBasis basis = Basis();
  EXPECT_THAT(UseOwnPoses(basis, {Pose("rest", {}),
                                  Pose("jaw-open", {{"chin", {1, -20, -8}}, {"cornerL", {0, -5, 0}}})}),
              UnorderedElementsAre("jawOpen"));
  ExpectPoint(Moved(basis, "chin", "jawOpen"), {1, -20, -8});
  ExpectPoint(Moved(basis, "cornerL", "jawOpen"), {0, -5, 0});
  ExpectPoint(Moved(basis, "cornerR", "jawOpen"), {0, 0, 0});
}

TEST(OwnPoses, APoseOfBothSidesIsDividedInTheMiddle) {
  LaidBasis basis = Basis();
  EXPECT_THAT(
      UseOwnPoses(basis,
                  {Pose("rest", {}),
                   Pose("smile", {{"cornerL", {4, 8, -2}}, {"cornerR", {-5, 7, -2}}, {"lip", {0, 2, 0}}})}),
      UnorderedElementsAre("mouthSmileLeft", "mouthSmileRight"));
  ExpectPoint(Moved(basis, "cornerL", "mouthSmileLeft"), {4, 8, -2});
  ExpectPoint(Moved(basis, "cornerL", "mouthSmileRight"), {0, 0, 0});
  ExpectPoint(Moved(basis, "cornerR", "mouthSmileRight"), {-5, 7, -2});
  ExpectPoint(Moved(basis, "lip", "mouthSmileLeft"), {0, 1, 0});
  ExpectPoint(Moved(basis, "lip", "mouthSmileRight"), {0, 1, 0});
}

// The head's fit leaves a rest: the markers that the shape does not move tell it.
TEST(OwnPoses, ARestOfHeadMotionIsNotAShape) {
  LaidBasis basis = Basis();
  CalibrationRecord::Pose pose = Pose("jaw-open", {{"chin", {0, -20, 0}}});
  for (auto& [marker, p] : pose.points) p = {p.x + 1, p.y - 2, p.z + 0.5};
  UseOwnPoses(basis, {Pose("rest", {}), pose});
  ExpectPoint(Moved(basis, "chin", "jawOpen"), {0, -20, 0});
}

TEST(OwnPoses, OtherShapesOfTheRegionGetThePerformersAmplitude) {
  LaidBasis basis = Basis();
  UseOwnPoses(basis,
              {Pose("rest", {}),
               Pose("smile", {{"cornerL", {9, 9, -6}}, {"cornerR", {-9, 9, -6}}, {"lip", {0, 3, 0}}})});
  ExpectPoint(Moved(basis, "cornerL", "mouthDimpleLeft"), {4.5, 0, -3});
  ExpectPoint(Moved(basis, "lidL", "eyeBlinkLeft"), {0, -9, 0}); // another region
}

TEST(OwnPoses, APoseWithAShapeThatTheBasisLacksReplacesNothing) {
  LaidBasis basis = Basis(); // has one of the three shapes of raised brows, and one of the two of closed eyes
  EXPECT_THAT(UseOwnPoses(basis, {Pose("rest", {}), Pose("eyes-closed", {{"lidL", {0, -5, 0}}})}), IsEmpty());
  ExpectPoint(Moved(basis, "lidL", "eyeBlinkLeft"), {0, -9, 0});
}

TEST(OwnPoses, WithoutRestOrMotionNothingIsReplaced) {
  const LaidBasis before = Basis();
  for (const std::vector<CalibrationRecord::Pose>& poses :
       {std::vector{Pose("jaw-open", {{"chin", {0, -20, 0}}})},
        std::vector{Pose("rest", {}), Pose("jaw-open", {})},
        std::vector{Pose("rest", {}), Pose("dance", {{"chin", {0, -20, 0}}})},
        {}}) {
    LaidBasis basis = before;
    EXPECT_THAT(UseOwnPoses(basis, poses), IsEmpty());
    for (std::size_t i = 0; i < basis.moved.size(); ++i) ExpectPoint(basis.moved[i], before.moved[i]);
  }
}
