#include "host/formats/csv_frames.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

using mien::CsvFrames;
using mien::CsvReader;
using mien::Take;
using testing::ElementsAre;

namespace {

// The take of a table "frame,time" with these rows.
Take FramesOf(const std::string& rows) {
  const std::string text = "frame,time\n" + rows;
  CsvReader csv(text, "t.csv");
  CsvFrames frames(0, 1);
  Take take;
  while (csv.Next()) frames.AddFrame(csv, take);
  frames.SetRate(csv, take);
  return take;
}

std::string ErrorOf(const std::string& rows) {
  return InputErrorOf([&] { FramesOf(rows); });
}

} // namespace

TEST(CsvFrames, FramesAndTimesAreThoseOfTheColumns) {
  const Take take = FramesOf("-2,10.5\n-1,10.75\n0,11\n5,12.25\n");
  EXPECT_THAT(take.frames, ElementsAre(-2, -1, 0, 5));
  EXPECT_THAT(take.times, ElementsAre(10.5, 10.75, 11, 12.25));
  EXPECT_EQ(take.rate.Hz(), 4);
}

TEST(CsvFrames, RowsAreNumberedFromOneWithoutAFrameColumn) {
  CsvReader csv("time\n0\n0.5\n1\n", "t.csv");
  CsvFrames frames(std::nullopt, 0);
  Take take;
  for (std::size_t row = 0; csv.Next(); ++row) EXPECT_EQ(frames.AddFrame(csv, take), row);
  frames.SetRate(csv, take);
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_EQ(take.rate.Hz(), 2);
}

TEST(CsvFrames, TheDecimalsOfTheTimesTellHowFarTheRateIsKnown) {
  EXPECT_EQ(FramesOf("1,0.00\n2,0.04\n3,0.07\n").rate.Hz(), 30); // 28.6 Hz, give or take 4
  EXPECT_EQ(FramesOf("1,0.00000\n2,0.03500\n3,0.07000\n").rate, (mien::FrameRate{200, 7}));
}

TEST(CsvFrames, FaultsNameLineAndColumn) {
  EXPECT_EQ(ErrorOf("1,0\n2,1\n2,2\n"), "t.csv:4: column \"frame\": frame 2 comes after frame 2; sort the "
                                        "rows by frame, one row per frame; give each recording its own file");
  EXPECT_EQ(
      ErrorOf("1,0.5\n2,0.25\n"),
      "t.csv:3: column \"time\": the time 0.25 s comes after 0.5 s; give each row a later time than the "
      "row before, in seconds, with enough decimals to tell them apart");
  EXPECT_EQ(ErrorOf("1,0\n2,00:01\n"),
            "t.csv:3: column \"time\": \"00:01\" is not a number; write a plain number, such as 12.5");
  EXPECT_EQ(ErrorOf("1,\n"),
            "t.csv:2: column \"time\": the field is empty; write a plain number, such as 12.5");
}

TEST(CsvFrames, FaultsOfAllRowsNameTheLastLine) {
  EXPECT_EQ(ErrorOf(""), "t.csv:1: there are no frames, only a header; export the take again with its rows");
  EXPECT_EQ(ErrorOf("1,0\n2,4.9406564584124654e-324\n"),
            "t.csv:3: times from 0 s to 5e-324 s give no frame rate; write the times in seconds");
}

TEST(CsvFrames, FaultsHaveTheirCodes) {
  const auto problem = [](const std::string& rows) { return ProblemOf([&] { FramesOf(rows); }); };
  EXPECT_EQ(problem("1,0\n1,2\n"), "wrong-order at 3");
  EXPECT_EQ(problem("1,0\n2,0\n"), "wrong-order at 3");
  EXPECT_EQ(problem(""), "empty at 1");
  EXPECT_EQ(problem("1,0\n2,4.9406564584124654e-324\n"), "invalid-value at 3");
}
