#include "mien/base/elementary.h"

#include "tests/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

using namespace mien;
using tests::Random;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr auto kSmallestNormal = static_cast<long double>(std::numeric_limits<double>::min());

std::uint64_t Bits(double x) { return std::bit_cast<std::uint64_t>(x); }
double Sine(double degrees) { return SineAndCosineOfDegrees(degrees).sine; }
double Cosine(double degrees) { return SineAndCosineOfDegrees(degrees).cosine; }

/// A number of either sign and of a size between 2^low and 2^high, with all powers of two equally likely.
double OfAnySize(Random& random, int low, int high) {
  const double size = random.Between(1, 2), sign = random.Between(-1, 1);
  return std::ldexp(std::copysign(size, sign), static_cast<int>(std::floor(random.Between(low, high))));
}

/// The largest error found, in units in the last place of the true value, and its argument.
class Worst {
public:
  void See(double found, long double expected, double argument) {
    const auto nearest = static_cast<double>(expected);
    if (found == nearest && std::isinf(found)) return;
    const int exponent = std::max(std::ilogb(nearest == 0 ? kSmallest : nearest) - 52, -1074);
    const auto error =
        static_cast<double>(std::abs(std::ldexp(static_cast<long double>(found) - expected, -exponent)));
    if (!(error <= mError)) mError = error, mArgument = argument; // a NaN is the largest error
  }
  double Error() const { return mError; }
  double Argument() const { return mArgument; }

private:
  double mError = 0, mArgument = 0;
};

/// Compares with the C library's long double, which is usable as a reference only if it has more digits.
class ElementaryErrors : public testing::Test {
protected:
  void SetUp() override {
    ASSERT_GE(std::numeric_limits<long double>::digits, 64) << "long double is as imprecise as double";
  }
  static constexpr int kInputs = 200'000;
  static constexpr double kPromised = 0.75, kPromisedOfDenormals = 1; // as stated in the header
};

} // namespace

#define EXPECT_ERROR_BELOW(promised, worst)                                                                  \
  EXPECT_LT((worst).Error(), promised) << "at " << std::hexfloat << (worst).Argument()

TEST_F(ElementaryErrors, OfTheExponential) {
  Random random(1);
  Worst near_zero, everywhere, denormal;
  for (int i = 0; i < kInputs; ++i) {
    const double small = i % 2 ? random.Between(-1, 1) : OfAnySize(random, -60, 0);
    near_zero.See(Exp(small), std::exp(static_cast<long double>(small)), small);
    const double x = random.Between(-745.2, 709.8);
    const long double expected = std::exp(static_cast<long double>(x));
    (expected < kSmallestNormal ? denormal : everywhere).See(Exp(x), expected, x);
  }
  EXPECT_ERROR_BELOW(kPromised, near_zero);
  EXPECT_ERROR_BELOW(kPromised, everywhere);
  EXPECT_ERROR_BELOW(kPromisedOfDenormals, denormal);
}

TEST_F(ElementaryErrors, OfTheLogarithm) {
  Random random(2);
  Worst near_one, everywhere;
  for (int i = 0; i < kInputs; ++i) {
    const double near = i % 2 ? random.Between(0.5, 2) : 1 + OfAnySize(random, -53, -1);
    near_one.See(Log(near), std::log(static_cast<long double>(near)), near);
    const double x = std::abs(OfAnySize(random, -1074, 1024));
    everywhere.See(Log(x), std::log(static_cast<long double>(x)), x);
  }
  EXPECT_ERROR_BELOW(kPromised, near_one);
  EXPECT_ERROR_BELOW(kPromised, everywhere);
}

TEST_F(ElementaryErrors, OfSineAndCosine) {
  Random random(3);
  Worst sines, cosines, denormal;
  for (int i = 0; i < kInputs; ++i) {
    // One rotation; near multiples of 90 degrees, where one of them is nearly 0; and all sizes.
    const double x = i % 3 == 0   ? random.Between(-360, 360)
                     : i % 3 == 1 ? 90 * std::floor(random.Between(-9, 9)) + OfAnySize(random, -40, 0)
                                  : OfAnySize(random, -1074, 1024);
    const long double turn = std::fmod(std::abs(static_cast<long double>(x)), 360.0L),
                      quarters = std::round(turn / 90);
    const long double radians = (turn - 90 * quarters) * (std::numbers::pi_v<long double> / 180);
    const long double s = std::sin(radians), c = std::cos(radians);
    const int quadrant = static_cast<int>(quarters) % 4;
    const long double sine = quadrant == 0 ? s : quadrant == 1 ? c : quadrant == 2 ? -s : -c;
    const long double cosine = quadrant == 0 ? c : quadrant == 1 ? -s : quadrant == 2 ? -c : s;
    (std::abs(sine) < kSmallestNormal ? denormal : sines).See(Sine(x), x < 0 ? -sine : sine, x);
    cosines.See(Cosine(x), cosine, x);
  }
  EXPECT_ERROR_BELOW(kPromised, sines);
  EXPECT_ERROR_BELOW(kPromised, cosines);
  EXPECT_ERROR_BELOW(kPromisedOfDenormals, denormal);
}

