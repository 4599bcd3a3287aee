#include "host/formats/csv_frames.h"

#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using mien::Code;
using mien::CorrectedNames;
using mien::CsvFrames;
using mien::CsvReader;
using mien::FrameRate;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The take of a table, each marker "m" with the number in the column "x", if it has one.
Take ReadTable(const std::string& text, const std::optional<FrameRate>& input_rate = std::nullopt,
               std::vector<std::size_t>* order = nullptr) {
  CsvReader csv(text, "t.csv");
  CorrectedNames corrected;
  CsvFrames frames(csv, FindFrameColumns(csv, "time", corrected), input_rate);
  Take take({"m"});
  corrected.AppendTo(take.notes, csv);
  const std::optional<std::size_t> x = csv.Column("x");
  while (csv.Next()) {
    try {
      const std::size_t frame = frames.AddFrame(csv, take);
      if (x) take.Set(frame, 0, {csv.Number(*x), 0, 0});
    } catch (const mien::InputError&) {
      if (!frames.LeaveOutIfCut(csv, take)) throw;
    }
  }
  const std::vector<std::size_t> places = frames.Finish(csv, take);
  if (order) *order = places;
  return take;
}

// The take of a table "frame,time" with these rows.
Take FramesOf(const std::string& rows) { return ReadTable("frame,time\n" + rows); }

std::string ErrorOf(const std::string& rows) {
  return InputErrorOf([&] { FramesOf(rows); });
}

std::vector<double> Xs(const Take& take) {
  std::vector<double> xs;
  for (std::size_t f = 0; f < take.FrameCount(); ++f) xs.push_back(take.At(f, 0) ? take.At(f, 0)->x : -1);
  return xs;
}

} // namespace

TEST(CsvFrames, FramesAndTimesAreThoseOfTheColumns) {
  const Take take = FramesOf("-2,10.5\n-1,10.75\n0,11\n5,12.25\n");
  EXPECT_THAT(take.frames, ElementsAre(-2, -1, 0, 5));
  EXPECT_THAT(take.times, ElementsAre(10.5, 10.75, 11, 12.25));
  EXPECT_EQ(take.rate.Hz(), 4);
}

TEST(CsvFrames, RowsAreNumberedFromOneWithoutAFrameColumn) {
  const Take take = ReadTable("time\n0\n0.5\n1\n");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_EQ(take.rate.Hz(), 2);
  EXPECT_THAT(take.notes, ElementsAre("no column \"frame\"; the rows are numbered from 1"));
}

TEST(CsvFrames, AFrameColumnThatNeverChangesIsReplacedByACount) {
  for (const char* number : {"0", "1", "-7"}) {
    const Take take = FramesOf(fmt::format("{0},0\n{0},0.5\n{0},1\n", number));
    EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
    EXPECT_THAT(take.times, ElementsAre(0, 0.5, 1));
    EXPECT_THAT(take.notes, ElementsAre(fmt::format("column \"frame\": {} in every row; the rows are "
                                                    "numbered from 1",
                                                    number)));
  }
  EXPECT_THAT(FramesOf("7,0\n").frames, ElementsAre(7)) << "one row's number is not a constant";
  // Only what is constant is of no use: a number that stays for a while stands in a wrong row.
  EXPECT_EQ(ProblemOf([] { FramesOf("1,0\n1,0.5\n2,1\n"); }), "wrong-order at 3");
  EXPECT_EQ(ProblemOf([] { ReadTable("frame\n1\n1\n"); }), "wrong-order at 3") << "no times to go by";
}

