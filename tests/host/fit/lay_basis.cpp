#include "host/fit/lay_basis.h"

#include "host/fit/landmark_scheme.h"
#include "host/performer/performer_file.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

using mien::BuiltInBasis;
using mien::LaidBasis;
using mien::LayBasis;
using mien::LoadBasis;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::ShapeBasis;

namespace {

/// The landmarks of a basis on a face that is turned by 10 degrees about x, then scaled and moved.
NeutralPose Landmarks(const ShapeBasis& basis) {
  NeutralPose rest;
  const double c = std::cos(0.1745), s = std::sin(0.1745);
  for (std::size_t i = 0; i < 68; ++i) {
    const Point& p = basis.rest[i];
    rest[basis.points[i]] = {0.9 * p.x + 3, 1.1 * (c * p.y - s * p.z) - 20, 1.2 * (s * p.y + c * p.z) + 7};
  }
  return rest;
}

const LaidBasis::Marker& MarkerOf(const LaidBasis& laid, const std::string& name) {
  return *std::find_if(laid.markers.begin(), laid.markers.end(),
                       [&](const auto& m) { return m.name == name; });
}

Point Moved(const LaidBasis& laid, const std::string& marker, const std::string& shape) {
  const auto m = static_cast<std::size_t>(&MarkerOf(laid, marker) - laid.markers.data());
  const auto s = static_cast<std::size_t>(std::find(laid.shapes.begin(), laid.shapes.end(), shape) -
                                          laid.shapes.begin());
  return laid.moved[m * laid.shapes.size() + s];
}

/// A performer with a marker on or between landmarks, as people stick them.
struct Stuck {
  Performer performer;
  NeutralPose rest;
};
Stuck StuckOn(const ShapeBasis& basis) {
  const NeutralPose landmarks = Landmarks(basis);
  Stuck stuck;
  stuck.performer.file = "p.json";
  const auto stick = [&](const std::string& name, std::size_t part, std::size_t holder, int a, int b) {
    const Point &p = landmarks.at(fmt::format("lm{}", a)), &q = landmarks.at(fmt::format("lm{}", b));
    stuck.rest[name] = {(p.x + q.x) / 2, (p.y + q.y) / 2, (p.z + q.z) / 2 + 1};
    stuck.performer.holders[part][holder].push_back(name);
  };
  stick("cornerL", 0, 0, 54, 54), stick("upper", 0, 1, 51, 51), stick("lower", 0, 2, 57, 57);
  stick("cornerR", 0, 3, 48, 48), stick("chin", 0, 4, 8, 8);
  stick("browInL", 1, 1, 22, 23), stick("browOutL", 1, 0, 25, 25);
  stick("browInR", 2, 1, 20, 21), stick("browOutR", 2, 0, 18, 18);
  stick("lidUpL", 3, 0, 43, 44), stick("lidLowL", 3, 1, 46, 47);
  stick("lidUpR", 4, 0, 37, 38), stick("lidLowR", 4, 1, 40, 41);
  stick("noseL", 7, 0, 35, 35), stick("noseR", 8, 0, 31, 31);
  return stuck;
}

} // namespace

TEST(LayBasis, LandmarksMoveAsTheyDoOnTheBasisScaledToTheFace) {
  const ShapeBasis basis = LoadBasis(BuiltInBasis::TwoHeads);
  const LaidBasis laid = LayBasis(basis, mien::LoadPerformer("landmarks68"), Landmarks(basis));
  EXPECT_EQ(laid.markers.size(), 62u) << "without the ends of the jaw's contour";
  EXPECT_NEAR(laid.scale.x, 0.9, 1e-3);
  EXPECT_NEAR(laid.scale.y, 1.1, 0.02);
  EXPECT_NEAR(laid.scale.z, 1.2, 0.03);
  EXPECT_LT(laid.distance_mm, 1);
  const Point chin = basis.Moved(8, 17), laid_chin = Moved(laid, "lm8", basis.shapes[17]);
  EXPECT_EQ(basis.shapes[17], "jawOpen");
  EXPECT_NEAR(laid_chin.x, 0.9 * chin.x, 0.1);
  EXPECT_NEAR(laid_chin.y, 1.1 * (std::cos(0.1745) * chin.y - std::sin(0.1745) * chin.z), 0.5);
}

TEST(LayBasis, MarkersOfUnknownPlacesMoveLikeTheSkinUnderThem) {
  const ShapeBasis basis = LoadBasis(BuiltInBasis::OneHead);
  const auto& [performer, rest] = StuckOn(basis);
  const LaidBasis laid = LayBasis(basis, performer, rest);
  EXPECT_EQ(laid.markers.size(), rest.size());
  EXPECT_LT(laid.distance_mm, 4);
  EXPECT_LT(Moved(laid, "chin", "jawOpen").y, -15);
  EXPECT_GT(Moved(laid, "cornerL", "mouthSmileLeft").y, 2);
  EXPECT_LT(std::abs(Moved(laid, "cornerR", "mouthSmileLeft").y), 3);
  EXPECT_GT(Moved(laid, "browInL", "browInnerUp").y, 2);
  EXPECT_GT(Moved(laid, "noseR", "noseSneerRight").y, 1);
}

// A few millimetres apart, lids and lips move in opposite directions.
TEST(LayBasis, ALidTakesNothingFromTheOtherLid) {
  const ShapeBasis basis = LoadBasis(BuiltInBasis::OneHead);
  auto [performer, rest] = StuckOn(basis);
  // Eyes nearly closed: the upper marker is nearer to the lower lid's skin than to its own.
  for (const char* side : {"L", "R"})
    rest[std::string("lidUp") + side].y = rest[std::string("lidLow") + side].y + 1;
  const LaidBasis laid = LayBasis(basis, performer, rest);
  EXPECT_LT(Moved(laid, "lidUpL", "eyeBlinkLeft").y, -4);
  EXPECT_GT(Moved(laid, "lidLowL", "eyeBlinkLeft").y, -2);
  EXPECT_LT(Moved(laid, "lower", "jawOpen").y, Moved(laid, "upper", "jawOpen").y - 10);
}

TEST(LayBasis, KnowsTheRegionsThatTrackersShift) {
  const ShapeBasis basis = LoadBasis(BuiltInBasis::TwoHeads);
  const LaidBasis laid = LayBasis(basis, mien::LoadPerformer("landmarks68"), Landmarks(basis));
  EXPECT_EQ(MarkerOf(laid, "lm36").region, mien::FitRegion::RightEye);
  EXPECT_EQ(MarkerOf(laid, "lm47").region, mien::FitRegion::LeftEye);
  EXPECT_EQ(MarkerOf(laid, "lm48").region, mien::FitRegion::Mouth);
  EXPECT_EQ(MarkerOf(laid, "lm8").region, mien::FitRegion::None);
}

TEST(LayBasis, RefusesMarkersThatDoNotShowWhereTheFaceIs) {
  const ShapeBasis basis = LoadBasis(BuiltInBasis::OneHead);
  Stuck stuck = StuckOn(basis);
  for (std::size_t part = 1; part < 9; ++part) stuck.performer.holders[part] = {};
  stuck.performer.holders[0][3].clear(), stuck.performer.holders[0][4].clear();
  EXPECT_EQ(
      InputErrorOf([&] { LayBasis(basis, stuck.performer, stuck.rest); }),
      "p.json:/parts: the markers are on 3 of the places by which the face's shapes are laid onto it "
      "(corners of the mouth, lips, chin, brows, lids, nostrils); 4 are needed; name markers for more parts, "
      "or solve with --solver parts");
}
