#include "host/takes/frame_times.h"

#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using mien::Code;
using mien::DecimalsOf;
using mien::FrameFault;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// What rows such as "12,0.400\n" make: the take, or where a fault was found, that.
struct Result {
  Take take;
  std::optional<FrameFault> fault;
};

Result Read(std::string rows) {
  Result result;
  int decimals = 0;
  while (!rows.empty()) {
    const std::size_t comma = rows.find(','), end = rows.find('\n');
    const std::string time = rows.substr(comma + 1, end - comma - 1);
    decimals = std::max(decimals, DecimalsOf(time));
    result.take.AddFrame(std::stoll(rows), std::stod(time));
    rows.erase(0, end + 1);
  }
  result.fault = SetRateByTimes(result.take, decimals);
  return result;
}

Take FramesOf(const std::string& rows) {
  const Result result = Read(rows);
  if (result.fault) throw std::logic_error(result.fault->what);
  return result.take;
}

// Rows of `count` frames from 1 at `rate`, times in seconds with `decimals` digits.
std::string Rows(int count, double rate, int decimals) {
  std::string rows;
  for (int i = 0; i < count; ++i) rows += fmt::format("{},{:.{}f}\n", i + 1, i / rate, decimals);
  return rows;
}

constexpr double kNtsc30 = 30 * 1000 / 1001.0;

} // namespace

TEST(FrameTimes, KeepsNumbersAndTimesOfTheFile) {
  const Take take = FramesOf("-2,10.5\n-1,10.75\n0,11\n5,12.25\n");
  EXPECT_THAT(take.frames, ElementsAre(-2, -1, 0, 5));
  EXPECT_THAT(take.times, ElementsAre(10.5, 10.75, 11, 12.25));
  EXPECT_EQ(take.rate.Hz(), 4);
}

TEST(FrameTimes, DecimalsAreThoseThatWereWritten) {
  for (const auto& [number, decimals] : std::initializer_list<std::pair<const char*, int>>{{"12", 0},
                                                                                           {"0.033", 3},
                                                                                           {"-0.0330", 4},
                                                                                           {"0,020", 3},
                                                                                           {".5", 1},
                                                                                           {"5.", 0},
                                                                                           {"3.3e-4", 5},
                                                                                           {"35000e-6", 6},
                                                                                           {"2e3", 0},
                                                                                           {"1.25E+1", 1},
                                                                                           {" 0.02\t", 2},
                                                                                           {"", 0},
                                                                                           {"1e-999", 400}})
    EXPECT_EQ(DecimalsOf(number), decimals) << number;
}

TEST(FrameTimes, RoundedTimesStillGiveTheWholeRate) {
  for (const double rate : {24.0, 25.0, 30.0, 50.0, 60.0, 100.0, 120.0, 240.0})
    for (const int count : {20, 100, 1000, 18000})
      EXPECT_EQ(FramesOf(Rows(count, rate, 3)).rate.Hz(), rate) << count;
}

TEST(FrameTimes, RoundedTimesStillGiveTheNtscRate) {
  for (const double whole : {24.0, 30.0, 60.0, 120.0}) {
    const double rate = whole * 1000 / 1001;
    // With fewer frames, a thousandth of a second no longer tells the rate from the whole one.
    for (const int count : {500, 1000, 18000})
      EXPECT_EQ(FramesOf(Rows(count, rate, 3)).rate.Hz(), rate) << count;
  }
}

TEST(FrameTimes, ShortTakeThatLeavesRoomForSeveralRatesGetsTheMostUsual) {
  EXPECT_EQ(FramesOf("1,0.000\n2,0.004\n3,0.009\n").rate.Hz(), 240); // 222 Hz, give or take 25
  EXPECT_EQ(FramesOf("1,0.000\n2,0.011\n3,0.022\n").rate.Hz(), 90);  // 91 Hz, give or take 4
  EXPECT_EQ(FramesOf(Rows(20, 60 * 1000 / 1001.0, 3)).rate.Hz(), 60);
  EXPECT_EQ(FramesOf(Rows(100, 29, 3)).rate.Hz(), 29);
}

TEST(FrameTimes, RateThatIsWholeAlreadyIsKeptHoweverShortTheTake) {
  EXPECT_EQ(FramesOf("1,0.50\n2,0.51\n").rate.Hz(), 100);
  EXPECT_EQ(FramesOf("1,0.000\n2,0.008\n").rate.Hz(), 125);
}

TEST(FrameTimes, RateThatRoundingDoesNotExplainIsKept) {
  // A camera that is off by less than NTSC, over 100 s: half a millisecond at each end cannot explain it.
  const Take take = FramesOf(Rows(3000, 29.985, 3));
  EXPECT_NEAR(take.rate.Hz(), 29.985, 29.985 * 0.001 / 100); // what the rounding leaves open
  EXPECT_NE(take.rate.Hz(), 30);
  EXPECT_NE(take.rate.Hz(), kNtsc30);
}

