#include "host/takes/frame_rate.h"

#include "tests/host/decimal_comma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

using mien::FrameRate;
using mien::FrameRateOf;
using mien::ParseFrameRate;
using mien::ToText;

namespace {

std::optional<FrameRate> Fraction(std::int64_t numerator, std::int64_t denominator) {
  return FrameRate{numerator, denominator};
}

} // namespace

TEST(FrameRate, NtscRatesAreKnownHoweverTheyAreWritten) {
  for (const auto& [whole, written] : std::vector<std::pair<std::int64_t, std::vector<double>>>{
           {24, {23.976, 23.98, 23.97602, 23.976023976, 24000 / 1001.0}},
           {30, {29.97, 29.97003, 29.97002997, 30000 / 1001.0}},
           {48, {47.952, 47.95, 47.952048}},
           {60, {59.94, 59.9401, 59.94006, 60000 / 1001.0}},
           {120, {119.88, 119.8801, 120000 / 1001.0}},
           {240, {239.76, 240000 / 1001.0}},
       }) {
    const std::int64_t divisor = std::gcd(whole * 1000, 1001);
    for (const double hz : written) {
      EXPECT_EQ(FrameRateOf(hz), Fraction(whole * 1000 / divisor, 1001 / divisor)) << hz;
      const auto single = static_cast<double>(static_cast<float>(hz));
      EXPECT_EQ(FrameRateOf(single), Fraction(whole * 1000 / divisor, 1001 / divisor)) << hz;
    }
  }
}

TEST(FrameRate, WholeRatesAreWholeInSinglePrecisionToo) {
  for (const std::int64_t whole : {1, 24, 25, 30, 48, 50, 60, 90, 100, 120, 240, 1000})
    for (const double off : {1.0, 1 + 6e-8, 1 - 6e-8})
      EXPECT_EQ(FrameRateOf(static_cast<double>(whole) * off), Fraction(whole, 1)) << off;
  EXPECT_EQ(FrameRateOf(120.00001), Fraction(120, 1));
  EXPECT_EQ(FrameRateOf(120.0001), Fraction(120, 1)) << "off by less than a millionth";
  EXPECT_EQ(FrameRateOf(120.0002), Fraction(599881, 4999)) << "off by more";
}

TEST(FrameRate, RatesNearAUsualOneStayThemselves) {
  EXPECT_EQ(FrameRateOf(99.99), Fraction(9999, 100));
  EXPECT_EQ(FrameRateOf(29.98), Fraction(1499, 50));
  EXPECT_EQ(FrameRateOf(29.971), Fraction(29971, 1000));
  EXPECT_EQ(FrameRateOf(59.95), Fraction(1199, 20));
  EXPECT_EQ(FrameRateOf(23.97), Fraction(2397, 100));
  EXPECT_EQ(FrameRateOf(24.98), Fraction(1249, 50)) << "no camera has 25000/1001";
  EXPECT_EQ(FrameRateOf(99.9), Fraction(999, 10)) << "nor 100000/1001";
  EXPECT_EQ(FrameRateOf(200 / 7.0), Fraction(200, 7));
  EXPECT_EQ(FrameRateOf(12.5), Fraction(25, 2));
  EXPECT_EQ(FrameRateOf(1 / 3.0), Fraction(1, 3));
}

TEST(FrameRate, IsTheSimplestFractionWithinABillionth) {
  EXPECT_EQ(FrameRateOf(200 / 7.0 * (1 + 5e-10)), Fraction(200, 7));
  const std::optional<FrameRate> further = FrameRateOf(200 / 7.0 * (1 + 5e-9));
  ASSERT_TRUE(further);
  EXPECT_GT(further->denominator, 7);
}

TEST(FrameRate, RatesThatNoCameraHasAreNone) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double hz : {1e-7, 0.0, -0.0, -25.0, 1.1e9, 1e10, 1e300, kInfinity, -kInfinity,
                          std::numeric_limits<double>::denorm_min(), std::nan("")})
    EXPECT_EQ(FrameRateOf(hz), std::nullopt) << hz;
  EXPECT_EQ(FrameRateOf(1e-6), Fraction(1, 1000000));
  EXPECT_EQ(FrameRateOf(1e9), Fraction(1000000000, 1));
  EXPECT_EQ(FrameRateOf(std::nextafter(1e-6, 0)), std::nullopt);
  EXPECT_EQ(FrameRateOf(std::nextafter(1e9, kInfinity)), std::nullopt);
}

