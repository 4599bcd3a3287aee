#include "host/takes/timecode.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using mien::FrameRate;
using mien::ParseTimecode;
using mien::Timecode;
using mien::ToText;

namespace {

constexpr FrameRate kNtsc30 = {30000, 1001};
constexpr FrameRate kNtsc60 = {60000, 1001};

struct Clock {
  FrameRate rate;
  bool drop;
  std::int64_t numbers; // shown in a second
  std::int64_t counts_a_day;
};

const std::vector<Clock> kClocks = {
    {{24, 1}, false, 24, 2073600}, {{25, 1}, false, 25, 2160000}, {{30, 1}, false, 30, 2592000},
    {kNtsc30, false, 30, 2592000}, {kNtsc30, true, 30, 2589408},  {kNtsc60, true, 60, 5178816},
};

std::string Text(std::int64_t count, const FrameRate& rate, bool drop = false) {
  return Timecode{count, rate, drop}.At(0);
}

std::string Later(const std::string& text, double seconds) {
  const std::optional<Timecode> timecode = ParseTimecode(text, {30, 1});
  return timecode ? timecode->At(seconds) : "no timecode";
}

} // namespace

// Counts like a recorder, one number after the other, and compares around each minute and at places in between.
TEST(Timecode, CountsLikeARecorderAndReadsBackAllDay) {
  for (const Clock& clock : kClocks) {
    std::int64_t count = 0, checked = 0;
    for (std::int64_t minute = 0; minute < 24 * 60; ++minute) {
      const std::int64_t first = clock.drop && minute % 10 != 0 ? clock.numbers / 15 : 0;
      for (std::int64_t number = first; number < 60 * clock.numbers; ++number, ++count) {
        if (number > first + 2 && number < 60 * clock.numbers - 2 && number % 397 != 0) continue;
        ++checked;
        const std::string text =
            fmt::format("{:02}:{:02}:{:02}{}{:02}", minute / 60, minute % 60, number / clock.numbers,
                        clock.drop ? ';' : ':', number % clock.numbers);
        ASSERT_EQ(Text(count, clock.rate, clock.drop), text) << count;
        const std::optional<Timecode> back = ParseTimecode(text + "@" + ToText(clock.rate), {1, 1});
        ASSERT_TRUE(back) << text;
        ASSERT_EQ(*back, (Timecode{count, clock.rate, clock.drop})) << text;
      }
    }
    EXPECT_EQ(count, clock.counts_a_day);
    EXPECT_EQ((Timecode{0, clock.rate, clock.drop}.CountsADay()), clock.counts_a_day);
    EXPECT_GT(checked, 24 * 60 * 5);
  }
}

TEST(Timecode, DropSkipsNumbersOfEachMinuteButEveryTenth) {
  EXPECT_EQ(Text(1799, kNtsc30, true), "00:00:59;29");
  EXPECT_EQ(Text(1800, kNtsc30, true), "00:01:00;02");
  EXPECT_EQ(Text(17981, kNtsc30, true), "00:09:59;29");
  EXPECT_EQ(Text(17982, kNtsc30, true), "00:10:00;00");
  EXPECT_EQ(Text(107892, kNtsc30, true), "01:00:00;00");
  EXPECT_EQ(Text(3600, kNtsc60, true), "00:01:00;04");
  EXPECT_EQ(Text(1800, kNtsc30, false), "00:01:00:00");
}

TEST(Timecode, DropStaysWithTheClockAndNonDropDoesNot) {
  EXPECT_EQ(Later("00:00:00;00", 3600), "01:00:00;00.108"); // 107892 counts are 3599.9964 s
  EXPECT_EQ(Later("00:00:00:00@30000/1001", 3600), "00:59:56:12.108");
  EXPECT_EQ(Later("00:00:00:00@30", 3600), "01:00:00:00");
}

TEST(Timecode, GoesOnAfterMidnightAndBackBeforeIt) {
  EXPECT_EQ(Later("23:59:59:29", 1 / 30.0), "00:00:00:00");
  EXPECT_EQ(Later("23:59:59;29", 1001 / 30000.0), "00:00:00;00");
  EXPECT_EQ(Later("00:00:00:00", -1 / 30.0), "23:59:59:29");
  EXPECT_EQ(Later("00:00:00;00", -1001 / 30000.0), "23:59:59;29");
  EXPECT_EQ(Later("10:00:00:00", 86400.0 * 1000 + 1), "10:00:01:00");
  EXPECT_EQ(Later("10:00:00:00", -86400.0 * 1000 - 1), "09:59:59:00");
  EXPECT_EQ(Later("23:59:59:29", 0.0333), "23:59:59:29.999");
}

TEST(Timecode, BetweenTwoCountsHasThousandths) {
  EXPECT_EQ(Later("10:00:00:00@25", 0.02), "10:00:00:00.500");
  EXPECT_EQ(Later("10:00:00:00@25", 0.0400001), "10:00:00:01"); // less than half a thousandth
  EXPECT_EQ(Later("10:00:00:00@25", -0.01), "09:59:59:24.750");
  EXPECT_EQ(Later("10:00:00:00@25", 1 / 120.0), "10:00:00:00.208");
  EXPECT_EQ(Later("10:00:00:00@25", 0.00004), "10:00:00:00.001");
}

