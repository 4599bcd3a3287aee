#include "host/formats/csv_frames.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/input_rate.h"
#include "host/takes/reorder_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <span>
#include <string>

namespace mien {

namespace {

// Small letters and digits alone: "timestampms" for "Timestamp (ms)".
std::string Letters(std::string_view name) {
  std::string letters;
  for (const char c : ToLower(name))
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) letters += c;
  return letters;
}

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

std::string Line(std::size_t number) { return fmt::format("line {}", number); }

// Whether the rows are several recordings one after the other, whose times overlap: long runs of rising times
// that sorting would interleave. `order` is the sorted one.
bool AreSeveralRecordings(std::span<const double> times, const std::vector<std::size_t>& order) {
  std::vector<std::size_t> run(times.size()); // that each row is in
  for (std::size_t i = 1; i < times.size(); ++i) run[i] = run[i - 1] + (times[i] < times[i - 1] ? 1 : 0);
  std::size_t changes = 0;
  for (std::size_t i = 1; i < order.size(); ++i) changes += run[order[i]] != run[order[i - 1]];
  constexpr std::size_t kLongRun = 10,
                        kRowsPerChange = 5; // shuffled rows have short runs; a late row changes but thrice
  return times.size() >= kLongRun * (run.back() + 1) && changes * kRowsPerChange > times.size();
}

} // namespace

bool NamesFrames(std::string_view column) {
  return IsOneOf(Letters(column), {"frame", "frameid", "frameindex", "frameno", "framenum", "framenumber"});
}

std::optional<double> UnitsPerSecond(std::string_view column) {
  const std::string letters = Letters(column);
  for (const std::string_view word : {"timestamp", "time"}) {
    if (!letters.starts_with(word)) continue;
    const std::string_view unit = std::string_view(letters).substr(word.size());
    if (IsOneOf(unit, {"", "s", "sec", "secs", "second", "seconds"})) return 1;
    if (IsOneOf(unit, {"ms", "msec", "msecs", "millisecond", "milliseconds"})) return 1000;
  }
  return std::nullopt;
}

std::string_view UnitRemark(double units_per_second) {
  return units_per_second == 1 ? "" : " (in milliseconds)";
}

FrameColumns FindFrameColumns(const CsvReader& csv, std::string_view time, CorrectedNames& corrected) {
  FrameColumns columns;
  columns.number = csv.Column("frame");
  columns.time = csv.Column(time);
  for (std::size_t c = 0; c < csv.Columns().size() && !columns.number; ++c)
    if (NamesFrames(csv.Columns()[c])) columns.number = c;
  for (const double wanted : {1.0, 1000.0})
    for (std::size_t c = 0; c < csv.Columns().size() && !columns.time; ++c)
      if (UnitsPerSecond(csv.Columns()[c]) == wanted) {
        columns.time = c;
        columns.units_per_second = wanted;
      }
  if (columns.number) corrected.Add(csv, *columns.number, "frame");
  if (columns.time) corrected.Add(csv, *columns.time, time, UnitRemark(columns.units_per_second));
  return columns;
}

CsvFrames::CsvFrames(const CsvReader& csv, const FrameColumns& columns,
                     const std::optional<FrameRate>& input_rate)
    : columns_(columns), input_rate_(input_rate), counted_(!columns.number) {
  if (columns.time) RefuseInputRate(input_rate, csv.File());
}

std::size_t CsvFrames::AddFrame(CsvReader& csv, Take& take) {
  std::int64_t number = 0;
  double time = 0;
  if (columns_.number) number = csv.Integer(*columns_.number);
  if (columns_.time) {
    decimals_ = std::max(decimals_, DecimalsOf(csv.Text(*columns_.time)));
    time = csv.Number(*columns_.time) / columns_.units_per_second;
  }
  lines_.push_back(csv.Line());
  return take.AddFrame(number, time);
}

bool CsvFrames::LeaveOutIfCut(CsvReader& csv, Take& take) {
  if (!csv.LeaveOutIfCut()) return false;
  if (!lines_.empty() && lines_.back() == csv.Line()) {
    lines_.pop_back();
    take.RemoveLastFrame();
  }
  return true;
}

// Whether a frame may follow another.
bool CsvFrames::IsInOrder(const Take& take, std::size_t before, std::size_t after) const {
  return (counted_ || take.frames[before] < take.frames[after]) &&
         (!columns_.time || take.times[before] < take.times[after]);
}