TEST_F(ElementaryErrors, OfTheAngleOfAPoint) {
  Random random(4);
  Worst everywhere, denormal;
  for (int i = 0; i < kInputs; ++i) {
    // In a square; with any ratio; with any size.
    double y = random.Between(-1, 1), x = random.Between(-1, 1);
    if (i % 3 == 1) y = OfAnySize(random, -40, 40), x = OfAnySize(random, -40, 40);
    if (i % 3 == 2) {
      const int size = static_cast<int>(random.Between(-1074, 1023));
      y = std::ldexp(y, size), x = std::ldexp(x, size);
      if (i % 2 == 0) x = OfAnySize(random, -1074, 1024);
    }
    const long double expected = std::atan2(static_cast<long double>(y), static_cast<long double>(x));
    (std::abs(expected) < kSmallestNormal ? denormal : everywhere).See(ArcTangent2(y, x), expected, y / x);
  }
  EXPECT_ERROR_BELOW(kPromised, everywhere);
  EXPECT_ERROR_BELOW(kPromisedOfDenormals, denormal);
}

TEST(Exponential, IsExactAtZeroAndAtTheEnds) {
  EXPECT_EQ(Exp(0.0), 1);
  EXPECT_EQ(Exp(-0.0), 1);
  EXPECT_EQ(Exp(kSmallest), 1);
  EXPECT_EQ(Exp(-kSmallest), 1);
  EXPECT_EQ(Bits(Exp(-kInfinity)), Bits(0.0));
  EXPECT_EQ(Exp(kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(Exp(kNaN)));
}

TEST(Exponential, OverflowsToInfinityAndUnderflowsToZeroAtTheEndsOfTheRange) {
  EXPECT_LT(Exp(709.782712893384), kInfinity); // the largest double whose exponential is one
  EXPECT_GT(Exp(709.782712893384), 0.99999999 * kLargest);
  EXPECT_EQ(Exp(std::nextafter(709.782712893384, 800)), kInfinity);
  EXPECT_EQ(Exp(745.99), kInfinity);
  EXPECT_EQ(Exp(746), kInfinity);
  EXPECT_EQ(Exp(kLargest), kInfinity);
  EXPECT_EQ(Exp(-745.1), kSmallest);
  EXPECT_EQ(Bits(Exp(-745.14)), Bits(0.0)); // below half of the smallest
  EXPECT_EQ(Bits(Exp(-746)), Bits(0.0));
  EXPECT_EQ(Bits(Exp(-kLargest)), Bits(0.0));
}

TEST(Logarithm, FollowsTheStandardForArgumentsWithoutALogarithm) {
  EXPECT_EQ(Log(0.0), -kInfinity);
  EXPECT_EQ(Log(-0.0), -kInfinity);
  EXPECT_TRUE(std::isnan(Log(-kSmallest)));
  EXPECT_TRUE(std::isnan(Log(-1)));
  EXPECT_TRUE(std::isnan(Log(-kInfinity)));
  EXPECT_TRUE(std::isnan(Log(kNaN)));
  EXPECT_EQ(Log(kInfinity), kInfinity);
}

TEST(Logarithm, OfOneIsPositiveZero) { EXPECT_EQ(Bits(Log(1)), Bits(0.0)); }

TEST(Logarithm, OfEveryPowerOfTwoIsTheNearestMultipleOfLogTwo) {
  constexpr long double kLogarithmOfTwo = std::numbers::ln2_v<long double>;
  ASSERT_GE(std::numeric_limits<long double>::digits, 64) << "the products are as imprecise as double";
  for (int k = -1074; k <= 1023; ++k)
    EXPECT_EQ(Log(std::ldexp(1.0, k)), static_cast<double>(k * kLogarithmOfTwo)) << k;
}

// Both factors are sums of two doubles; only the last place would show an error in the second one.
TEST(Logarithm, InvertsTheExponential) {
  Random random(5);
  for (int i = 0; i < 10'000; ++i) {
    const double x = random.Between(-700, 700);
    // The exponential's error is relative, so it is absolute in the logarithm: at most 2^-53, plus a rounding
    // of x's size.
    ASSERT_NEAR(Log(Exp(x)), x, 2.3e-16 + 1.2e-16 * std::abs(x)) << x;
  }
}

TEST(SineAndCosine, OfRightAnglesAreExact) {
  const double sines[] = {0, 1, 0, -1}, cosines[] = {1, 0, -1, 0};
  for (int quarters = 0; quarters < 1000; ++quarters) {
    const double degrees = 90.0 * quarters, sine = sines[quarters % 4];
    ASSERT_EQ(Bits(Sine(degrees)), Bits(sine)) << degrees;
    ASSERT_EQ(Bits(Sine(-degrees)), Bits(-sine)) << degrees;
    ASSERT_EQ(Bits(Cosine(degrees)), Bits(cosines[quarters % 4])) << degrees;
    ASSERT_EQ(Bits(Cosine(-degrees)), Bits(cosines[quarters % 4])) << degrees;
  }
  for (const double degrees : {9e8, 9e9, 9e15}) {
    EXPECT_EQ(Sine(degrees), 0) << degrees;
    EXPECT_EQ(Cosine(degrees), 1) << degrees;
  }
}

TEST(SineAndCosine, AreTheSameAfterWholeRotations) {
  for (const double degrees : {0.5, 1.0, 29.75, 44.0, 45.0, 46.5, 90.25, 135.0, 179.0, 225.0, 315.5, 359.0})
    for (const double turns :
         {360.0, 720.0, 360e6, 360.0 * 2777777, 360.0 * 2777778, 360e12}) { // on both sides of 1e9
      ASSERT_EQ(Bits(Sine(degrees + turns)), Bits(Sine(degrees))) << degrees << " + " << turns;
      ASSERT_EQ(Bits(Cosine(degrees + turns)), Bits(Cosine(degrees))) << degrees << " + " << turns;
    }
  // 2^12 is 1 more than a multiple of 45, so 2^1023 = 8 * (2^12)^85 8 more than one of 360.
  EXPECT_EQ(Sine(0x1p1023), Sine(8));
  EXPECT_EQ(Cosine(0x1p1023), Cosine(8));
}

TEST(SineAndCosine, MirrorToTheBit) {
  Random random(6);
  for (int i = 0; i < 100'000; ++i) {
    const double x = i % 2 ? random.Between(-720, 720) : OfAnySize(random, -1074, 1024);
    ASSERT_EQ(Bits(Sine(-x)), Bits(-Sine(x))) << x;
    ASSERT_EQ(Bits(Cosine(-x)), Bits(Cosine(x))) << x;
    ASSERT_LE(std::abs(Sine(x)), 1) << x;
    ASSERT_LE(std::abs(Cosine(x)), 1) << x;
  }
}

TEST(SineAndCosine, AreExchangedByTheComplement) {
  for (int i = 0; i <= 90 * 1024; ++i) {
    const double x = i / 1024.0; // and 90 - x, exactly
    ASSERT_EQ(Sine(x), Cosine(90 - x)) << x;
  }
}

TEST(SineAndCosine, OfInfinityAndNaNAreNaN) {
  for (const double x : {kInfinity, -kInfinity, kNaN}) {
    EXPECT_TRUE(std::isnan(Sine(x)));
    EXPECT_TRUE(std::isnan(Cosine(x)));
  }
}

TEST(ArcTangent2, FollowsTheStandardForZerosAndInfinities) {
  constexpr double pi = std::numbers::pi;
  const struct {
    double y, x, angle;
  } cases[] = {{0, 0, 0},
               {0, -0.0, pi},
               {0, 1, 0},
               {0, -1, pi},
               {0, kInfinity, 0},
               {0, -kInfinity, pi},
               {1, 0, pi / 2},
               {1, -0.0, pi / 2},
               {kSmallest, 0, pi / 2},
               {kInfinity, 0, pi / 2},
               {1, kInfinity, 0},
               {1, -kInfinity, pi},
               {kLargest, kInfinity, 0},
               {kInfinity, 1, pi / 2},
               {kInfinity, -kLargest, pi / 2},
               {kInfinity, kInfinity, pi / 4},
               {kInfinity, -kInfinity, 3 * (pi / 4)}};
  for (const auto& [y, x, angle] : cases) {
    EXPECT_EQ(Bits(ArcTangent2(y, x)), Bits(angle)) << y << " " << x;
    EXPECT_EQ(Bits(ArcTangent2(-y, x)), Bits(-angle)) << -y << " " << x;
  }
  for (const double other : {0.0, 1.0, -1.0, kInfinity, kNaN}) {
    EXPECT_TRUE(std::isnan(ArcTangent2(kNaN, other)));
    EXPECT_TRUE(std::isnan(ArcTangent2(other, kNaN)));
  }
}

TEST(ArcTangent2, OfDiagonalsAreOddEighthsOfATurn) {
  for (int exponent = -1074; exponent <= 1023; ++exponent) {
    const double a = std::ldexp(1.0, exponent);
    ASSERT_EQ(ArcTangent2(a, a), std::numbers::pi / 4) << a;
    ASSERT_EQ(ArcTangent2(a, -a), 3 * (std::numbers::pi / 4))
        << a; // happens to be the nearest double of both
  }
}

TEST(ArcTangent2, MirrorsToTheBitAndIgnoresTheSize) {
  Random random(7);
  for (int i = 0; i < 100'000; ++i) {
    const double y = OfAnySize(random, -50, 50), x = OfAnySize(random, -50, 50);
    const double angle = ArcTangent2(y, x);
    ASSERT_EQ(Bits(ArcTangent2(-y, x)), Bits(-angle)) << y << " " << x;
    for (const double size : {0x1p-900, 0x1p-600, 0x1p450, 0x1p900}) // exact, some of them scaled inside
      ASSERT_EQ(Bits(ArcTangent2(y * size, x * size)), Bits(angle)) << y << " " << x << " " << size;
  }
}

// Where one series replaces another, two errors of less than a unit could make the function fall by one.
TEST(Elementary, FunctionsRiseAcrossTheSeamsOfTheirSeries) {
  const auto ExpectRising = [](const char* what, double seam, auto function) {
    double x = seam;
    for (int i = 0; i < 500; ++i) x = std::nextafter(x, -kInfinity);
    for (double before = function(x); x < seam + 1000 * (std::nextafter(seam, kInfinity) - seam);) {
      x = std::nextafter(x, kInfinity);
      const double after = function(x);
      ASSERT_GE(after, before) << what << " at " << std::hexfloat << x;
      before = after;
    }
  };
  for (const double k : {-1000.5, -1.5, -0.5, 0.5, 1.5, 1000.5})
    ExpectRising("exp", k * std::numbers::ln2, Exp);
  for (const double k : {1e-300, 0.5, 1.0, 2.0, 1e300}) ExpectRising("log", k * std::numbers::sqrt2, Log);
  for (const double t : {0x1p-30, 0.125, 0.375, 0.71875, 1.0, 1 / 0.71875, 1 / 0.375, 8.0, 0x1p30})
    ExpectRising("arctan", t, [](double y) { return ArcTangent2(y, 1); });
  for (const double degrees : {-45.0, 45.0, 405.0}) ExpectRising("sin", degrees, Sine);
  for (const double degrees : {-135.0, -45.0, 225.0}) ExpectRising("cos", degrees, Cosine);
}

// The purpose of the functions: the numbers below are the same for every compiler, optimisation, processor
// and C library. They may only change together with the functions.
TEST(Elementary, BitsAreTheSameInEveryBuild) {
  struct Hash { // FNV-1a, 64 bits, over the values' bytes, least significant first
    std::uint64_t value = 0xcbf29ce484222325u;
    void Add(double x) {
      std::uint64_t bits = std::isnan(x) ? 0 : Bits(x); // the sign of a NaN is the processor's choice
      for (int i = 0; i < 8; ++i, bits >>= 8) value = (value ^ (bits & 0xff)) * 0x100000001b3u;
    }
  } exponential, logarithm, sine_and_cosine, angle;
  Random random(8);
  for (int i = 0; i < 50'000; ++i) {
    exponential.Add(Exp(i % 2 ? random.Between(-1, 1) : random.Between(-750, 750)));
    logarithm.Add(Log(i % 2 ? random.Between(0, 3) : OfAnySize(random, -1074, 1024)));
    const auto [sine, cosine] =
        SineAndCosineOfDegrees(i % 2 ? random.Between(-400, 400) : OfAnySize(random, -1074, 1024));
    sine_and_cosine.Add(sine), sine_and_cosine.Add(cosine);
    const int most = i % 2 ? 20 : 1024;
    const double y = OfAnySize(random, -most, most), x = OfAnySize(random, -most, most);
    angle.Add(ArcTangent2(y, x));
  }
  EXPECT_EQ(exponential.value, 0x6866c36d1cb0ca88u) << std::hex << exponential.value;
  EXPECT_EQ(logarithm.value, 0x2bffd9559a3f1bdeu) << std::hex << logarithm.value;
  EXPECT_EQ(sine_and_cosine.value, 0x4fbe52df37d6af76u) << std::hex << sine_and_cosine.value;
  EXPECT_EQ(angle.value, 0x29302c636eba7cfau) << std::hex << angle.value;
}
