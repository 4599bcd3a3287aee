#include "host/formats/frame_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace mien {
namespace {

constexpr FrameRate kRateOfOneFrame = {30, 1};

// Digits behind the decimal point: 3 for "0.033", 5 for "3.3e-4", 0 for "2e3". What is no number gives just
// any count.
int Decimals(std::string_view number) {
  const std::size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::size_t point = std::min(number.find('.'), e);
  const std::size_t digits = e - std::min(point + 1, e);
  int exponent = 0;
  if (e != number.size()) {
    std::string_view text = number.substr(e + 1);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::from_chars(text.data(), text.data() + text.size(), exponent);
  }
  constexpr int kMost = 400; // more than any double has
  return std::clamp(
      static_cast<int>(std::min<std::size_t>(digits, kMost)) - std::clamp(exponent, -kMost, kMost), 0, kMost);
}

// Places where something is missing, told as one note: the first three of them, and how many there are.
class Places {
public:
  void Add(const std::string& place) {
    if (++count_ > kShown) return;
    if (count_ > 1) first_ += ", ";
    first_ += place;
  }
  void TellTo(Take& take, std::string_view what) const {
    if (count_ == 0) return;
    take.notes.push_back(count_ <= kShown
                             ? fmt::format("{}: {}", what, first_)
                             : fmt::format("{}: {}, and at {} more places", what, first_, count_ - kShown));
  }

private:
  static constexpr int kShown = 3;
  int count_ = 0;
  std::string first_;
};

bool Near(double a, double b, double room) { return std::abs(a - b) <= room; }

// The rate that a camera may have had when the times give `rate`, give or take `room` (both in Hz). The rate
// itself if it is as good as whole. Else a short take leaves room for several: a usual one is likeliest, then
// a whole one, then an NTSC one.
double Snap(double rate, double room) {
  // Times kept in single precision are off by more than their many decimals say, but by less than this part.
  const double precision = rate * 1e-6;
  const double whole = std::round(rate);
  if (whole > 0 && Near(whole, rate, precision)) return whole;

  constexpr double kUsual[] = {24, 25, 30, 48, 50, 60, 90, 100, 120, 150, 200, 240, 250, 300, 500, 1000};
  const double usual = *std::min_element(std::begin(kUsual), std::end(kUsual), [rate](double a, double b) {
    return std::abs(a - rate) < std::abs(b - rate);
  });
  if (Near(usual, rate, room)) return usual;
  if (whole > 0 && Near(whole, rate, room)) return whole;
  const double ntsc = std::round(rate * 1.001) * 1000 / 1001;
  return ntsc > 0 && Near(ntsc, rate, std::max(room, precision)) ? ntsc : rate;
}

} // namespace

std::size_t FrameTimes::AddFrame(CsvReader& row, Take& take) {
  const bool first = take.frames.empty();
  const std::int64_t number = frame_column_ ? row.Integer(*frame_column_)
                              : first       ? 1
                                            : take.frames.back() + 1;
  decimals_ = std::max(decimals_, Decimals(row.Text(time_column_)));
  const double time = row.Number(time_column_);
  if (!first && number <= take.frames.back())
    row.FailAt(*frame_column_, fmt::format("frame {} comes after frame {}", number, take.frames.back()),
               "sort the rows by frame, one row per frame; give each recording its own file");
  if (!first && !(time > take.times.back()))
    row.FailAt(time_column_, fmt::format("the time {} s comes after {} s", time, take.times.back()),
               "give each row a later time than the row before, in seconds, with enough decimals to tell "
               "them apart");
  return take.AddFrame(number, time);
}

void FrameTimes::Finish(const CsvReader& table, Take& take) const {
  const std::size_t count = take.FrameCount();
  if (count == 0) table.Fail("there are no frames, only a header", "export the take again with its rows");
  if (count == 1) {
    take.rate = kRateOfOneFrame;
    take.notes.push_back(fmt::format("one frame has no rate; taken as {} Hz", ToText(take.rate)));
    return;
  }

  const auto step_frames = [&](std::size_t i) {
    return static_cast<double>(take.frames[i] - take.frames[i - 1]);
  };
  const auto step_seconds = [&](std::size_t i) { return take.times[i] - take.times[i - 1]; };

  Places missing;
  for (std::size_t i = 1; i < count; ++i)
    if (const std::int64_t skipped = take.frames[i] - take.frames[i - 1] - 1; skipped > 0)
      missing.Add(fmt::format("{} after frame {}", skipped, take.frames[i - 1]));
  missing.TellTo(take, "frames missing");

  std::vector<double> periods(count - 1);
  for (std::size_t i = 1; i < count; ++i) periods[i - 1] = step_seconds(i) / step_frames(i);
  const auto middle = periods.begin() + static_cast<std::ptrdiff_t>(periods.size() / 2);
  std::nth_element(periods.begin(), middle, periods.end());
  const double usual_period = *middle;

  // Both ends of a run are rounded by half a unit in the last place. A recording that paused without skipping
  // numbers counts as several runs: the pause would otherwise lower the rate of all of it.
  double units = 1; // of the last place in a second
  for (int i = 0; i < decimals_; ++i) units *= 10;
  const double rounding = 1 / units;
  double frames = 0;
  double seconds = 0;
  double error = 0;
  Places jumps;
  for (std::size_t begin = 0, i = 1; i <= count; ++i) {
    const bool jump = i < count && step_seconds(i) - rounding > 1.5 * usual_period * step_frames(i);
    if (i < count && !jump) continue;
    if (i - begin > 1) {
      frames += static_cast<double>(take.frames[i - 1] - take.frames[begin]);
      seconds += take.times[i - 1] - take.times[begin];
      error += rounding;
    }
    if (jump) jumps.Add(fmt::format("{:.6g} s after frame {}", step_seconds(i), take.frames[i - 1]));
    begin = i;
  }
  jumps.TellTo(take, "timestamps jump");

  const double rate = frames / seconds;
  const std::optional<FrameRate> found = FrameRateOf(Snap(rate, rate * (error / seconds)));
  if (!found)
    table.Fail(
        fmt::format("times from {} s to {} s give no frame rate", take.times.front(), take.times.back()),
        "write the times in seconds");
  take.rate = *found;
  if (rate < 1 || rate > 10000)
    take.notes.push_back(fmt::format("the times, read as seconds, give a rate of {:.6g} Hz", take.rate.Hz()));
}

} // namespace mien
