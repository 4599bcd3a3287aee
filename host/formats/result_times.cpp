#include "host/formats/result_times.h"

#include "host/base/error.h"
#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/formats/csv_frames.h"
#include "host/formats/input_rate.h"
#include "host/formats/mesh_times.h"
#include "host/takes/frame_times.h"
#include "host/takes/reorder_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace mien {
namespace {

// 1 or 1000 units of the times per second.
double UnitOfTimes(Take& take, const std::vector<ResultMoment>& moments) {
  const std::string& key = moments[0].time_key;
  if (!EqualIgnoringCase(key, "timestamp") && !EqualIgnoringCase(key, "time"))
    return UnitsPerSecond(key).value_or(1);
  std::vector<double> times, steps;
  for (const ResultMoment& moment : moments) times.push_back(*moment.time);
  std::sort(times.begin(), times.end());
  for (std::size_t i = 1; i < times.size(); ++i) steps.push_back(times[i] - times[i - 1]);
  constexpr double kLongestStep = 5; // seconds between two frames
  if (steps.empty() || !(Median(steps) > kLongestStep)) return 1;
  take.notes.push_back(
      {Code::Assumed, "", fmt::format("{} has no unit; taken as milliseconds", Quoted(key))});
  return 1000;
}

// By time, or without times by number.
std::vector<std::size_t> Sort(Take& take, bool by_time, const std::string& file) {
  std::vector<std::size_t> order(take.FrameCount());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto is_before = [&](std::size_t a, std::size_t b) {
    return by_time ? take.times[a] < take.times[b] : take.frames[a] < take.frames[b];
  };
  if (!std::is_sorted(order.begin(), order.end(), is_before)) {
    std::stable_sort(order.begin(), order.end(), is_before);
    take.notes.push_back(
        {Code::Order, "",
         fmt::format("the results are not in order; they are sorted by {}", by_time ? "time" : "frame")});
    ReorderFrames(take, order);
  } else {
    order.clear();
  }
  for (std::size_t i = 1; i < take.FrameCount(); ++i)
    if (by_time ? !(take.times[i] > take.times[i - 1]) : take.frames[i] <= take.frames[i - 1])
      throw InputError(Code::Order, file, "",
                       by_time ? fmt::format("two results have the time {} s", take.times[i])
                               : fmt::format("two results have the frame {}", take.frames[i]),
                       "give each recording its own file, and times enough decimals");
  return order;
}

} // namespace

void ResultMoment::Read(const std::string& key, double value, std::string_view text) {
  if (!number && NamesFrames(key)) {
    number = value;
  } else if (!time && UnitsPerSecond(key)) {
    time = value;
    time_key = key;
    decimals = DecimalsOf(text);
  }
}

std::vector<std::size_t> SetResultTimes(Take& take, const std::vector<ResultMoment>& moments,
                                        const std::optional<FrameRate>& input_rate, const std::string& file) {
  const auto count_of = [&](auto member) {
    return static_cast<std::size_t>(std::count_if(
        moments.begin(), moments.end(), [member](const ResultMoment& m) { return (m.*member).has_value(); }));
  };
  const std::size_t count = moments.size(), timed = count_of(&ResultMoment::time);
  if (timed > 0 && timed < count)
    throw InputError(Code::Missing, file, "", fmt::format("{} of {} results have a time", timed, count),
                     "give each result its time");
  const bool numbered = count_of(&ResultMoment::number) == count &&
                        std::all_of(moments.begin(), moments.end(), [](const ResultMoment& m) {
                          constexpr double kMost = 1e12; // beyond, the times of two neighbours could be equal
                          return std::trunc(*m.number) == *m.number && std::abs(*m.number) <= kMost;
                        });
  if (timed > 0) RefuseInputRate(input_rate, file);
  const double units = timed > 0 ? UnitOfTimes(take, moments) : 1;
  int decimals = 0;
  for (std::size_t i = 0; i < count; ++i) {
    take.frames[i] =
        numbered ? static_cast<std::int64_t>(*moments[i].number) : static_cast<std::int64_t>(i + 1);
    take.times[i] = moments[i].time.value_or(0) / units;
    decimals = std::max(decimals, moments[i].decimals + (units == 1 ? 0 : 3));
  }
  std::vector<std::size_t> order = Sort(take, timed > 0, file);
  const auto not_rising = [](std::int64_t a, std::int64_t b) { return a >= b; };
  if (!numbered ||
      std::adjacent_find(take.frames.begin(), take.frames.end(), not_rising) != take.frames.end())
    std::iota(take.frames.begin(), take.frames.end(), std::int64_t{1});
  if (timed > 0) {
    if (const auto fault = SetRateByTimes(take, decimals, kFastestVideoHz))
      throw InputError(fault->code, file, "", fault->what, fault->fix);
    NoteUnlikelyUnit(take, moments[0].time_key, units);
    return order;
  }
  take.rate = InputRate(input_rate, "no times", take.notes);
  for (std::size_t i = 0; i < count; ++i) take.times[i] = take.rate.Seconds(take.frames[i] - take.frames[0]);
  NoteMissingFrames(take);
  return order;
}

} // namespace mien
