#include "host/cleaning/low_pass.h"

#include "host/takes/far_positions.h"
#include "tests/host/take_along.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

using mien::FrameRate;
using mien::LowPass;
using mien::Origin;
using mien::Point;
using mien::SmoothPositions;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::Hide;
using tests::Numbers;
using tests::Same;
using tests::TakeAlong;

namespace {

constexpr FrameRate k100Hz = {100, 1};

// The response to the filter's start falls below a millionth before the values begin. An end may be off by
// that: of a line, whose lag is at most about twenty frames here, by this fraction of one frame's motion.
constexpr double kSettled = 2e-5;

std::vector<double> Filtered(std::vector<double> values, double cutoff_hz, const FrameRate& rate = k100Hz) {
  LowPass(cutoff_hz, rate).Filter(values);
  return values;
}

std::vector<double> Reversed(std::vector<double> values) {
  std::reverse(values.begin(), values.end());
  return values;
}

double LargestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  double most = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = std::fabs(a[i] - b[i]);
    if (!(difference <= most)) most = difference; // a NaN is kept
  }
  return most;
}

std::vector<double> Line(std::size_t count, double start, double step) {
  std::vector<double> line(count);
  for (std::size_t i = 0; i < count; ++i) line[i] = start + step * static_cast<double>(i);
  return line;
}

/// The complex factor on a wave of `cycles` per frame far from the ends: its size is the gain, its angle the
/// shift.
std::complex<double> Response(double cycles, double cutoff_hz, const FrameRate& rate) {
  constexpr std::size_t kFrames = 12000, kEnds = 3000;
  const double w = 2 * std::numbers::pi * cycles;
  std::vector<double> cosine(kFrames), sine(kFrames);
  for (std::size_t i = 0; i < kFrames; ++i) {
    cosine[i] = std::cos(w * static_cast<double>(i));
    sine[i] = std::sin(w * static_cast<double>(i));
  }
  const std::vector<double> real = Filtered(cosine, cutoff_hz, rate),
                            imaginary = Filtered(sine, cutoff_hz, rate);
  // For a linear time-invariant filter, every frame gives the same factor.
  const auto at = [&](std::size_t i) {
    return std::complex(real[i], imaginary[i]) / std::complex(cosine[i], sine[i]);
  };
  double spread = 0;
  for (std::size_t i = kEnds; i < kFrames - kEnds; ++i)
    spread = std::max(spread, std::abs(at(i) - at(kEnds)));
  EXPECT_LT(spread, 1e-9) << cycles << " a frame";
  return at(kEnds);
}

} // namespace

// --- Frequencies.

TEST(LowPass, PassesSevenTenthsOfAWaveAtTheCutoff) {
  for (const FrameRate& rate : {k100Hz, FrameRate{30, 1}, FrameRate{60000, 1001}})
    for (const double share : {0.01, 0.05, 0.1, 0.2, 0.3, 0.4, 0.45}) // of the rate
      EXPECT_NEAR(std::abs(Response(share, share * rate.Hz(), rate)), std::numbers::sqrt2 / 2, 1e-3)
          << share << " of " << rate.Hz();
}

// 1 / (1 + (f / f')^4) with f' = f_cutoff (sqrt(2) - 1)^(-1/4). This far below half the rate, the bilinear
// transform warps frequencies by half a percent, so gains by two percent.
TEST(LowPass, FallsWithTheFourthPowerAboveTheCutoff) {
  for (const double times : {0.1, 0.25, 0.5, 1.0, 1.5, 2.0, 4.0}) {
    const double expected = 1 / (1 + (std::numbers::sqrt2 - 1) * std::pow(times, 4));
    EXPECT_NEAR(std::abs(Response(0.01 * times, 1, k100Hz)), expected, 0.025 * expected) << times;
  }
}

TEST(LowPass, PassesSlowWavesAndStopsFastOnes) {
  EXPECT_GT(std::abs(Response(0.005, 6, k100Hz)), 0.9999);
  EXPECT_LT(std::abs(Response(0.4, 6, k100Hz)), 0.001);
  std::vector<double> flicker(400); // alternating from frame to frame: half the rate
  for (std::size_t i = 0; i < flicker.size(); ++i) flicker[i] = i % 2 == 0 ? 1 : -1;
  const std::vector<double> calm = Filtered(flicker, 10);
  for (std::size_t i = 100; i < 300; ++i) EXPECT_NEAR(calm[i], 0, 1e-6) << i;
}

TEST(LowPass, DelaysNoWave) {
  for (const double cutoff_hz : {1.0, 6.0, 15.0, 30.0})
    for (const double share : {0.2, 0.7, 1.0, 1.5}) {
      const std::complex<double> factor = Response(share * cutoff_hz / 100, cutoff_hz, k100Hz);
      EXPECT_NEAR(std::arg(factor), 0, 1e-9) << cutoff_hz << ' ' << share;
      EXPECT_GT(factor.real(), 0);
    }
}

