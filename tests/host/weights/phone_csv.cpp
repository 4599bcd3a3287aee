#include "host/weights/phone_csv.h"

#include "host/animation/livelink_csv.h"
#include "host/formats/csv.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using mien::ReadPhoneCsv;
using mien::WeightTake;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string kHeader = "Timecode,BlendShapeCount,EyeBlinkLeft,JawOpen\n";

WeightTake Read(const std::string& rows, const std::string& header = kHeader) {
  return ReadPhoneCsv(header + rows, "w.csv");
}

} // namespace

TEST(PhoneCsv, TimeIsTheTimecodesOfSixtyCountsWithTheirFractions) {
  const WeightTake take = Read("13:13:04:31.500,2,0.25,0\n13:13:04:33.500,2,0.5,1.053\n"
                               "13:13:04:35.500,2,0.75,0\n");
  EXPECT_THAT(take.names, ElementsAre("eyeBlinkLeft", "jawOpen"));
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.times, ElementsAre(0, 2.0 / 60, 4.0 / 60));
  EXPECT_THAT(take.weights, ElementsAre(0.25, 0, 0.5, 1.053, 0.75, 0)); // values above 1 stay
  EXPECT_EQ(take.rate, (mien::FrameRate{30, 1}));
  EXPECT_EQ(ToText(*take.timecode), "13:13:04:31@60");
  EXPECT_EQ(take.timecode_offset_s, 0.5 / 60);
}

TEST(PhoneCsv, DroppedRowsSkipNumbersAndAreNoted) {
  const WeightTake take = Read("10:00:00:00.000,2,0,0\n10:00:00:02.000,2,0,0\n10:00:00:06.000,2,0,0\n"
                               "10:00:00:08.000,2,0,0\n10:00:00:10.000,2,0,0\n");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 4, 5, 6));
  EXPECT_THAT(take.notes,
              testing::Contains(IsNote(mien::Code::Missing, "", "frames missing: 1 after frame 2")));
}

TEST(PhoneCsv, TimesContinuePastMidnight) {
  const WeightTake take = Read("23:59:59:58.000,2,0,0\n00:00:00:00.000,2,0,0\n00:00:00:02.000,2,0,0\n");
  EXPECT_THAT(take.times, ElementsAre(0, 2.0 / 60, 4.0 / 60));
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
}

TEST(PhoneCsv, ColumnsAreFoundByNameInAnySpellingAndOrder) {
  const WeightTake take = Read("0.1,10:00:00:00.0,0.2,3,0.3\n0.4,10:00:00:01.0,0.5,3,0.6\n",
                               "mouthRight,TIMECODE,mouth_left,blendshapecount,eyeBlink_L\n");
  EXPECT_THAT(take.names, ElementsAre("mouthRight", "mouthLeft", "eyeBlinkLeft"));
  EXPECT_THAT(take.weights, ElementsAre(0.1, 0.2, 0.3, 0.4, 0.5, 0.6));
}

TEST(PhoneCsv, AnglesTurnTheHeadToItsLeftAndTheEyesToTheirRight) {
  const std::string header = "Timecode,BlendShapeCount,JawOpen,HeadYaw,HeadPitch,HeadRoll,LeftEyeYaw,"
                             "LeftEyePitch,LeftEyeRoll,RightEyeYaw,RightEyePitch,RightEyeRoll\n";
  const WeightTake take = Read("10:00:00:00.0,10,0,0.1,0.2,0.3,0.4,0.5,0,-0.6,-0.7,0\n", header);
  EXPECT_EQ(take.heads[0].yaw, 0.1);
  EXPECT_EQ(take.heads[0].pitch, 0.2);
  EXPECT_EQ(take.heads[0].roll, 0.3);
  EXPECT_EQ(take.eyes[0][0], (mien::EyeAngles{.yaw = -0.4, .pitch = 0.5}));
  EXPECT_EQ(take.eyes[0][1], (mien::EyeAngles{.yaw = 0.6, .pitch = -0.7}));
  EXPECT_THAT(take.names, ElementsAre("jawOpen"));
  const auto roll = testing::Contains(IsNote(mien::Code::Ignored, "", "the eyes' roll is ignored"));
  EXPECT_THAT(take.notes, testing::Not(roll));
  EXPECT_THAT(Read("10:00:00:00.0,10,0,0,0,0,0,0,0,0,0,0.1\n", header).notes, roll);

  const WeightTake degrees = Read("10:00:00:00.0,10,0,90,0,0,18,0,0,0,0,0\n", header);
  EXPECT_DOUBLE_EQ(degrees.heads[0].yaw, std::acos(0.0));
  EXPECT_DOUBLE_EQ(degrees.eyes[0][0].yaw, -std::acos(0.0) / 5);
  EXPECT_THAT(degrees.notes, testing::Contains(IsNote(mien::Code::Assumed, "",
                                                      "angles of the eyes go up to 18: too large")));
}

