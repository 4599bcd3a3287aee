#include "host/live/live_clock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

using mien::LiveClock;
using mien::LiveInput;
using Order = mien::LiveClock::Order;

namespace {

LiveInput At(double arrival_s, std::optional<double> source_s = std::nullopt) {
  LiveInput input;
  input.arrival_s = arrival_s;
  input.source_s = source_s;
  return input;
}

LiveInput Coded(double arrival_s, std::int64_t count) {
  LiveInput input = At(arrival_s);
  input.timecode = mien::LiveTimecode{.count = count, .fraction = 0, .rate = {60, 1}, .drop = false};
  return input;
}

} // namespace

TEST(LiveClock, WithoutATimeOfTheSourceIsThatOfTheArrivals) {
  LiveClock clock;
  EXPECT_EQ(clock.Take(At(100)), Order::Next);
  EXPECT_EQ(clock.Time(), 0);
  EXPECT_EQ(clock.Take(At(100.5)), Order::Next);
  EXPECT_EQ(clock.Time(), 0.5);
  EXPECT_FALSE(clock.Drift_ppm());
}

TEST(LiveClock, TakesTheSourcesTimeAndDropsWhatIsLateOrDouble) {
  LiveClock clock;
  EXPECT_EQ(clock.Take(At(100, 7)), Order::Next);
  EXPECT_EQ(clock.Take(At(100.1, 7.25)), Order::Next);
  EXPECT_EQ(clock.Time(), 0.25);
  EXPECT_EQ(clock.Take(At(100.2, 7.25)), Order::Duplicate);
  EXPECT_EQ(clock.Take(At(100.3, 7.125)), Order::Late);
  EXPECT_EQ(clock.Take(At(100.4, 7.5)), Order::Next);
  EXPECT_EQ(clock.Time(), 0.5);
  EXPECT_EQ(clock.Restarts(), 0u);
}

TEST(LiveClock, ATimecodePassesMidnight) {
  LiveClock clock;
  const std::int64_t day = 86400 * 60;
  EXPECT_EQ(clock.Take(Coded(1, day - 2)), Order::Next);
  EXPECT_EQ(clock.Take(Coded(2, day - 1)), Order::Next);
  EXPECT_EQ(clock.Take(Coded(3, 0)), Order::Next);
  EXPECT_EQ(clock.Time(), 2.0 / 60);
  EXPECT_EQ(clock.Take(Coded(4, day - 1)), Order::Late) << "of the day before";
  EXPECT_EQ(clock.Take(Coded(5, 1)), Order::Next);
  EXPECT_EQ(clock.Time(), 3.0 / 60);
  ASSERT_TRUE(clock.First());
  EXPECT_EQ(clock.First()->At(clock.Time()), "00:00:00:01");
  EXPECT_EQ(clock.Restarts(), 0u);
}

TEST(LiveClock, ContinuesWhereTheSourceStartsAgain) {
  LiveClock clock;
  clock.Take(At(10, 500));
  clock.Take(At(11, 501));
  EXPECT_EQ(clock.Take(At(13, 0)), Order::Next);
  EXPECT_EQ(clock.Time(), 3) << "by the arrivals";
  EXPECT_EQ(clock.Take(At(13.5, 0.5)), Order::Next);
  EXPECT_EQ(clock.Time(), 3.5);
  EXPECT_EQ(clock.Restarts(), 1u);
}

// A source that stopped its clock while nothing was sent, and frames were inserted instead, is not late for
// ever.
TEST(LiveClock, ContinuesWhereEveryFrameIsLate) {
  LiveClock clock;
  clock.Take(At(10, 0));
  clock.Insert(0.9);
  int late = 0;
  Order order = Order::Late;
  for (int f = 1; f < 20 && order == Order::Late; ++f) {
    order = clock.Take(At(11 + f * 0.01, f * 0.01));
    late += order == Order::Late;
  }
  EXPECT_EQ(late, 9);
  EXPECT_EQ(order, Order::Next);
  EXPECT_GT(clock.Time(), 0.9);
}

TEST(LiveClock, CountsWhatIsMissing) {
  LiveClock clock;
  for (const int f : {0, 1, 2, 3, 6, 7, 8, 10}) clock.Take(At(f, f * 0.25));
  EXPECT_EQ(clock.Dropped(), 3u);
  EXPECT_NEAR(clock.Interval(), 0.25, 1e-12);
}

TEST(LiveClock, MeasuresDriftUnderJitter) {
  LiveClock clock;
  for (int f = 0; f < 3000; ++f) {
    const double real_s = f / 60.0, jitter_s = (f * 7919 % 100) * 1e-4; // up to 10 ms, often hardly any
    clock.Take(At(50 + real_s + jitter_s, real_s * (1 + 200e-6)));
  }
  ASSERT_TRUE(clock.Drift_ppm());
  EXPECT_NEAR(*clock.Drift_ppm(), 200, 20); // least delays are up to 0.3 ms apart, 40 s from each other
}

TEST(LiveClock, RefusesTimesThatAreNone) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity(),
                   kNone = std::numeric_limits<double>::quiet_NaN();
  LiveClock clock;
  EXPECT_EQ(clock.Take(At(kNone)), Order::Unusable);
  EXPECT_EQ(clock.Take(At(kInfinity, 1)), Order::Unusable);
  EXPECT_EQ(clock.Take(At(1, kNone)), Order::Next) << "by its arrival";
  EXPECT_EQ(clock.Take(At(1.5, 1e300)), Order::Next);
  EXPECT_EQ(clock.Time(), 0.5);
  LiveInput coded = Coded(2, 1);
  coded.timecode->rate = {0, 0};
  EXPECT_EQ(clock.Take(coded), Order::Next);
  EXPECT_EQ(clock.Time(), 1);
}

TEST(LiveClock, AStrangeTimecodeIsNone) {
  for (const mien::FrameRate& rate : {mien::FrameRate{0, 1}, mien::FrameRate{-60, 1}, mien::FrameRate{60, -1},
                                      mien::FrameRate{std::numeric_limits<std::int64_t>::max(), 1}}) {
    LiveClock clock;
    LiveInput input = Coded(1, 5);
    input.timecode->rate = rate;
    EXPECT_EQ(clock.Take(input), Order::Next);
    EXPECT_FALSE(clock.First());
  }
  LiveClock clock;
  EXPECT_EQ(clock.Take(Coded(1, std::numeric_limits<std::int64_t>::min())), Order::Next);
  EXPECT_FALSE(clock.First());
}