TEST(CsvFrames, NamesOfFramesAndTimesAreKnownHoweverTheyAreWritten) {
  for (const char* name : {"frame", "Frame", "FRAME#", "Frame #", "frame_num", "frame_number", "Frame No.",
                           "frameIndex", "frame id"})
    EXPECT_TRUE(mien::NamesFrames(name)) << name;
  for (const char* name : {"", "frames", "framerate", "time", "keyframe", "frame.x"})
    EXPECT_FALSE(mien::NamesFrames(name)) << name;
  for (const char* name : {"time", "Time", "TIMESTAMP", "time_s", "Time (s)", "time [sec]", "timestamp_sec",
                           "Time in s", "time (seconds)"})
    EXPECT_EQ(mien::UnitsPerSecond(name),
              std::string(name) == "Time in s" ? std::nullopt : std::optional(1.0))
        << name;
  for (const char* name :
       {"time_ms", "Time (ms)", "timestamp_ms", "timestampMS", "time msec", "time_milliseconds"})
    EXPECT_EQ(mien::UnitsPerSecond(name), 1000) << name;
  for (const char* name : {"", "timecode", "time_us", "times x", "frame", "datetime", "s", "ms"})
    EXPECT_EQ(mien::UnitsPerSecond(name), std::nullopt) << name;
}

TEST(CsvFrames, CorrectedNamesAreNoted) {
  const Take take = ReadTable("x,Time (s),Frame#\n5,0,1\n6,0.5,2\n");
  EXPECT_THAT(take.frames, ElementsAre(1, 2));
  EXPECT_THAT(take.times, ElementsAre(0, 0.5));
  EXPECT_THAT(Xs(take), ElementsAre(5, 6));
  EXPECT_THAT(take.notes,
              ElementsAre(IsNote(Code::Syntax, "line 1",
                                 "column names corrected: column 3 from \"Frame#\" to \"frame\" and "
                                 "1 more")));
}

TEST(CsvFrames, MillisecondsBecomeSecondsToTheBit) {
  const Take take = ReadTable("frame,time_ms\n1,0\n2,33\n3,67\n4,100\n");
  EXPECT_THAT(take.times, ElementsAre(0, 0.033, 0.067, 0.1));
  EXPECT_EQ(take.rate.Hz(), 30) << "known to a millisecond: 29.9 to 30.1 Hz";
  EXPECT_THAT(take.notes,
              ElementsAre("line 1: column names corrected: column 2 from \"time_ms\" to \"time\" (in "
                          "milliseconds)"));
}

TEST(CsvFrames, OfSeveralTimesTheNamedOneCountsAndThenTheFirstInSeconds) {
  EXPECT_THAT(ReadTable("frame,time_ms,time_s,time\n1,1,2,3\n2,4,5,6\n").times, ElementsAre(3, 6));
  EXPECT_THAT(ReadTable("frame,time_ms,time_s,timestamp\n1,1,2,3\n2,4,5,6\n").times, ElementsAre(2, 5));
  EXPECT_THAT(ReadTable("frame,time_ms\n1,1000\n2,4000\n").times, ElementsAre(1, 4));
}

TEST(CsvFrames, TheDecimalsOfTheTimesLimitHowFarTheRateIsKnown) {
  EXPECT_EQ(FramesOf("1,0.00\n2,0.04\n3,0.07\n").rate.Hz(), 30); // 28.6 Hz, give or take 4
  EXPECT_EQ(FramesOf("1,0.00000\n2,0.03500\n3,0.07000\n").rate, (FrameRate{200, 7}));
}

TEST(CsvFrames, WithoutTimesTheRateIsTheUsersOrThirtyHertz) {
  const Take assumed = ReadTable("frame\n5\n6\n9\n");
  EXPECT_EQ(assumed.rate, (FrameRate{30, 1}));
  EXPECT_THAT(assumed.frames, ElementsAre(5, 6, 9));
  EXPECT_THAT(assumed.times, ElementsAre(0, 1 / 30.0, 4 / 30.0));
  EXPECT_THAT(assumed.notes, ElementsAre(IsNote(Code::Assumed, "", "no times; taken as 30 Hz (--input-rate)"),
                                         IsNote(Code::Missing, "", "frames missing: 2 after frame 6")));
  const Take named = ReadTable("frame\n5\n6\n9\n", FrameRate{30000, 1001});
  EXPECT_EQ(named.rate, (FrameRate{30000, 1001}));
  EXPECT_THAT(named.times, ElementsAre(0, 1001 / 30000.0, 4 * 1001 / 30000.0));
  EXPECT_THAT(named.notes, ElementsAre(IsNote(Code::Missing, "", "frames missing: 2 after frame 6")));
  const Take counted = ReadTable("x\n5\n6\n", FrameRate{25, 1});
  EXPECT_THAT(counted.frames, ElementsAre(1, 2));
  EXPECT_THAT(counted.times, ElementsAre(0, 0.04));
  EXPECT_THAT(counted.notes, ElementsAre("no column \"frame\"; the rows are numbered from 1"));
}