// Does nothing if no order lets both numbers and times rise, or if the rows are several recordings.
std::vector<std::size_t> CsvFrames::Sort(Take& take) {
  std::vector<std::size_t> order(take.FrameCount());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto not_in_order = [&](std::size_t a, std::size_t b) { return !IsInOrder(take, a, b); };
  const auto late = std::adjacent_find(order.begin(), order.end(), not_in_order);
  if (late == order.end() || (counted_ && !columns_.time)) return {};
  const std::size_t first = *late + 1; // out of order
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return columns_.time ? take.times[a] < take.times[b] : take.frames[a] < take.frames[b];
  });
  if (std::adjacent_find(order.begin(), order.end(), not_in_order) != order.end()) return {};
  if (counted_ && AreSeveralRecordings(take.times, order)) return {};

  const std::string what = columns_.time
                               ? fmt::format("the time {} s comes after {} s; the rows are sorted by time",
                                             take.times[first], take.times[first - 1])
                               : fmt::format("frame {} comes after frame {}; the rows are sorted by frame",
                                             take.frames[first], take.frames[first - 1]);
  take.notes.push_back({Code::Order, Line(lines_[first]), what});
  ReorderFrames(take, order);
  const std::vector<std::size_t> lines = lines_;
  for (std::size_t i = 0; i < order.size(); ++i) lines_[i] = lines[order[i]];
  return order;
}

void CsvFrames::CheckOrder(const CsvReader& csv, const Take& take) const {
  const auto fail = [&](std::size_t frame, std::size_t column, const std::string& what, const char* fix) {
    throw InputError(Code::Order, csv.File(), fmt::format("{}", lines_[frame]),
                     fmt::format("column {}: {}", Quoted(csv.Columns()[column]), what), fix);
  };
  for (std::size_t i = 1; i < take.FrameCount(); ++i) {
    if (!counted_ && take.frames[i] <= take.frames[i - 1])
      fail(i, *columns_.number,
           fmt::format("frame {} comes after frame {}", take.frames[i], take.frames[i - 1]),
           "give each frame one row, and each recording its own file");
    if (columns_.time && !(take.times[i] > take.times[i - 1]))
      fail(i, *columns_.time, fmt::format("the time {} s comes after {} s", take.times[i], take.times[i - 1]),
           "give each row its own time, with enough decimals, and each recording its own file");
  }
}

std::vector<std::size_t> CsvFrames::Finish(const CsvReader& csv, Take& take, double fastest_hz) {
  const std::size_t count = take.FrameCount();
  if (columns_.number && columns_.time && count > 1 &&
      std::all_of(take.frames.begin(), take.frames.end(),
                  [&](std::int64_t number) { return number == take.frames[0]; })) {
    counted_ = true;
    take.notes.push_back({Code::Order, fmt::format("column {}", Quoted(csv.Columns()[*columns_.number])),
                          fmt::format("{} in every row; the rows are numbered from 1", take.frames[0])});
  } else if (counted_) {
    take.notes.push_back({Code::Assumed, "", "no column \"frame\"; the rows are numbered from 1"});
  }
  std::vector<std::size_t> order = Sort(take);
  CheckOrder(csv, take);
  if (counted_) std::iota(take.frames.begin(), take.frames.end(), std::int64_t{1});

  if (count > 0 && !columns_.time) {
    constexpr std::int64_t kMost = 1'000'000'000'000; // beyond, the times of two neighbours could be equal
    if (take.frames.back() - take.frames.front() > kMost)
      csv.Fail(Code::InvalidValue,
               fmt::format("the frames go from {} to {}", take.frames.front(), take.frames.back()),
               "number them without such gaps");
    take.rate = InputRate(input_rate_, "no times", take.notes);
    for (std::size_t i = 0; i < count; ++i)
      take.times[i] = take.rate.Seconds(take.frames[i] - take.frames[0]);
    NoteMissingFrames(take);
    return order;
  }
  const int decimals = decimals_ + (columns_.units_per_second == 1 ? 0 : 3);
  if (const auto fault = SetRateByTimes(take, decimals, fastest_hz))
    csv.Fail(fault->code, fault->what, fault->fix);
  return order;
}

} // namespace mien