TEST(PhoneCsv, FewerColumnsThanCountedAndMissingShapesAreNoted) {
  const WeightTake take = Read("10:00:00:00.0,61,0,0\n");
  EXPECT_THAT(take.notes,
              testing::IsSupersetOf(
                  {IsNote(mien::Code::Contradiction, "line 2",
                          "\"BlendShapeCount\" says 61, and the table has 2 columns of shapes and angles"),
                   IsNote(mien::Code::Missing, "", "2 of the 52 shapes; missing: eyeLookDownLeft")}));
}

TEST(PhoneCsv, CellsWithoutANumberAreMissingAndRowsOfTheSameTimeLeftOut) {
  const WeightTake take = Read("10:00:00:00.0,2,,0.5\n10:00:00:00.0,2,0.9,0.9\n10:00:00:01.0,2,nan,0.25\n");
  EXPECT_EQ(take.frames.size(), 2U);
  EXPECT_TRUE(std::isnan(take.Weight(0, 0)));
  EXPECT_TRUE(std::isnan(take.Weight(1, 0)));
  EXPECT_EQ(take.Weight(1, 1), 0.25);
  EXPECT_THAT(take.notes, testing::Contains(IsNote(mien::Code::Order, "line 3", "1 row at the time")));
}

TEST(PhoneCsv, TimecodesThatCannotBeAreRefusedWithTheirLine) {
  const auto error = [](const std::string& rows) { return InputErrorOf([&] { Read(rows); }); };
  EXPECT_THAT(
      error("10:00:00:60.0,2,0,0\n10:00:00:61.0,2,0,0\n"),
      HasSubstr("w.csv:2: column \"Timecode\": \"10:00:00:60.0\" is not a timecode; write HH:MM:SS:FF.fff"));
  EXPECT_THAT(error("10:00:02:00.0,2,0,0\n10:00:01:00.0,2,0,0\n10:00:03:00.0,2,0,0\n"),
              HasSubstr("w.csv:3: column \"Timecode\": the timecode \"10:00:01:00.0\" is 1 s before"));
  EXPECT_THAT(error(""), HasSubstr("there are no frames"));
}

TEST(PhoneCsv, EveryTruncationIsReadOrRefused) {
  const std::string text = kHeader + "10:00:00:00.125,2,0.25,0.5\n10:00:00:02.125,2,0.5,0.75\n";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    const std::string cut = text.substr(0, length);
    if (!mien::IsPhoneCsv(mien::CsvColumns(cut))) continue;
    try {
      const WeightTake take = ReadPhoneCsv(cut, "w.csv");
      EXPECT_EQ(take.weights.size(), take.frames.size() * take.names.size()) << length;
      EXPECT_EQ(take.times.size(), take.frames.size()) << length;
      EXPECT_GE(take.frames.size(), 1U) << length;
    } catch (const mien::InputError&) { EXPECT_LT(length, text.size() - 1); }
  }
}

TEST(PhoneCsv, WhatOurWriterWritesReadsBackWithinItsDigits) {
  mien::Animation animation;
  animation.layout.templates = {};
  animation.layout.shapes = {"jawOpen", "mouthSmile_L", "tongueOut"};
  animation.layout.timecode = mien::Timecode{.count = 3600 * 60, .rate = {60, 1}};
  for (int f = 0; f < 4; ++f) {
    animation.frames.push_back(f + 1);
    animation.times.push_back(f / 30.0);
    for (const double weight : {0.123456789012, 1.5, f / 7.0}) animation.shape_weights.push_back(weight);
    animation.eyes.push_back({mien::EyeAngles{0.25, -0.125}, mien::EyeAngles{-0.5, 0.0625}});
  }
  animation.heads.resize(4);
  std::ostringstream out;
  mien::LiveLinkCsvWriter writer(animation.layout, out);
  Write(animation, writer);
  const WeightTake take = ReadPhoneCsv(out.str(), "w.csv");
  ASSERT_EQ(take.names.size(), 52U);
  constexpr double kDigits = 0.5e-10;
  for (std::size_t f = 0; f < 4; ++f) {
    EXPECT_NEAR(take.times[f], animation.times[f], 0.5e-3 / 60 * 2);
    for (const auto& [name, shape] :
         {std::pair("jawOpen", 0U), std::pair("mouthSmileLeft", 1U), std::pair("tongueOut", 2U)}) {
      const auto at = std::find(take.names.begin(), take.names.end(), name) - take.names.begin();
      EXPECT_NEAR(take.Weight(f, static_cast<std::size_t>(at)), animation.ShapeWeight(f, shape), kDigits);
    }
    EXPECT_EQ(take.eyes[f], animation.eyes[f]);
  }
  EXPECT_EQ(take.timecode, animation.layout.timecode);
  EXPECT_THAT(take.notes, IsEmpty());
}