TEST(Timecode, NtscTakeShowsWholeCountsOnEachOfItsFrames) {
  const Timecode start = *ParseTimecode("10:59:59;28", {30, 1});
  for (std::int64_t frame = 0; frame < 200000; frame += 7)
    EXPECT_EQ(start.At(kNtsc30.Seconds(frame)), Text(start.count + frame, kNtsc30, true));
}

TEST(Timecode, SecondsOfDayAreThoseThatTheNumbersShow) {
  EXPECT_EQ(ParseTimecode("10:00:00:15", {30, 1})->SecondsOfDay(), 36000.5);
  EXPECT_EQ(ParseTimecode("10:00:00;15", {30, 1})->SecondsOfDay(), 36000.5);
  EXPECT_EQ(ParseTimecode("00:01:00;02", {30, 1})->SecondsOfDay(), 60 + 2 / 30.0);
  EXPECT_EQ(ParseTimecode("10:00:00:15@29.97", {1, 1})->SecondsOfDay(), 36000.5);
}

TEST(Timecode, RateIsItsOwnOrTheOneGivenOrThatOfDrop) {
  EXPECT_EQ(ParseTimecode("01:02:03:04", {25, 1}), (Timecode{93079, {25, 1}, false}));
  EXPECT_EQ(ParseTimecode("01:02:03:04@24", {25, 1}), (Timecode{89356, {24, 1}, false}));
  EXPECT_EQ(ParseTimecode("00:01:00;02", {25, 1}), (Timecode{1800, kNtsc30, true}));
  EXPECT_EQ(ParseTimecode("00:01:00;04@59.94", {25, 1}), (Timecode{3600, kNtsc60, true}));
}

TEST(Timecode, TextWithRateReadsBack) {
  for (const char* text : {"10:02:59:29@30", "10:02:59;29@30000/1001", "00:00:00:00@24", "23:59:59:49@50",
                           "12:00:00:10@29.98", "00:00:00:119@120", "00:00:01:00@1", "00:00:00:999@1000"}) {
    const std::optional<Timecode> timecode = ParseTimecode(text, {1, 1});
    ASSERT_TRUE(timecode) << text;
    EXPECT_EQ(ToText(*timecode), text);
  }
}

TEST(Timecode, WhatIsNoTimeOfDayIsNotRead) {
  for (const char* text : {"",
                           "1",
                           "10:00:00",
                           "10:00:00:",
                           "10:00:00:30",
                           "10:00:60:00",
                           "10:60:00:00",
                           "24:00:00:00",
                           "-1:00:00:00",
                           "10:-1:00:00",
                           "10:00:00:-1",
                           "10:00:00:00 ",
                           " 10:00:00:00",
                           "10;00:00:00",
                           "10:00;00:00",
                           "10.00.00.00",
                           "10:00:00:00:00",
                           "10:00:00:00@",
                           "10:00:00:00@0",
                           "10:00:00:00@x",
                           "10:00:00:00@30 ",
                           "10:00:00:00@1e9",
                           "10:00:00;00@25",
                           "10:00:00;00@45",
                           "10:00:00:00@1001",
                           "+1:00:00:00",
                           "10:01:00;00",
                           "10:01:00;01",
                           "99999999999999999999:00:00:00",
                           "10:00:00:00.5",
                           "aa:bb:cc:dd"})
    EXPECT_EQ(ParseTimecode(text, {30, 1}), std::nullopt) << text;
  EXPECT_EQ(ParseTimecode("10:00:00:00", FrameRate{}), std::nullopt); // no rate known
  EXPECT_EQ(ParseTimecode("10:00:00:00", {1, 100}), std::nullopt);    // less than one number a second
  EXPECT_EQ(ParseTimecode(std::string("10:00:00:00\0", 12), {30, 1}), std::nullopt);
}

TEST(Timecode, FractionIsReadWhereItIsAskedFor) {
  double fraction = -1;
  EXPECT_EQ(ParseTimecode("10:00:00:15.250", {30, 1}, &fraction), ParseTimecode("10:00:00:15", {30, 1}));
  EXPECT_EQ(fraction, 0.25);
  EXPECT_TRUE(ParseTimecode("10:00:00:15.250@30", {1, 1}, &fraction));
  EXPECT_EQ(fraction, 0.25);
  EXPECT_TRUE(ParseTimecode("10:00:00:15", {30, 1}, &fraction));
  EXPECT_EQ(fraction, 0);
  for (const char* text :
       {"10:00:00:15.", "10:00:00:15.x", "10:00:00:15.5.5", "10:00:00:15.5e1", "10:00:00:15.-5"})
    EXPECT_EQ(ParseTimecode(text, {30, 1}, &fraction), std::nullopt) << text;
}
