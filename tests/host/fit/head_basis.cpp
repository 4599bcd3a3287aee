#include "host/fit/head_basis.h"

#include "tests/host/basis_head.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

using mien::BasisOfHead;
using mien::BuiltInBasis;
using mien::Glb;
using mien::HeadLandmarks;
using mien::LoadBasis;
using mien::Point;
using mien::ReadHeadLandmarks;
using mien::ShapeBasis;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using tests::HeadOfBasis;

namespace {

HeadLandmarks LandmarksOf(const ShapeBasis& basis) {
  return ReadHeadLandmarks(tests::LandmarksOfBasis(basis), "h.landmarks.csv");
}

double Distance(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

std::string Error(const Glb& head, const HeadLandmarks& landmarks) {
  return InputErrorOf([&] { BasisOfHead(head, landmarks); });
}

} // namespace

// The frame of the face is a little turned against that of the table, so distances are compared.
TEST(HeadBasis, AHeadMadeOfABasisGivesTheBasis) {
  const ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const ShapeBasis basis = BasisOfHead(HeadOfBasis(made_of), LandmarksOf(made_of));
  EXPECT_EQ(basis.name, "head.glb");
  EXPECT_THAT(basis.notes, IsEmpty());
  EXPECT_EQ(basis.shapes.size(), 51u);
  const double scale = 89 / Distance(made_of.rest[36], made_of.rest[45]);
  for (std::size_t i = 0; i < 68; ++i) {
    EXPECT_EQ(basis.points[i], made_of.points[i]);
    EXPECT_NEAR(Distance(basis.rest[i], basis.rest[30]), scale * Distance(made_of.rest[i], made_of.rest[30]),
                1e-4);
    for (std::size_t s = 0; s < 51; ++s) {
      const auto t = static_cast<std::size_t>(
          std::find(made_of.shapes.begin(), made_of.shapes.end(), basis.shapes[s]) - made_of.shapes.begin());
      EXPECT_NEAR(Distance(basis.Moved(i, s), {}), scale * Distance(made_of.Moved(i, t), {}), 1e-4);
    }
  }
  EXPECT_NEAR(Distance(basis.rest[36], basis.rest[45]), 89, 1e-4);
  EXPECT_NEAR(basis.rest[36].y, basis.rest[45].y, 1e-4);
  EXPECT_GT(basis.points.size(), 400u) << "of the 600, those on the front that move";
}

TEST(HeadBasis, AnyUnitAndAnyTurnGiveTheSameBasis) {
  const ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const Glb head = HeadOfBasis(made_of);
  const ShapeBasis plain = BasisOfHead(head, LandmarksOf(made_of));
  Glb turned = head; // half a turn about y, and centimetres
  turned.json["nodes"][0]["rotation"] = {0, 1, 0, 0};
  turned.json["nodes"][0]["scale"] = {100, 100, 100};
  HeadLandmarks landmarks = LandmarksOf(made_of);
  for (auto& landmark : landmarks.landmarks) {
    const Point p = landmark->place;
    landmark->place = {-100 * p.x, 100 * p.y, -100 * p.z};
  }
  const ShapeBasis other = BasisOfHead(turned, landmarks);
  ASSERT_EQ(other.points, plain.points);
  for (std::size_t p = 0; p < plain.points.size(); ++p) {
    EXPECT_LT(Distance(other.rest[p], plain.rest[p]), 1e-4);
    EXPECT_LT(Distance(other.Moved(p, 17), plain.Moved(p, 17)), 1e-4);
  }
}

// A grid of 1 mm before the face: no marker is on the teeth behind the lips or on the back of the head.
TEST(HeadBasis, KeepsEvenlySpreadVerticesOfTheFront) {
  ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const std::size_t shapes = made_of.shapes.size(), landmarks = 68;
  made_of.points.resize(landmarks), made_of.rest.resize(landmarks), made_of.moved.resize(landmarks * shapes);
  const auto add = [&](const char* name, double x, double y, double z, double moved) {
    made_of.points.emplace_back(name);
    made_of.rest.push_back({x, y, z});
    made_of.moved.insert(made_of.moved.end(), shapes, Point{0, moved, 0});
  };
  for (int x = -60; x <= 60; ++x)
    for (int y = -60; y <= 60; ++y) {
      add("skin", x, y, 140, 1);
      if (std::abs(x) < 20 && std::abs(y) < 20) add("tooth", x + 0.5, y + 0.5, 132, 1);
      add("still", x + 0.3, y, 141, 0.01);
    }
  const ShapeBasis basis = BasisOfHead(HeadOfBasis(made_of), LandmarksOf(made_of));
  ASSERT_EQ(basis.points.size(), 600u);
  EXPECT_EQ(basis.points[68].substr(0, 6), "vertex");
  double nearest = HUGE_VAL;
  for (std::size_t p = 68; p < 600; ++p) {
    const std::size_t vertex = std::stoul(basis.points[p].substr(6));
    EXPECT_EQ(made_of.points.at(vertex), "skin");
    for (std::size_t q = 68; q < p; ++q) nearest = std::min(nearest, Distance(basis.rest[p], basis.rest[q]));
  }
  EXPECT_GT(nearest, 3.5) << "14,641 of them on 120 x 120 mm; 532 evenly are 5 mm apart";
}

TEST(HeadBasis, RefusesLandmarksThatAreNotOnTheHead) {
  const ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const Glb head = HeadOfBasis(made_of);
  HeadLandmarks landmarks = LandmarksOf(made_of);
  landmarks.landmarks[8]->place.y -= 0.05, landmarks.landmarks[20]->place.z += 0.03;
  EXPECT_THAT(Error(head, landmarks),
              AllOf(HasSubstr("h.landmarks.csv:line 10: lm8 is not on the head: the nearest vertex is "),
                    HasSubstr("h.landmarks.csv:line 22: lm20 is not on the head"), Not(HasSubstr("lm21 "))));
  landmarks = LandmarksOf(made_of);
  for (auto& landmark : landmarks.landmarks)
    landmark->place = {100 * landmark->place.x, 100 * landmark->place.y, 100 * landmark->place.z};
  EXPECT_THAT(Error(head, landmarks), HasSubstr("write places in the units and axes of the .glb"));
}

TEST(HeadBasis, RefusesLandmarksThatAreNotThoseOfAFace) {
  const ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const Glb head = HeadOfBasis(made_of);
  HeadLandmarks mirrored = LandmarksOf(made_of);
  std::swap(mirrored.landmarks[36], mirrored.landmarks[45]);
  EXPECT_THAT(Error(head, mirrored), HasSubstr("the tip of the nose, lm30, is not in front of the eyes"));
  HeadLandmarks one_place = LandmarksOf(made_of);
  for (auto& landmark : one_place.landmarks) landmark->place = {1, 1, 1};
  EXPECT_THAT(Error(head, one_place), HasSubstr("is not in front of the eyes"));
}

TEST(HeadBasis, ShapesThatTheHeadLacksAreMissingAndUselessOnesNoted) {
  ShapeBasis made_of = LoadBasis(BuiltInBasis::OneHead);
  const auto shape = [&](const std::string& name) {
    return static_cast<std::size_t>(std::find(made_of.shapes.begin(), made_of.shapes.end(), name) -
                                    made_of.shapes.begin());
  };
  for (std::size_t p = 0; p < made_of.points.size(); ++p)
    made_of.moved[p * made_of.shapes.size() + shape("cheekPuff")] = {0, 0, 0};
  made_of.shapes[shape("jawOpen")] = "muzzle";
  const ShapeBasis basis = BasisOfHead(HeadOfBasis(made_of), LandmarksOf(made_of));
  EXPECT_EQ(basis.shapes.size(), 49u);
  EXPECT_THAT(basis.shapes, Not(Contains("jawOpen")));
  EXPECT_THAT(basis.notes, testing::ElementsAre("left out, since they do not move the face: cheekPuff"));
}
