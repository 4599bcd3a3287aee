#include "host/formats/trc_timing.h"

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/formats/input_rate.h"
#include "host/takes/frame_times.h"
#include "host/takes/reorder_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string_view>
#include <vector>

namespace mien::trc {

namespace {

// Sorts rows that are out of order, if both their numbers and their times rise then.
bool SortByTime(const Rows& rows, Take& take) {
  const LongVector<double>& times = take.times;
  if (rows.lacks_numbers ||
      std::any_of(times.begin(), times.end(), [](double time) { return std::isnan(time); }))
    return false;
  std::vector<std::size_t> order(take.FrameCount());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return times[a] < times[b]; });
  for (std::size_t i = 1; i < order.size(); ++i)
    if (!(times[order[i - 1]] < times[order[i]] && take.frames[order[i - 1]] < take.frames[order[i]]))
      return false;
  ReorderFrames(take, order);
  Note note = rows.unnumbered;
  note.what += "; the rows are sorted by time";
  take.notes.push_back(note);
  return true;
}

void NumberFrames(const Rows& rows, Take& take) {
  if (!rows.number_from || SortByTime(rows, take)) return;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    take.frames[frame] = *rows.number_from + static_cast<std::int64_t>(frame);
  Note note = rows.unnumbered;
  note.what += fmt::format("; the frames are numbered from {}", *rows.number_from);
  take.notes.push_back(note);
}

// Whether the column Time is complete and rises.
bool TimesRise(const Take& take) {
  for (std::size_t i = 0; i < take.FrameCount(); ++i)
    if (std::isnan(take.times[i]) || (i > 0 && !(take.times[i] > take.times[i - 1]))) return false;
  return true;
}

void SetRateWithoutKey(const Header& header, const Rows& rows, const std::string& file,
                       const std::optional<FrameRate>& input_rate, Take& take) {
  const bool no_key = header.rate_text.empty();
  const std::string what = no_key ? "no DataRate" : fmt::format("the DataRate {} is none", header.rate_text);
  const bool untimed =
      std::all_of(take.times.begin(), take.times.end(), [](double time) { return std::isnan(time); });
  if (untimed && (input_rate || take.FrameCount() > 1)) {
    take.rate = InputRate(input_rate, what + " and no times", take.notes);
    NoteMissingFrames(take);
    return;
  }
  RefuseInputRate(input_rate, file);
  const auto fail = [&](std::string_view why) {
    throw InputError(Code::Contradiction, file, fmt::format("{}", header.values_line),
                     fmt::format("{}, and {}", what, why), "write the frame rate under DataRate");
  };
  if (take.FrameCount() > 1 && !TimesRise(take)) fail("the column Time does not rise in every row");
  if (std::isnan(take.times[0])) take.times[0] = 0; // of a single frame
  const auto before = static_cast<std::ptrdiff_t>(take.notes.size());
  if (SetRateByTimes(take, rows.decimals)) fail("the column Time gives no rate");
  take.notes.insert(take.notes.begin() + before,
                    {no_key ? Code::Missing : Code::InvalidValue, Line(header.values_line),
                     fmt::format("{}; {} Hz by the column Time", what, ToText(take.rate))});
}

void SetRate(const Header& header, const Rows& rows, const std::string& file,
             const std::optional<FrameRate>& input_rate, Take& take) {
  if (!header.rate) {
    SetRateWithoutKey(header, rows, file, input_rate, take);
    return;
  }
  RefuseInputRate(input_rate, file);
  take.rate = *header.rate;
  NoteMissingFrames(take);
}

void SetTimes(const Header& header, Take& take) {
  LongVector<double>& times = take.times;
  const auto since = [&](std::int64_t first, std::size_t i) {
    return take.rate.Seconds(take.frames[i] - first);
  };
  const double start =
      !std::isnan(times[0]) ? times[0] : since(header.first_frame.value_or(take.frames[0]), 0);
  const auto by_number = [&](std::size_t i) { return start + since(take.frames[0], i); };
  std::optional<std::size_t> astray;
  bool rising = true; // false for a start so late that a frame more makes no difference to it
  for (std::size_t i = 0; i < times.size(); ++i) {
    if (!astray && std::abs(times[i] - by_number(i)) > take.rate.Seconds(1) / 2) astray = i;
    rising = rising && (i == 0 || by_number(i) > by_number(i - 1));
  }
  if (astray) {
    const bool by_column = TimesRise(take);
    take.notes.push_back(
        {Code::Contradiction, "",
         fmt::format("frame {} has the time {:.6g} s where {} Hz give {:.6g} s; {}", take.frames[*astray],
                     times[*astray], ToText(take.rate), by_number(*astray),
                     by_column ? "the times are those of the column Time"
                               : "the column Time, which does not rise in every row, is not used")});
    if (by_column) return;
  }
  if (!rising)
    take.notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("the column Time starts at {:.6g} s; the times are from 0 instead", start)});
  for (std::size_t i = 0; i < times.size(); ++i) times[i] = rising ? by_number(i) : since(take.frames[0], i);
}

} // namespace

void SetTiming(const Header& header, const Rows& rows, const std::string& file,
               const std::optional<FrameRate>& input_rate, Take& take) {
  NumberFrames(rows, take);
  rows.no_time.AppendTo(take.notes);
  SetRate(header, rows, file, input_rate, take);
  SetTimes(header, take);
}

} // namespace mien::trc