TEST(FrameTimes, SameTimesWithMoreDecimalsLeaveLessRoom) {
  EXPECT_EQ(FramesOf("1,0.00\n2,0.04\n3,0.07\n").rate.Hz(), 30); // 28.6 Hz, give or take 4
  EXPECT_EQ(FramesOf("1,0.00000\n2,0.03500\n3,0.07000\n").rate, (mien::FrameRate{200, 7}));
}

TEST(FrameTimes, ExponentsCountAsDecimals) {
  // 0.035 s, known to a microsecond: 28.571 Hz stands. Read as one decimal it would be snapped.
  EXPECT_EQ(FramesOf("1,0e-6\n2,35000e-6\n3,7.0000e-2\n").rate, (mien::FrameRate{200, 7}));
}

TEST(FrameTimes, TimesOfSinglePrecisionGiveTheWholeRate) {
  std::string rows;
  for (int i = 0; i < 100; ++i)
    rows += fmt::format("{},{:.10f}\n", i, static_cast<double>(static_cast<float>(i) / 30.0f));
  EXPECT_EQ(FramesOf(rows).rate.Hz(), 30);
}

TEST(FrameTimes, MissingFramesDoNotChangeTheRateAndAreNoted) {
  const Take take = FramesOf("1,0.000\n2,0.033\n6,0.167\n7,0.200\n9,0.267\n");
  EXPECT_EQ(take.rate.Hz(), 30);
  EXPECT_THAT(take.notes, ElementsAre("frames missing: 3 after frame 2, 1 after frame 7"));
}

TEST(FrameTimes, ManyMissingPlacesMakeOneNote) {
  const Take take = FramesOf("1,0.1\n3,0.3\n5,0.5\n7,0.7\n9,0.9\n11,1.1\n");
  EXPECT_THAT(take.notes,
              ElementsAre("frames missing: 1 after frame 1, 1 after frame 3, 1 after frame 5 and 2 more"));
}

TEST(FrameTimes, PauseInTimeDoesNotLowerTheRateAndIsNoted) {
  std::string rows;
  for (int i = 0; i < 100; ++i) rows += fmt::format("{},{:.3f}\n", i, i / 30.0 + (i >= 60 ? 1 : 0));
  const Take take = FramesOf(rows);
  EXPECT_EQ(take.rate.Hz(), 30);
  EXPECT_THAT(take.notes, ElementsAre("timestamps jump: 1.033 s after frame 59"));
}

TEST(FrameTimes, EachRunBetweenPausesHasItsOwnRounding) {
  std::string rows;
  for (int run = 0; run < 3; ++run)
    for (int i = 0; i < 3; ++i) rows += fmt::format("{},{:.3f}\n", 3 * run + i, run + 0.0006 + i / 30.0);
  // Each run's 0.0667 s comes out as 0.067 - 0.001: 30.3 Hz, give or take 0.46. The rounding of one run alone
  // would leave 0.15, too little to reach 30.
  EXPECT_EQ(FramesOf(rows).rate.Hz(), 30);
}

TEST(FrameTimes, CoarseTimesAreNoPauses) {
  // At 90 Hz with two decimals most steps are 0.01 s and each ninth is 0.02 s.
  const Take take = FramesOf(Rows(91, 90, 2));
  EXPECT_EQ(take.rate.Hz(), 90);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(FrameTimes, OneFrameIsTakenAsThirtyHertzAndSaysSo) {
  const Take take = FramesOf("12,3.5\n");
  EXPECT_EQ(take.rate.Hz(), 30);
  EXPECT_THAT(take.notes, ElementsAre("one frame has no rate; taken as 30 Hz"));
}

TEST(FrameTimes, MillisecondsReadAsSecondsAreNoted) {
  EXPECT_THAT(FramesOf("0,0\n1,33\n2,67\n3,100\n").notes,
              ElementsAre("the times give a rate of 0.03 Hz; check their unit"));
}

TEST(FrameTimes, NotesHaveCodes) {
  EXPECT_THAT(FramesOf("1,0.0\n2,0.1\n4,0.3\n5,0.4\n6,2.4\n7,2.5\n").notes,
              ElementsAre(IsNote(Code::Missing, "", "frames missing: 1 after"),
                          IsNote(Code::Doubtful, "", "timestamps jump: 2 s after frame 5")));
  EXPECT_THAT(FramesOf("1,0\n").notes, ElementsAre(IsNote(Code::Assumed, "", "one frame has no rate")));
  EXPECT_THAT(FramesOf("1,0\n2,20\n").notes,
              ElementsAre(IsNote(Code::Doubtful, "", "the times give a rate")));
}

TEST(FrameTimes, NoRowsAreRefused) {
  const std::optional<FrameFault> fault = Read("").fault;
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->code, Code::Empty);
  EXPECT_EQ(fault->what, "there are no frames, only a header");
}

TEST(FrameTimes, TimesBeyondAnyRateAreRefused) {
  for (const char* rows : {"1,-1.7e308\n2,1.7e308\n", "1,0\n2,1e-300\n"}) {
    const std::optional<FrameFault> fault = Read(rows).fault;
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->code, Code::InvalidValue);
    EXPECT_THAT(fault->what, testing::HasSubstr("give no frame rate"));
    EXPECT_EQ(fault->fix, "check their unit");
  }
}

