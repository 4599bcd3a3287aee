#include "host/takes/frame_times.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <vector>

namespace mien {
namespace {

constexpr std::size_t kPlacesShown = 3;

double StepFrames(const Take& take, std::size_t i) {
  return static_cast<double>(take.frames[i] - take.frames[i - 1]);
}
double StepSeconds(const Take& take, std::size_t i) { return take.times[i] - take.times[i - 1]; }

// The usual seconds from frame to frame: their median.
double UsualPeriod(const Take& take) {
  std::vector<double> periods(take.FrameCount() - 1);
  for (std::size_t i = 0; i < periods.size(); ++i)
    periods[i] = StepSeconds(take, i + 1) / StepFrames(take, i + 1);
  const auto middle = periods.begin() + static_cast<std::ptrdiff_t>(periods.size() / 2);
  std::nth_element(periods.begin(), middle, periods.end());
  return *middle;
}

struct MeasuredRate {
  double hz = 0;
  double room_hz = 0; // by which rounded times leave it open
};

// Both ends of a run are rounded by half a unit in the last place. A recording that paused without skipping
// numbers counts as several runs: the pause would otherwise lower the rate of all of it.
MeasuredRate MeasureRuns(Take& take, int decimals) {
  double units = 1; // of the last place in a second
  for (int i = 0; i < decimals; ++i) units *= 10;
  const double rounding = 1 / units;
  const double usual_period = UsualPeriod(take);

  double frames = 0, seconds = 0, error = 0;
  std::vector<std::string> jumps;
  for (std::size_t begin = 0, i = 1; i <= take.FrameCount(); ++i) {
    const bool jump =
        i < take.FrameCount() && StepSeconds(take, i) - rounding > 1.5 * usual_period * StepFrames(take, i);
    if (i < take.FrameCount() && !jump) continue;
    if (i - begin > 1) {
      frames += static_cast<double>(take.frames[i - 1] - take.frames[begin]);
      seconds += take.times[i - 1] - take.times[begin];
      error += rounding;
    }
    if (jump)
      jumps.push_back(fmt::format("{:.6g} s after frame {}", StepSeconds(take, i), take.frames[i - 1]));
    begin = i;
  }
  if (!jumps.empty())
    take.notes.push_back({Code::Doubtful, "", "timestamps jump: " + Some(jumps, kPlacesShown)});
  const double rate = frames / seconds;
  return {rate, rate * (error / seconds)};
}

bool Near(double a, double b, double room) { return std::abs(a - b) <= room; }

// The camera's likely rate, where this one was measured: the rate itself if it is practically whole.
// Otherwise a short take leaves several possible: a usual one is likeliest, then a whole one, then an NTSC
// one.
double Snap(const MeasuredRate& measured) {
  const auto [rate, room] = measured;
  // Times in single precision are off by more than their many decimals suggest, but by less than this
  // fraction.
  const double precision = rate * 1e-6;
  const double whole = std::round(rate);
  if (whole > 0 && Near(whole, rate, precision)) return whole;

  constexpr double kUsual[] = {24, 25, 30, 48, 50, 60, 90, 100, 120, 150, 200, 240, 250, 300, 500, 1000};
  double usual = kUsual[0];
  for (const double other : kUsual)
    if (std::abs(other - rate) < std::abs(usual - rate)) usual = other;
  if (Near(usual, rate, room)) return usual;
  if (whole > 0 && Near(whole, rate, room)) return whole;
  const double ntsc = std::round(rate * 1.001) * 1000 / 1001;
  return ntsc > 0 && Near(ntsc, rate, std::max(room, precision)) ? ntsc : rate;
}

} // namespace

int DecimalsOf(std::string_view number) {
  const std::size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, e);
  const std::size_t point = std::min(mantissa.find_first_of(".,"), mantissa.size());
  const auto digits = std::count_if(mantissa.begin() + static_cast<std::ptrdiff_t>(point), mantissa.end(),
                                    [](char c) { return c >= '0' && c <= '9'; });
  int exponent = 0;
  if (e != number.size()) {
    std::string_view text = number.substr(e + 1);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::from_chars(text.data(), text.data() + text.size(), exponent);
  }
  constexpr int kMost = 400; // more than any double has
  return std::clamp(static_cast<int>(std::min<std::ptrdiff_t>(digits, kMost)) -
                        std::clamp(exponent, -kMost, kMost),
                    0, kMost);
}

void NoteMissingFrames(Take& take) {
  std::vector<std::string> missing;
  for (std::size_t i = 1; i < take.FrameCount(); ++i)
    if (const std::int64_t skipped = take.frames[i] - take.frames[i - 1] - 1; skipped > 0)
      missing.push_back(fmt::format("{} after frame {}", skipped, take.frames[i - 1]));
  if (!missing.empty())
    take.notes.push_back({Code::Missing, "", "frames missing: " + Some(missing, kPlacesShown)});
}

std::optional<FrameFault> SetRateByTimes(Take& take, int decimals, double fastest_hz) {
  if (take.FrameCount() == 0)
    return FrameFault{Code::Empty, "there are no frames, only a header",
                      "export the take again with its rows"};
  if (take.FrameCount() == 1) {
    take.rate = {30, 1};
    take.notes.push_back(
        {Code::Assumed, "", fmt::format("one frame has no rate; taken as {} Hz", ToText(take.rate))});
    return std::nullopt;
  }
  NoteMissingFrames(take);
  const MeasuredRate measured = MeasureRuns(take, decimals);
  const std::optional<FrameRate> rate = FrameRateOf(Snap(measured));
  if (!rate)
    return FrameFault{
        Code::InvalidValue,
        fmt::format("times from {} s to {} s give no frame rate", take.times.front(), take.times.back()),
        "check their unit"};
  take.rate = *rate;
  if (measured.hz < 1 || measured.hz > fastest_hz)
    take.notes.push_back(
        {Code::Doubtful, "",
         fmt::format("the times give a rate of {:.6g} Hz; check their unit", take.rate.Hz())});
  return std::nullopt;
}

} // namespace mien
