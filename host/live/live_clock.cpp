#include "host/live/live_clock.h"

#include <algorithm>
#include <cmath>

namespace mien {

namespace {

constexpr double kSame_s = 1e-6;
constexpr double kLargest_s = 1e9; // 30 years: a larger time would lose its microseconds

bool IsTime(double seconds) { return std::fabs(seconds) <= kLargest_s * 10; }

bool IsUsable(const LiveTimecode& timecode) {
  constexpr std::int64_t kMostRate = 1000000;
  constexpr std::int64_t kMostCount = 1000LL * 86400;
  return timecode.rate.numerator > 0 && timecode.rate.denominator > 0 &&
         timecode.rate.numerator <= kMostRate && timecode.rate.denominator <= kMostRate &&
         timecode.rate.Hz() <= 1000 && timecode.rate.Hz() >= 1 && timecode.count >= 0 &&
         timecode.count <= kMostCount;
}

double FractionOf(const LiveTimecode& timecode) {
  return timecode.fraction >= 0 && timecode.fraction < 1 ? timecode.fraction : 0;
}

} // namespace

std::optional<double> LiveClock::SourceTime(const LiveInput& input) {
  if (kind_ == Kind::None) {
    if (input.timecode && IsUsable(*input.timecode)) {
      kind_ = Kind::Timecode;
      first_ = Timecode{
          .count = input.timecode->count, .rate = input.timecode->rate, .drop = input.timecode->drop};
      last_count_ = input.timecode->count;
      first_fraction_ = FractionOf(*input.timecode);
    } else {
      kind_ = input.source_s && IsTime(*input.source_s) ? Kind::Source : Kind::Arrival;
    }
  }
  if (kind_ == Kind::Source) return input.source_s && IsTime(*input.source_s) ? input.source_s : std::nullopt;
  if (kind_ == Kind::Arrival || !input.timecode || !IsUsable(*input.timecode)) return std::nullopt;
  const LiveTimecode& timecode = *input.timecode;
  const std::int64_t day = first_->CountsADay();
  if (last_count_ - timecode.count > day / 2)
    ++days_;
  else if (timecode.count - last_count_ > day / 2 && days_ > 0)
    --days_; // a late frame of the day before
  last_count_ = timecode.count;
  const double fraction = FractionOf(timecode);
  // Whole counts from the first one, so that times have no rounding of hours.
  return first_->rate.Seconds(timecode.count + days_ * day - first_->count) +
         (fraction - first_fraction_) / first_->rate.Hz();
}

LiveClock::Order LiveClock::Take(const LiveInput& input) {
  if (!IsTime(input.arrival_s)) return Order::Unusable;
  const bool is_first = time_s_ < 0;
  const std::optional<double> source_s = SourceTime(input);
  if (is_first) {
    first_source_s_ = source_s.value_or(input.arrival_s);
    arrival_s_ = input.arrival_s;
    time_s_ = 0;
    if (kind_ != Kind::Arrival) MeasureDrift(0, input.arrival_s);
    return Order::Next;
  }
  double time_s = 0;
  if (kind_ == Kind::Arrival) {
    time_s = input.arrival_s - first_source_s_;
  } else if (source_s) {
    constexpr double kBack_s = 1, kForth_s = 60;
    constexpr std::size_t kMostLate = 10;
    time_s = *source_s - first_source_s_;
    late_in_a_row_ = time_s < time_s_ - kSame_s ? late_in_a_row_ + 1 : 0;
    if (time_s < time_s_ - kBack_s || time_s > time_s_ + kForth_s || late_in_a_row_ >= kMostLate) {
      Restart(*source_s, input.arrival_s);
      time_s = *source_s - first_source_s_;
    }
  } else {
    time_s = time_s_ + (input.arrival_s - arrival_s_);
  }
  if (std::fabs(time_s - time_s_) < kSame_s) return Order::Duplicate;
  if (time_s < time_s_) return Order::Late;
  if (kind_ != Kind::Arrival && source_s) MeasureDrift(time_s, input.arrival_s);
  Advance(time_s);
  arrival_s_ = input.arrival_s;
  return Order::Next;
}

void LiveClock::Restart(double source_s, double arrival_s) {
  constexpr double kLeast_s = 1e-3;
  ++restarts_;
  late_in_a_row_ = 0;
  const double passed_s = std::max(arrival_s - arrival_s_, interval_s_ > 0 ? interval_s_ : kLeast_s);
  first_source_s_ = source_s - (time_s_ + passed_s);
  first_window_ = last_window_ = window_ = std::nullopt;
}

void LiveClock::Insert(double time_s) { time_s_ = time_s; }

void LiveClock::Advance(double time_s) {
  const double passed_s = time_s - time_s_;
  time_s_ = time_s;
  if (interval_s_ <= 0) {
    interval_s_ = passed_s;
    return;
  }
  constexpr double kMissing = 1.6; // of an interval: less is jitter
  constexpr double kMostAtOnce = 1e6;
  constexpr double kShare = 0.05;      // of an interval in the usual one
  constexpr std::size_t kMostGaps = 8; // after this many in a row, the usual interval is taken to be wrong
  const double intervals = passed_s / interval_s_;
  if (intervals < kMissing) {
    interval_s_ += kShare * (passed_s - interval_s_);
    gaps_in_a_row_ = 0;
  } else if (++gaps_in_a_row_ < kMostGaps) {
    dropped_ += static_cast<std::size_t>(std::llround(std::min(intervals, kMostAtOnce))) - 1;
  } else {
    interval_s_ = passed_s;
    gaps_in_a_row_ = 0;
  }
}

// A network delays packets at random, some of them hardly at all: use the smallest delay of each window.
void LiveClock::MeasureDrift(double source_s, double arrival_s) {
  constexpr double kWindow_s = 5;
  const double delay_s = arrival_s - source_s;
  if (!window_) window_ = Window{.start_s = arrival_s, .least_s = delay_s, .at_s = arrival_s};
  if (arrival_s - window_->start_s > kWindow_s) {
    (first_window_ ? last_window_ : first_window_) = window_;
    window_ = Window{.start_s = arrival_s, .least_s = delay_s, .at_s = arrival_s};
  }
  if (delay_s < window_->least_s) window_->least_s = delay_s, window_->at_s = arrival_s;
}

std::optional<double> LiveClock::Drift_ppm() const {
  if (!first_window_ || !last_window_ || !(last_window_->at_s > first_window_->at_s)) return std::nullopt;
  // A source that is faster has times that run ahead of the arrivals: the delays fall.
  constexpr double kMillion = 1e6;
  return -(last_window_->least_s - first_window_->least_s) / (last_window_->at_s - first_window_->at_s) *
         kMillion;
}

} // namespace mien
