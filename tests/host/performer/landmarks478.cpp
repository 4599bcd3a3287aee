#include "host/performer/landmarks478.h"

#include "host/base/face_parts.h"
#include "host/performer/performer_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

using mien::LoadPerformer;
using mien::Performer;
using mien::Point;
using testing::Contains;
using testing::Not;
using testing::UnorderedElementsAreArray;

namespace {

/// A point of the mesh's canonical face, on the right or in the middle, and its mirror image.
struct MeshPoint {
  int index, mirror;
  Point place; ///< millimetres; x to the face's left, y up, z out of the face
};

// Rounded from the mesh's published model (Apache-2.0).
constexpr MeshPoint kRightHalf[] = {
    {4, 4, {0.0, -4.6, 75.9}},        {5, 5, {0.0, 3.7, 72.4}},         {6, 6, {0.0, 24.7, 57.9}},
    {10, 10, {0.0, 82.6, 44.8}},      {13, 13, {0.0, -39.9, 52.2}},     {14, 14, {0.0, -45.4, 54.0}},
    {21, 251, {-70.9, 54.3, 1.0}},    {33, 263, {-44.5, 26.6, 31.7}},   {50, 280, {-47.7, -7.0, 35.3}},
    {52, 282, {-37.4, 45.1, 45.5}},   {54, 284, {-62.8, 66.2, 14.3}},   {61, 291, {-24.6, -43.4, 42.8}},
    {64, 294, {-15.9, -12.6, 54.6}},  {65, 295, {-26.4, 45.2, 49.2}},   {66, 296, {-27.6, 51.0, 50.2}},
    {67, 297, {-35.2, 80.1, 37.3}},   {81, 311, {-10.2, -39.9, 49.3}},  {82, 312, {-5.3, -39.9, 51.4}},
    {87, 317, {-5.8, -45.2, 53.4}},   {103, 332, {-51.3, 74.9, 26.6}},  {105, 334, {-39.9, 51.1, 44.7}},
    {109, 338, {-18.9, 82.4, 42.8}},  {117, 346, {-52.6, 9.5, 29.7}},   {118, 347, {-44.3, 7.2, 35.2}},
    {127, 356, {-77.4, 23.6, -20.1}}, {129, 358, {-17.9, -9.8, 48.5}},  {133, 362, {-18.6, 25.9, 37.6}},
    {144, 373, {-36.7, 23.6, 36.4}},  {145, 374, {-31.8, 22.9, 37.8}},  {147, 376, {-62.3, -19.4, 16.6}},
    {153, 380, {-27.2, 23.2, 37.8}},  {158, 385, {-27.2, 29.6, 38.7}},  {159, 386, {-31.8, 29.6, 38.8}},
    {160, 387, {-36.7, 29.3, 37.2}},  {162, 389, {-75.6, 41.1, -9.9}},  {168, 168, {0.0, 32.7, 52.4}},
    {178, 402, {-11.0, -44.6, 51.2}}, {187, 411, {-52.8, -22.4, 28.6}}, {195, 195, {0.0, 10.6, 67.7}},
    {197, 197, {0.0, 17.3, 63.2}},    {207, 427, {-43.9, -26.8, 36.4}}, {234, 454, {-76.6, 6.7, -24.4}}};

std::string Marker(int index) { return "lm" + std::to_string(index); }

std::map<std::string, Point> CanonicalFace() {
  std::map<std::string, Point> face;
  for (const auto& [index, mirror, p] : kRightHalf) {
    face[Marker(mirror)] = {-p.x, p.y, p.z};
    face[Marker(index)] = p;
  }
  return face;
}

std::vector<std::string> Mirrored(std::vector<std::string> markers) {
  for (std::string& marker : markers)
    for (const MeshPoint& point : kRightHalf)
      if (marker == Marker(point.index) || marker == Marker(point.mirror)) {
        marker = Marker(marker == Marker(point.index) ? point.mirror : point.index);
        break;
      }
  return markers;
}

constexpr mien::FacePart kLeftParts[] = {mien::kLeftBrow, mien::kLeftEye, mien::kLeftCheek,
                                         mien::kLeftNostril};

class Landmarks478 : public testing::Test {
protected:
  const std::vector<std::string>& Holder(std::size_t part, std::size_t holder = 0) const {
    return performer_.holders[part][holder];
  }

  double Height(const std::vector<std::string>& markers) const {
    double sum = 0;
    for (const std::string& marker : markers) sum += face_.at(marker).y;
    return sum / static_cast<double>(markers.size());
  }

  const Performer performer_ = LoadPerformer("landmarks478");
  const std::map<std::string, Point> face_ = CanonicalFace();
};

} // namespace

TEST_F(Landmarks478, UsesPointsThatFilesWithoutIrisesHaveTooAndTheIrises) {
  EXPECT_THAT(performer_.irises[0], testing::ElementsAre("lm473", "lm474", "lm475", "lm476", "lm477"));
  EXPECT_THAT(performer_.irises[1], testing::ElementsAre("lm468", "lm469", "lm470", "lm471", "lm472"));
  mien::Performer without_irises = performer_;
  without_irises.irises = {};
  for (const std::string& marker : without_irises.Markers()) {
    ASSERT_TRUE(face_.contains(marker)) << marker;
    EXPECT_LT(std::stoi(marker.substr(2)), 468);
  }
}