// A gain above 1 would make noise larger.
TEST(LowPass, AmplifiesNoFrequency) {
  for (const double share : {0.001, 0.1, 0.3, 0.45, 0.49, 0.4999}) {
    std::vector<double> values(500);
    tests::Random random(61);
    double before = 0, after = 0;
    for (double& value : values) value = random.Between(-1, 1), before += value * value;
    for (const double value : Filtered(values, share * 100)) after += value * value;
    EXPECT_LT(after, before) << share;
  }
}

// --- Ends, lines, directions.

TEST(LowPass, AConstantIsUnchangedUpToRounding) {
  for (const std::size_t count : {1u, 2u, 3u, 10u, 50u, 1000u})
    for (const double cutoff_hz : {0.5, 6.0, 25.0, 49.0}) {
      const std::vector<double> constant(count, 1234.5);
      EXPECT_LT(LargestDifference(Filtered(constant, cutoff_hz), constant), 1e-9)
          << count << ' ' << cutoff_hz;
    }
}

TEST(LowPass, AStraightLineIsUnchanged) {
  for (const double cutoff_hz : {1.0, 6.0, 25.0, 49.0}) {
    const std::vector<double> line = Line(1000, -50, 1);
    EXPECT_LT(LargestDifference(Filtered(line, cutoff_hz), line), kSettled) << cutoff_hz;
  }
}

// There may be only a few frames between two gaps. The guarantee holds for them too.
TEST(LowPass, AShortStraightLineIsUnchanged) {
  for (const double cutoff_hz : {1.0, 6.0, 25.0, 49.0}) {
    double most = 0;
    std::size_t worst = 0;
    for (std::size_t count = 1; count <= 40; ++count) {
      const std::vector<double> line = Line(count, -50, 1);
      const double off = LargestDifference(Filtered(line, cutoff_hz), line);
      if (!(off <= most)) most = off, worst = count;
    }
    EXPECT_LT(most, kSettled) << "of " << worst << " values, at " << cutoff_hz << " Hz";
  }
}

TEST(LowPass, AddsNoArtefactsAtTheEnds) {
  // At both ends it is a straight line, which the mirror image continues.
  std::vector<double> way(300);
  for (std::size_t i = 0; i < 300; ++i)
    way[i] = static_cast<double>(i) + 5 * std::exp(-std::pow((static_cast<double>(i) - 150) / 20, 2));
  const std::vector<double> calm = Filtered(way, 6);
  for (const std::size_t i : {0u, 1u, 10u, 289u, 298u, 299u}) EXPECT_NEAR(calm[i], way[i], kSettled) << i;
}

TEST(LowPass, RunsTheSameInBothDirections) {
  tests::Random random(62);
  std::vector<double> values(400);
  for (double& value : values) value = random.Between(-1, 1);
  for (const double cutoff_hz : {1.0, 6.0, 25.0, 45.0})
    EXPECT_LT(LargestDifference(Reversed(Filtered(values, cutoff_hz)), Filtered(Reversed(values), cutoff_hz)),
              kSettled)
        << cutoff_hz;
}

// Also for values that end before the filter has settled; otherwise a short rise of a brow would be shifted
// in time.
TEST(LowPass, SymmetryIsKept) {
  for (const std::size_t count : {5u, 11u, 31u, 101u, 401u}) {
    std::vector<double> bump(count);
    for (std::size_t i = 0; i < count; ++i)
      bump[i] = 1 - std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(count - 1));
    for (const double cutoff_hz : {2.0, 6.0, 25.0}) {
      const std::vector<double> calm = Filtered(bump, cutoff_hz);
      EXPECT_LT(LargestDifference(calm, Reversed(calm)), kSettled) << count << ' ' << cutoff_hz;
    }
  }
}

TEST(LowPass, AcceptsOneValueAndNone) {
  EXPECT_THAT(Filtered({}, 6), IsEmpty());
  EXPECT_THAT(Filtered({3.7}, 6), ElementsAre(3.7));
}

TEST(LowPass, OneFilterCanBeUsedManyTimes) {
  tests::Random random(63);
  LowPass filter(6, k100Hz);
  for (const std::size_t count : {300u, 7u, 40u, 300u}) {
    std::vector<double> values(count);
    for (double& value : values) value = random.Between(-1, 1);
    const std::vector<double> alone = Filtered(values, 6);
    filter.Filter(values);
    EXPECT_EQ(values, alone) << count;
  }
}

TEST(LowPass, IsLinear) {
  tests::Random random(64);
  std::vector<double> a(60), b(60), sum(60);
  for (std::size_t i = 0; i < 60; ++i) {
    a[i] = random.Between(-1, 1), b[i] = random.Between(-1, 1);
    sum[i] = 2 * a[i] - 3 * b[i];
  }
  std::vector<double> expected(60);
  const std::vector<double> calm_a = Filtered(a, 6), calm_b = Filtered(b, 6);
  for (std::size_t i = 0; i < 60; ++i) expected[i] = 2 * calm_a[i] - 3 * calm_b[i];
  EXPECT_LT(LargestDifference(Filtered(sum, 6), expected), 1e-12);
}

