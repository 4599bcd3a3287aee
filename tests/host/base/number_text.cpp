#include "host/base/number_text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

std::string Shortest(double number) {
  std::string text;
  mien::AppendNumber(text, number);
  return text;
}

std::string TenDecimals(double number) {
  char text[mien::kLongestWithTenDecimals];
  return {text, mien::WriteTenDecimals(text, number)};
}

/// Doubles of all kinds: any bits, weights, halves of the last decimal, round numbers.
std::vector<double> ManyNumbers() {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> weight(-1, 1);
  std::vector<double> numbers;
  for (int i = 0; i < 100'000; ++i) {
    const auto any = std::bit_cast<double>(random());
    if (std::isfinite(any)) numbers.push_back(any);
    numbers.push_back(weight(random));
    numbers.push_back(weight(random) * std::pow(10.0, static_cast<double>(random() % 40) - 20));
    numbers.push_back(std::ldexp(static_cast<double>(random() % 100'000), -static_cast<int>(random() % 40)));
    numbers.push_back(static_cast<double>(random() % 1'000'000) / 1000);
  }
  using Limits = std::numeric_limits<double>;
  for (const double edge : {0.0, 1e-4, 1e16, 1.0, 0.5e-10, 1.5e-10, 1048576.0, 9007199254740993.0,
                            Limits::min(), Limits::max(), Limits::denorm_min(), Limits::epsilon()})
    for (const double sign : {1.0, -1.0})
      for (const double towards : {-Limits::infinity(), edge, Limits::infinity()})
        if (std::isfinite(std::nextafter(edge, towards)))
          numbers.push_back(sign * std::nextafter(edge, towards));
  return numbers;
}

} // namespace

TEST(NumberText, TheFewestDigitsThatReadBack) {
  EXPECT_EQ(Shortest(2), "2");
  EXPECT_EQ(Shortest(-0.1), "-0.1");
  EXPECT_EQ(Shortest(0.0001), "0.0001");
  EXPECT_EQ(Shortest(0.00001), "1e-05");
  EXPECT_EQ(Shortest(1e15), "1000000000000000");
  EXPECT_EQ(Shortest(1e16), "1e+16");
  EXPECT_EQ(Shortest(-0.0), "-0");
  EXPECT_EQ(Shortest(-1.2345678901234567e-308), "-1.2345678901234567e-308");
  EXPECT_EQ(Shortest(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(Shortest(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(NumberText, TheFewestDigitsAreThoseOfFmt) {
  for (const double number : ManyNumbers()) {
    const std::string text = Shortest(number);
    ASSERT_EQ(text, fmt::format("{}", number));
    double read = 0;
    std::from_chars(text.data(), text.data() + text.size(), read);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(number)) << text;
  }
}

TEST(NumberText, TenDecimalsAreRoundedExactlyAndHalvesToTheEvenDigit) {
  EXPECT_EQ(TenDecimals(1), "1.0000000000");
  EXPECT_EQ(TenDecimals(0.1), "0.1000000000");
  EXPECT_EQ(TenDecimals(std::ldexp(1, -11)), "0.0004882812"); // 0.00048828125
  EXPECT_EQ(TenDecimals(std::ldexp(3, -11)), "0.0014648438"); // 0.00146484375
  EXPECT_EQ(TenDecimals(0.99999999999), "1.0000000000");
  EXPECT_EQ(TenDecimals(-1e-300), "-0.0000000000");
  EXPECT_EQ(TenDecimals(1e22), "10000000000000000000000.0000000000");
}

TEST(NumberText, TenDecimalsAreThoseOfFmt) {
  for (const double number : ManyNumbers()) {
    if (std::fabs(number) > 1e30) continue; // slow, and other code
    ASSERT_EQ(TenDecimals(number), fmt::format("{:.10f}", number));
  }
}

TEST(NumberText, TheLongestNumbersFit) {
  EXPECT_EQ(TenDecimals(-std::numeric_limits<double>::max()).size(), mien::kLongestWithTenDecimals);
  for (const double number : ManyNumbers()) ASSERT_LE(Shortest(number).size(), mien::kLongestNumber);
}