TEST_F(Landmarks478, DrivesAllNineParts) {
  for (std::size_t part = 0; part < performer_.holders.size(); ++part)
    EXPECT_TRUE(std::any_of(performer_.holders[part].begin(), performer_.holders[part].end(),
                            [](const auto& holder) { return !holder.empty(); }))
        << part;
}

TEST_F(Landmarks478, LeftIsTheSubjectsLeft) {
  for (const std::size_t part : kLeftParts)
    for (const auto& holder : performer_.holders[part])
      for (const std::string& marker : holder) EXPECT_GT(face_.at(marker).x, 5) << marker;
  for (const std::string& marker : Holder(mien::kMouth, mien::kLeftMouthHolder))
    EXPECT_GT(face_.at(marker).x, 20);
}

TEST_F(Landmarks478, BothSidesAreMirrorImages) {
  for (const std::size_t left : kLeftParts) {
    for (std::size_t h = 0; h < performer_.holders[left].size(); ++h)
      EXPECT_EQ(Mirrored(Holder(left, h)), Holder(left + 1, h)) << left;
    EXPECT_THAT(Mirrored(performer_.anchors[left]), UnorderedElementsAreArray(performer_.anchors[left + 1]));
  }
  EXPECT_EQ(Mirrored(Holder(mien::kMouth, mien::kLeftMouthHolder)),
            Holder(mien::kMouth, mien::kRightMouthHolder));
  for (const std::size_t lip : {mien::kUpperMouthHolder, mien::kLowerMouthHolder})
    EXPECT_THAT(Mirrored(Holder(mien::kMouth, lip)), UnorderedElementsAreArray(Holder(mien::kMouth, lip)));
  EXPECT_THAT(Mirrored(performer_.rigid), UnorderedElementsAreArray(performer_.rigid));
  EXPECT_THAT(Mirrored(performer_.head), UnorderedElementsAreArray(performer_.head));
}

TEST_F(Landmarks478, LidsAreBetweenTheCornersUpperOverLower) {
  const std::vector<std::string>& corners = performer_.anchors[mien::kLeftEye];
  ASSERT_EQ(corners.size(), 2u);
  const double outer = face_.at(corners[0]).x, inner = face_.at(corners[1]).x;
  EXPECT_GT(outer, inner);
  for (const std::size_t lid : {mien::kUpperEyeHolder, mien::kLowerEyeHolder})
    for (const std::string& marker : Holder(mien::kLeftEye, lid)) {
      EXPECT_LT(face_.at(marker).x, outer) << marker;
      EXPECT_GT(face_.at(marker).x, inner) << marker;
    }
  for (const std::string& upper : Holder(mien::kLeftEye, mien::kUpperEyeHolder))
    for (const std::string& lower : Holder(mien::kLeftEye, mien::kLowerEyeHolder))
      EXPECT_GT(face_.at(upper).y, face_.at(lower).y + 4);
}

TEST_F(Landmarks478, PartsAreOneBelowTheOther) {
  const double brow = Height(Holder(mien::kLeftBrow)),
               upper_lid = Height(Holder(mien::kLeftEye, mien::kUpperEyeHolder)),
               lower_lid = Height(Holder(mien::kLeftEye, mien::kLowerEyeHolder)),
               nostril = Height(Holder(mien::kLeftNostril)),
               upper_lip = Height(Holder(mien::kMouth, mien::kUpperMouthHolder)),
               lower_lip = Height(Holder(mien::kMouth, mien::kLowerMouthHolder));
  EXPECT_GT(brow, upper_lid + 10);
  EXPECT_GT(lower_lid, Height(Holder(mien::kLeftCheek)) + 10);
  EXPECT_GT(lower_lid, nostril + 20);
  EXPECT_GT(nostril, upper_lip + 10);
  EXPECT_GT(upper_lip, lower_lip);
}

TEST_F(Landmarks478, LipsAreBetweenTheCornersOfTheMouth) {
  for (const std::size_t lip : {mien::kUpperMouthHolder, mien::kLowerMouthHolder})
    for (const std::string& marker : Holder(mien::kMouth, lip)) {
      EXPECT_LT(face_.at(marker).x, face_.at(Holder(mien::kMouth, mien::kLeftMouthHolder)[0]).x);
      EXPECT_GT(face_.at(marker).x, face_.at(Holder(mien::kMouth, mien::kRightMouthHolder)[0]).x);
    }
}

TEST_F(Landmarks478, RigidPointsDriveNoPartAndAreAboveTheNostrils) {
  const std::vector<std::string> drives = performer_.FaceMarkers();
  for (const std::string& marker : performer_.rigid) {
    EXPECT_THAT(drives, Not(Contains(marker)));
    EXPECT_GT(face_.at(marker).y, Height(Holder(mien::kLeftNostril))) << marker << " moves with the jaw";
  }
  for (const std::string& marker : performer_.head) EXPECT_THAT(performer_.rigid, Contains(marker));
}