TEST(CsvFrames, ARateForATableWithTimesIsRefused) {
  EXPECT_EQ(
      InputErrorOf([] {
        ReadTable("frame,time\n1,0\n", FrameRate{25, 1});
      }),
      "t.csv: the file has times or a rate of its own; leave out --input-rate, which is for files without");
  EXPECT_EQ(ProblemOf([] { ReadTable("frame,time\n1,0\n", FrameRate{25, 1}); }), "usage at no place");
}

TEST(CsvFrames, FrameNumbersThatTimesCouldNotTellApartAreRefused) {
  EXPECT_EQ(ReadTable("frame\n0\n999999999999\n1000000000000\n").FrameCount(), 3u);
  EXPECT_EQ(InputErrorOf([] { ReadTable("frame\n0\n1000000000001\n"); }),
            "t.csv:3: the frames go from 0 to 1000000000001; number them without such gaps");
}

TEST(CsvFrames, RowsAreSortedByTimeWithANote) {
  std::vector<std::size_t> order;
  const Take take =
      ReadTable("x,frame,time\n30,3,1\n10,1,0\n\n20,2,0.5\n50,5,2\n40,4,1.5\n", std::nullopt, &order);
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(take.times, ElementsAre(0, 0.5, 1, 1.5, 2));
  EXPECT_THAT(Xs(take), ElementsAre(10, 20, 30, 40, 50));
  EXPECT_THAT(order, ElementsAre(1, 2, 0, 4, 3));
  EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Order, "line 3",
                                             "the time 0 s comes after 1 s; the rows are sorted by time")));
  ReadTable("x,frame,time\n10,1,0\n20,2,0.5\n", std::nullopt, &order);
  EXPECT_THAT(order, IsEmpty());
}

