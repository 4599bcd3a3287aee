#include "host/c_interface/array_clock.h"

#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/c_interface/call.h"
#include "host/jobs/output_place.h"
#include "host/jobs/take_timecode.h"
#include "host/takes/frame_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace mien {

namespace {

[[noreturn]] void Fail(const Take& take, Code code, std::size_t frame, const std::string& what,
                       const char* fix) {
  throw InputError(code, take.file, fmt::format("frame index {}", frame), what, fix);
}

FrameRate RateOf(const ArrayClock& clock) {
  const FrameRate rate = {clock.rate_numerator, clock.rate_denominator};
  if (rate.numerator < 0 || rate.denominator <= 0 || !FrameRateOf(rate.Hz()))
    throw UsageError("rate_numerator", fmt::format("{}/{} is not a rate", rate.numerator, rate.denominator));
  return rate;
}

void AddFrames(const ArrayClock& clock, Take& take) {
  for (std::size_t f = 0; f < clock.frames; ++f) {
    const auto number = clock.frame_numbers ? clock.frame_numbers[f] : static_cast<std::int64_t>(f) + 1;
    if (f > 0 && number <= take.frames.back())
      Fail(take, Code::Order, f, fmt::format("frame number {} follows {}", number, take.frames.back()),
           "frame numbers must rise");
    constexpr std::int64_t kMost = std::int64_t{1} << 52; // differences and products with a rate stay exact
    if (number > kMost || number < -kMost)
      Fail(take, Code::InvalidValue, f, fmt::format("frame number {} is out of range", number),
           "number frames from 1");
    const double time = clock.times ? clock.times[f] : take.rate.Seconds(number - 1);
    if (!std::isfinite(time))
      Fail(take, Code::InvalidValue, f, fmt::format("the time is {}", time), "give it in seconds");
    if (f > 0 && time <= take.times.back())
      Fail(take, Code::Order, f, fmt::format("the time {} follows {}", time, take.times.back()),
           "times must rise");
    take.AddFrame(number, time);
  }
}

} // namespace

Take TakeWithClock(const ArrayClock& clock, std::vector<std::string> markers, const char* default_name) {
  Take take(std::move(markers));
  take.name = clock.name ? RequireText(clock.name, "name") : default_name;
  take.file = take.name;
  take.format = "arrays";
  take.unit = "mm";
  if (clock.rate_numerator != 0)
    take.rate = RateOf(clock);
  else if (!clock.times)
    throw UsageError("rate_numerator", "there is neither a rate nor times");
  AddFrames(clock, take);
  if (clock.rate_numerator == 0) {
    constexpr int kDecimals = 6; // within which times agree with a usual rate
    if (const std::optional<FrameFault> fault = SetRateByTimes(take, kDecimals))
      throw InputError(fault->code, take.file, "", fault->what, fault->fix);
  } else {
    NoteMissingFrames(take);
  }
  if (clock.timecode) take.timecode = RequireTimecode(clock.timecode, take.rate);
  return take;
}

std::vector<std::string> NamesOf(const char* const* names, std::size_t count, const char* argument) {
  if (!names || count == 0) throw UsageError(argument, "there are no names");
  std::vector<std::string> list;
  list.reserve(count);
  for (std::size_t i = 0; i < count; ++i) list.push_back(RequireText(names[i], argument));
  std::vector<std::string> sorted = list;
  std::sort(sorted.begin(), sorted.end());
  const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
  if (twice != sorted.end()) throw UsageError(argument, fmt::format("{} is there twice", Quoted(*twice)));
  return list;
}

void RequireSize(std::size_t frames, std::size_t columns, const char* argument) {
  constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / (3 * sizeof(double));
  if (frames == 0) throw UsageError("frame_count", "there are no frames");
  if (columns > kMost / frames) throw UsageError(argument, "no array is as large as this");
}

double DoubleAt(const double* first, std::ptrdiff_t bytes) {
  double value = 0;
  std::memcpy(&value, reinterpret_cast<const char*>(first) + bytes, sizeof value);
  return value;
}

} // namespace mien
