#include "host/formats/gaze_columns.h"

#include "host/formats/read_take.h"
#include "host/formats/write_take.h"
#include "tests/host/input_error.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

using mien::CsvReader;
using mien::Gaze;
using mien::GazeAxes;
using mien::GazeColumns;
using mien::Point;
using mien::ReadTake;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char kEyes[] = "LeftEyeYaw,LeftEyePitch,RightEyeYaw,RightEyePitch";

Gaze ReadRow(const std::string& header, const std::string& row) {
  const std::string text = header + "\n" + row + "\n";
  CsvReader csv(text, "t.csv");
  const GazeColumns columns(csv);
  EXPECT_TRUE(csv.Next());
  return columns.Read(csv);
}

void ExpectPoint(const std::optional<Point>& p, const Point& expected) {
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, expected.x, 1e-15);
  EXPECT_NEAR(p->y, expected.y, 1e-15);
  EXPECT_NEAR(p->z, expected.z, 1e-15);
}

std::optional<GazeAxes> AxesOf(const std::string& header) {
  const std::string text = header + "\n";
  const CsvReader csv(text, "t.csv");
  return GazeColumns(csv).Axes();
}

} // namespace

TEST(GazeColumns, AreFoundOnlyTogether) {
  EXPECT_EQ(AxesOf("frame,gaze_angle_x,gaze_angle_y"), GazeAxes::Take);
  EXPECT_EQ(AxesOf(std::string("frame,") + kEyes), GazeAxes::Head);
  EXPECT_EQ(AxesOf(std::string("gaze_angle_x,gaze_angle_y,") + kEyes), GazeAxes::Head);
  EXPECT_EQ(AxesOf("frame,gaze_angle_x"), std::nullopt);
  EXPECT_EQ(AxesOf("frame,LeftEyeYaw,LeftEyePitch,RightEyeYaw"), std::nullopt);
}

// x to the image's right is the left of a performer who looks at the camera; y is down.
TEST(GazeColumns, ACamerasAnglesAreDirectionsInTheTakesAxes) {
  const double half = std::sqrt(0.5);
  const Gaze left = ReadRow("gaze_angle_x,gaze_angle_y", "0.78539816339744831,0");
  ExpectPoint(left.left, {half, 0, half});
  ExpectPoint(left.right, {half, 0, half});
  ExpectPoint(ReadRow("gaze_angle_x,gaze_angle_y", "0,0.78539816339744831").left, {0, -half, half});
}

TEST(GazeColumns, AnAppsYawIsPositiveToTheRightAndItsPitchDown) {
  const Gaze gaze = ReadRow(kEyes, "0.5,0,0,0.25");
  ExpectPoint(gaze.left, {-std::sin(0.5), 0, std::cos(0.5)});
  ExpectPoint(gaze.right, {0, -std::sin(0.25), std::cos(0.25)});
}

TEST(GazeColumns, WhatIsNotAnAngleOfAnEyeIsNotADirection) {
  for (const char* row : {",0", "NaN,0", "0,inf", "1.5,0", "0,-90"})
    EXPECT_FALSE(ReadRow("gaze_angle_x,gaze_angle_y", row).left) << row;
  const Gaze gaze = ReadRow(kEyes, "0.1,0.2,,0.2");
  EXPECT_TRUE(gaze.left);
  EXPECT_FALSE(gaze.right);
  EXPECT_THAT(InputErrorOf([] { ReadRow(kEyes, "0.1,0.2,left,0.2"); }),
              HasSubstr("write radians, such as 0.1"));
}

TEST(GazeColumns, AreReadBesideMarkersBeforeAndBehindThem) {
  for (const char* text :
       {"frame,time,gaze_angle_x,gaze_angle_y,A.x,A.y,A.z\n1,0,0.5,0,1,2,3\n2,0.1,,,1,2,3\n",
        "frame,time,A.x,A.y,A.z,gaze_angle_x,gaze_angle_y\n1,0,1,2,3,0.5,0\n2,0.1,1,2,3,,\n"}) {
    const Take take = ReadTake(text, "t.csv");
    EXPECT_THAT(take.markers, ElementsAre("A"));
    ASSERT_EQ(take.gaze.size(), 2u);
    ExpectPoint(take.gaze[0].left, {std::sin(0.5), 0, std::cos(0.5)});
    EXPECT_FALSE(take.gaze[1].left);
    EXPECT_EQ(take.At(0, 0)->y, 2);
  }
}

TEST(GazeColumns, SortedRowsKeepTheirs) {
  const Take take =
      ReadTake("frame,time,gaze_angle_x,gaze_angle_y,A.x,A.y,A.z\n2,0.1,,,1,2,3\n1,0,0.5,0,4,5,6\n", "t.csv");
  ASSERT_EQ(take.gaze.size(), 2u);
  EXPECT_TRUE(take.gaze[0].left);
  EXPECT_FALSE(take.gaze[1].left);
}

TEST(GazeColumns, SurviveMarkerCsvAndAreReportedLostElsewhere) {
  for (const char* columns : {"gaze_angle_x,gaze_angle_y", kEyes}) {
    const bool camera = std::string(columns).starts_with("gaze");
    const Take take =
        ReadTake(fmt::format("frame,time,{},A.x,A.y,A.z\n1,0,{},1,2,3\n2,0.1,{},1,2,3\n", columns,
                             camera ? "0.3,-0.2" : "0.3,-0.2,0.1,0.4", camera ? "," : ",,0.1,0.2"),
                 "t.csv");
    std::ostringstream csv;
    WriteTake(take, mien::TakeFormat::MarkerCsv, csv);
    const Take again = ReadTake(csv.str(), "again.csv");
    EXPECT_THAT(WhatWasLost(take, again), IsEmpty());
    ASSERT_EQ(again.gaze.size(), 2u);
    ExpectPoint(again.gaze[0].left, *take.gaze[0].left);
    ExpectPoint(again.gaze[0].right, *take.gaze[0].right);
    EXPECT_FALSE(again.gaze[1].left);
    EXPECT_EQ(again.gaze[1].right.has_value(), !camera);

    std::ostringstream trc;
    WriteTake(take, mien::TakeFormat::Trc, trc);
    const auto lost = WhatWasLost(take, ReadTake(trc.str(), "t.trc"));
    EXPECT_TRUE(std::any_of(lost.begin(), lost.end(), [](const mien::Note& note) {
      return note.what == "where the eyes look is left out";
    }));
  }
}