// --- Takes.

namespace {

Point Noisy(double seconds, std::size_t marker) {
  const double i = 100 * seconds;
  return {10 * std::sin(i / 9) + std::sin(37 * i * i), 5 * std::cos(i / 7) + std::sin(41 * i * i),
          i + std::sin(43 * i * i) + 100 * static_cast<double>(marker)};
}

} // namespace

TEST(SmoothPositions, FiltersEachAxisOfEachGivenMarker) {
  Take take = TakeAlong({"A", "B", "C"}, Numbers(1, 80), k100Hz, Noisy);
  const Take before = take;
  std::vector<double> y;
  for (std::size_t f = 0; f < 80; ++f) y.push_back(before.At(f, 2)->y);
  SmoothPositions(take, {0, 2}, 6);
  LowPass(6, k100Hz).Filter(y);
  for (std::size_t f = 0; f < 80; ++f) {
    EXPECT_EQ(take.At(f, 2)->y, y[f]) << f;
    EXPECT_TRUE(Same(take, before, f, 1)) << f;
  }
  EXPECT_GT(tests::Distance(*take.At(40, 0), *before.At(40, 0)), 0.01);
}

TEST(SmoothPositions, DoesNotFilterAcrossAGapOrAMissingFrame) {
  std::vector<std::int64_t> numbers = Numbers(1, 30);
  for (std::size_t f = 20; f < 30; ++f) numbers[f] += 1; // 21 is missing
  Take take = TakeAlong({"A"}, numbers, k100Hz, Noisy);
  Hide(take, 0, 10, 12);
  const std::pair<std::size_t, std::size_t> runs[] = {{0, 10}, {12, 20}, {20, 30}};
  Take expected = take;
  for (const auto& [first, end] : runs) {
    LowPass filter(8, k100Hz);
    std::vector<double> x, y, z;
    for (std::size_t f = first; f < end; ++f)
      x.push_back(take.At(f, 0)->x), y.push_back(take.At(f, 0)->y), z.push_back(take.At(f, 0)->z);
    filter.Filter(x), filter.Filter(y), filter.Filter(z);
    for (std::size_t f = first; f < end; ++f) expected.Set(f, 0, {x[f - first], y[f - first], z[f - first]});
  }
  SmoothPositions(take, {0}, 8);
  EXPECT_EQ(tests::Changes(take, expected), 0u);
  EXPECT_FALSE(take.At(10, 0) || take.At(11, 0));
}

TEST(SmoothPositions, ChangesNoOrigin) {
  Take take = TakeAlong({"A"}, Numbers(1, 30), k100Hz, Noisy);
  take.Set(4, 0, {1, 2, 3}, Origin::Computed), take.Set(5, 0, {2, 3, 4}, Origin::Filled);
  take.Clear(9, 0);
  SmoothPositions(take, {0}, 8);
  for (std::size_t f = 0; f < 30; ++f)
    EXPECT_EQ(take.OriginAt(f, 0), f == 4   ? Origin::Computed
                                   : f == 5 ? Origin::Filled
                                   : f == 9 ? Origin::None
                                            : Origin::Measured)
        << f;
}

TEST(SmoothPositions, ASinglePositionIsUnchanged) {
  Take take = TakeAlong({"A", "B"}, Numbers(1, 9), k100Hz, Noisy);
  Hide(take, 0, 0, 4), Hide(take, 0, 5, 9), Hide(take, 1, 0, 9);
  const Take before = take;
  SmoothPositions(take, {0, 1}, 8);
  EXPECT_EQ(tests::Changes(take, before), 0u);
  Take none({"A"});
  none.rate = k100Hz;
  SmoothPositions(none, {0}, 8);
  EXPECT_EQ(none.FrameCount(), 0u);
}

// After a leap the filter overshoots by some percent.
TEST(SmoothPositions, NoPositionLeavesTheReach) {
  const auto leap = [](double seconds, std::size_t) { return Point{seconds < 0.505 ? -9.9e5 : 9.9e5, 0, 1}; };
  Take take = TakeAlong({"A"}, Numbers(1, 100), k100Hz, leap);
  const Take before = take;
  SmoothPositions(take, {0}, 8);
  std::size_t kept = 0;
  for (std::size_t f = 0; f < 100; ++f) {
    ASSERT_TRUE(mien::IsWithinReach(*take.At(f, 0))) << f;
    if (f > 50 && f < 70 && take.At(f, 0)->x == before.At(f, 0)->x) ++kept;
  }
  EXPECT_GT(kept, 0u);
  EXPECT_NE(take.At(50, 0)->x, before.At(50, 0)->x);
}