// Each time leaves room for this rate and for a whole one that is nearer.
TEST(FrameTimes, AUsualRateIsLikelierThanAnyOther) {
  for (const auto& [periods, time, rate] :
       std::vector<std::tuple<int, const char*, double>>{{2, "0.09", 24},
                                                         {3, "0.11", 25},
                                                         {1, "0.03", 30},
                                                         {2, "0.041", 48},
                                                         {6, "0.11", 50},
                                                         {1, "0.016", 60},
                                                         {1, "0.011", 90},
                                                         {2, "0.019", 100},
                                                         {1, "0.009", 120},
                                                         {1, "0.006", 150},
                                                         {3, "0.014", 200},
                                                         {1, "0.0041", 240},
                                                         {3, "0.011", 250},
                                                         {1, "0.003", 300},
                                                         {1, "0.0019", 500},
                                                         {1, "0.0009", 1000}})
    EXPECT_EQ(FramesOf(fmt::format("1,0\n{},{}\n", 1 + periods, time)).rate.Hz(), rate);
  EXPECT_EQ(FramesOf("1,0\n3,0.0081\n").rate.Hz(), 247) << "near none of them"; // 246.9 Hz, give or take 3
}

// 29.985 Hz: four decimals leave 0.04 Hz of room, which reaches 30, and six do not.
TEST(FrameTimes, SixDecimalsAreMoreThanFour) {
  EXPECT_EQ(FramesOf("1,0.0000\n3,0.0667\n").rate.Hz(), 30);
  EXPECT_EQ(FramesOf("1,0.000000\n3,0.066700\n").rate, (mien::FrameRate{20000, 667}));
}

// 100 periods of 100000/1001 Hz are 1.001 s, of which single precision is off by 5e-8.
TEST(FrameTimes, TimesOfSinglePrecisionGiveTheNtscRate) {
  EXPECT_EQ(FramesOf(fmt::format("0,0\n100,{:.10f}\n", static_cast<double>(1.001f))).rate,
            (mien::FrameRate{100000, 1001}));
}

TEST(FrameTimes, ARateThatIsOffByMoreThanSinglePrecisionIsItself) {
  EXPECT_EQ(FramesOf("0,0\n100,1.00000050\n").rate.Hz(), 100) << "off by half a millionth";
  EXPECT_NE(FramesOf("0,0\n100,1.00000500\n").rate.Hz(), 100) << "by five";
}

// Whole seconds are known to a second: four after steps of two may have been three, one and a half times as
// long.
TEST(FrameTimes, AJumpIsLongerThanOneAndAHalfPeriods) {
  EXPECT_THAT(FramesOf("1,0\n2,2\n3,4\n4,6\n5,10\n").notes,
              Not(Contains(Says(HasSubstr("timestamps jump")))));
  EXPECT_THAT(FramesOf("1,0\n2,2\n3,4\n4,6\n5,11\n").notes, Contains("timestamps jump: 5 s after frame 4"));
  EXPECT_THAT(FramesOf("1,0.000\n2,0.100\n3,0.200\n4,0.300\n5,0.448\n").notes, IsEmpty());
  EXPECT_THAT(FramesOf("1,0.000\n2,0.100\n3,0.200\n4,0.300\n5,0.453\n").notes,
              ElementsAre("timestamps jump: 0.153 s after frame 4"));
}

TEST(FrameTimes, RatesBelowOneHertzAndAboveTheFastestAreNoted) {
  const auto noted = [](const char* rows, double fastest_hz) {
    Take take = FramesOf(rows);
    take.notes.clear();
    EXPECT_FALSE(SetRateByTimes(take, 5, fastest_hz));
    return std::any_of(take.notes.begin(), take.notes.end(), [](const mien::Note& note) {
      return note.what.find("the times give a rate of") != std::string::npos;
    });
  };
  for (const double fastest : {mien::kFastestMarkersHz, mien::kFastestVideoHz}) {
    EXPECT_FALSE(noted("0,0\n1,1\n2,2\n", fastest));    // 1 Hz
    EXPECT_TRUE(noted("0,0\n95,100.000\n", fastest));   // 0.95
    EXPECT_FALSE(noted("0,0\n105,100.000\n", fastest)); // 1.05
    EXPECT_FALSE(noted("0,0\n24,0.1\n", fastest));      // 240
  }
  EXPECT_TRUE(noted("0,0\n1,0.001\n2,0.002\n", mien::kFastestVideoHz)); // 1000
  EXPECT_FALSE(noted("0,0\n1,0.001\n2,0.002\n", mien::kFastestMarkersHz));
  EXPECT_FALSE(noted("0,0\n1,0.00010\n2,0.00020\n", mien::kFastestMarkersHz)); // 10000
  EXPECT_FALSE(noted("0,0\n95,0.010000\n", mien::kFastestMarkersHz));          // 9500
  EXPECT_TRUE(noted("0,0\n105,0.010000\n", mien::kFastestMarkersHz));          // 10500
}