TEST(FrameRate, AnyRateIsAReducedFractionAsNearAsPromisedAndReadsBackFromItsText) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> exponent(-6, 9);
  for (int i = 0; i < 20000; ++i) {
    const double hz = std::pow(10, exponent(random));
    const std::optional<FrameRate> rate = FrameRateOf(hz);
    ASSERT_TRUE(rate) << hz;
    ASSERT_GT(rate->numerator, 0) << hz;
    ASSERT_GT(rate->denominator, 0) << hz;
    ASSERT_LE(rate->numerator, 1000000000000000) << hz;
    ASSERT_LE(rate->denominator, 1000000000000000) << hz;
    ASSERT_EQ(std::gcd(rate->numerator, rate->denominator), 1) << hz;
    // A millionth where it was made whole, or NTSC with these two decimals: else a billionth.
    ASSERT_NEAR(rate->Hz(), hz,
                hz * (rate->denominator == 1          ? 1e-6
                      : rate->denominator % 1001 == 0 ? 2e-4
                                                      : 1e-9));
    ASSERT_EQ(ParseFrameRate(ToText(*rate)), rate) << ToText(*rate);
  }
}

TEST(FrameRate, TextIsAsShortAsReadsBack) {
  EXPECT_EQ(ToText({120, 1}), "120");
  EXPECT_EQ(ToText({1499, 50}), "29.98");
  EXPECT_EQ(ToText({25, 2}), "12.5");
  EXPECT_EQ(ToText({7716, 625}), "12.3456");
  EXPECT_EQ(ToText({30000, 1001}), "30000/1001");
  EXPECT_EQ(ToText({200, 7}), "200/7");
  EXPECT_EQ(ToText({2997, 100}), "2997/100"); // "29.97" would be read as 30000/1001
  EXPECT_EQ(ParseFrameRate("2997/100"), Fraction(2997, 100));
}

TEST(FrameRate, ReadsDecimalsAndFractions) {
  EXPECT_EQ(ParseFrameRate("29.97"), Fraction(30000, 1001));
  EXPECT_EQ(ParseFrameRate("25"), Fraction(25, 1));
  EXPECT_EQ(ParseFrameRate("60000/2002"), Fraction(30000, 1001));
  EXPECT_EQ(ParseFrameRate("1e2"), Fraction(100, 1));
}

// Up to here a double holds both numbers exactly.
TEST(FrameRate, FractionsGoUpToTenToTheFifteenthAndOverTheRangeOfRates) {
  EXPECT_EQ(ParseFrameRate("1000000000000000/999999999999999"), Fraction(1000000000000000, 999999999999999));
  EXPECT_EQ(ParseFrameRate("1000000000000001/1000000000000000"), std::nullopt);
  EXPECT_EQ(ParseFrameRate("1000000000000000/1000000000000001"), std::nullopt);
  EXPECT_EQ(ParseFrameRate("1/1000000"), Fraction(1, 1000000));
  EXPECT_EQ(ParseFrameRate("1/1000001"), std::nullopt);
  EXPECT_EQ(ParseFrameRate("1000000000/1"), Fraction(1000000000, 1));
  EXPECT_EQ(ParseFrameRate("1000000001/1"), std::nullopt);
}

TEST(FrameRate, WhatIsNoRateIsNotRead) {
  for (const char* text : {"",
                           "/",
                           "30/",
                           "/1001",
                           "30/0",
                           "0/1",
                           "-30/1",
                           "-30/-1",
                           "30/1/1",
                           "30 ",
                           " 30",
                           "30fps",
                           "nan",
                           "inf",
                           "1e10",
                           "0",
                           "-25",
                           "30.5/2",
                           "99999999999999999999/1",
                           "9223372036854775807/9223372036854775806"})
    EXPECT_EQ(ParseFrameRate(text), std::nullopt) << text;
}

TEST(FrameRate, SecondsOfLongTakesDoNotDrift) {
  const FrameRate ntsc{30000, 1001};
  EXPECT_EQ(ntsc.Seconds(30000), 1001);
  EXPECT_EQ(ntsc.Seconds(30000LL * 86400), 1001.0 * 86400);
  EXPECT_EQ(ntsc.Seconds(0), 0);
}

TEST(FrameRate, DoesNotFollowTheLocale) {
  const DecimalComma germany;
  EXPECT_EQ(ParseFrameRate("29.98"), Fraction(1499, 50));
  EXPECT_EQ(ToText({1499, 50}), "29.98");
  EXPECT_EQ(ToText({1000000, 1}), "1000000");
}