TEST(CsvFrames, SortedRowsWithoutNumbersAreCountedInTheirNewOrder) {
  const Take take = ReadTable("x,time\n3,1\n1,0\n2,0.5\n");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(Xs(take), ElementsAre(1, 2, 3));
  const Take constant = ReadTable("x,frame,time\n3,0,1\n1,0,0\n2,0,0.5\n");
  EXPECT_THAT(constant.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(Xs(constant), ElementsAre(1, 2, 3));
}

TEST(CsvFrames, WithoutTimesRowsAreSortedByFrame) {
  const Take take = ReadTable("x,frame\n12,12\n10,10\n11,11\n", FrameRate{10, 1});
  EXPECT_THAT(take.frames, ElementsAre(10, 11, 12));
  EXPECT_THAT(take.times, ElementsAre(0, 0.1, 0.2));
  EXPECT_THAT(Xs(take), ElementsAre(10, 11, 12));
  EXPECT_THAT(take.notes, ElementsAre("line 3: frame 10 comes after frame 12; the rows are sorted by frame"));
}

TEST(CsvFrames, NothingIsSortedWhereNumbersAndTimesContradictEachOther) {
  // Two recordings one after the other, and times that run against the frames.
  EXPECT_EQ(
      ErrorOf("1,0\n2,1\n1,0.01\n2,1.01\n"),
      "t.csv:4: column \"frame\": frame 1 comes after frame 2; give each frame one row, and each recording "
      "its own file");
  EXPECT_EQ(ErrorOf("1,0.5\n2,0.25\n"),
            "t.csv:3: column \"time\": the time 0.25 s comes after 0.5 s; give each row its own time, with "
            "enough decimals, and each recording its own file");
  EXPECT_EQ(ErrorOf("3,1\n1,0\n2,1\n"),
            "t.csv:3: column \"frame\": frame 1 comes after frame 3; give each frame "
            "one row, and each recording its own file");
}

TEST(CsvFrames, RecordingsOneAfterTheOtherAreNotMixed) {
  // At 30 Hz, 30 frames each; without frame numbers nothing shows which row belongs to which.
  const auto table = [](const std::vector<double>& starts, const char* header) {
    std::string text = header;
    for (const double start : starts)
      for (int frame = 0; frame < 30; ++frame)
        text += fmt::format("{}{:.4f}\n", std::string(header) == "time\n" ? "" : "0,", start + frame / 30.0);
    return text;
  };
  for (const char* header : {"time\n", "frame,time\n"})
    for (const std::vector<double>& starts : {std::vector<double>{0, 0.001}, {0, 0.5}, {0, 0.01, 0.02}})
      EXPECT_EQ(ProblemOf([&] { ReadTable(table(starts, header)); }), "wrong-order at 32") << starts[1];
  EXPECT_EQ(ReadTable(table({1, 0}, "time\n")).rate.Hz(), 30) << "the second part first";
}

TEST(CsvFrames, ARowThatComesLateIsSorted) {
  std::string rows;
  for (int frame = 0; frame < 60; ++frame)
    if (frame != 20) rows += fmt::format("{:.4f}\n{}", frame / 30.0, frame == 40 ? "0.6667\n" : "");
  const Take take = ReadTable("time\n" + rows);
  EXPECT_EQ(take.FrameCount(), 60u);
  EXPECT_EQ(take.rate.Hz(), 30);
  EXPECT_THAT(take.notes,
              ElementsAre("no column \"frame\"; the rows are numbered from 1",
                          "line 42: the time 0.6667 s comes after 1.3333 s; the rows are sorted by time"));
}

TEST(CsvFrames, ACutLastRowGivesNoFrame) {
  for (const char* end : {"3,1", "3,1,7e", "3,x", "3"}) {
    const Take take = ReadTable(std::string("frame,time,x\n1,0,5\n2,0.5,6\n") + end);
    EXPECT_THAT(take.frames, ElementsAre(1, 2)) << end;
    EXPECT_THAT(Xs(take), ElementsAre(5, 6));
  }
  EXPECT_EQ(ProblemOf([] { ReadTable("frame,time,x\n1,0,5\n2,0.5,6e\n3,1,7\n"); }), "invalid-value at 3");
  EXPECT_EQ(ProblemOf([] { ReadTable("frame,time,x\n1,0,5\n2,0.5,6e\n"); }), "invalid-value at 3");
}

TEST(CsvFrames, FaultsNameLineAndColumn) {
  EXPECT_EQ(ErrorOf("1,0\n2,1\n2,2\n"), "t.csv:4: column \"frame\": frame 2 comes after frame 2; give each "
                                        "frame one row, and each recording its own file");
  EXPECT_EQ(ErrorOf("1,0\n2,0.0\n"),
            "t.csv:3: column \"time\": the time 0 s comes after 0 s; give each row its "
            "own time, with enough decimals, and each recording its own file");
  EXPECT_EQ(ErrorOf("1,0\n2,00:01\n"),
            "t.csv:3: column \"time\": \"00:01\" is not a number; write a plain number, such as 12.5");
  EXPECT_EQ(ErrorOf("1,\n"),
            "t.csv:2: column \"time\": the field is empty; write a plain number, such as 12.5");
}

TEST(CsvFrames, FaultsOfAllRowsNameTheLastLine) {
  EXPECT_EQ(ErrorOf(""), "t.csv:1: there are no frames, only a header; export the take again with its rows");
  EXPECT_EQ(ErrorOf("1,0\n2,4.9406564584124654e-324\n"),
            "t.csv:3: times from 0 s to 5e-324 s give no frame rate; check their unit");
}

TEST(CsvFrames, FaultsHaveTheirCodes) {
  const auto problem = [](const std::string& rows) { return ProblemOf([&] { FramesOf(rows); }); };
  EXPECT_EQ(problem("1,0\n2,1\n2,2\n"), "wrong-order at 4");
  EXPECT_EQ(problem("1,0\n2,0\n"), "wrong-order at 3");
  EXPECT_EQ(problem(""), "empty at 1");
  EXPECT_EQ(problem("1,0\n2,4.9406564584124654e-324\n"), "invalid-value at 3");
}
