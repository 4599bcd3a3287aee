#include "host/weights/phone_csv.h"

#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/takes/frame_times.h"
#include "host/takes/take.h"
#include "host/weights/weight_columns.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace mien {
namespace {

constexpr FrameRate kClock = {60, 1};
constexpr std::string_view kTimecode = "timecode", kCount = "blendshapecount";

// The times of the rows.
class Clock {
public:
  explicit Clock(std::size_t column) : column_(column) {}

  /// Reads the current row's. False where it is the time of the row before.
  bool ReadRow(CsvReader& csv) {
    double fraction = 0;
    const std::string text(csv.Text(column_));
    const std::optional<Timecode> timecode = ParseTimecode(text, kClock, &fraction);
    if (!timecode || timecode->rate != kClock)
      csv.FailAt(Code::InvalidValue, column_, Quoted(text) + " is not a timecode",
                 "write HH:MM:SS:FF.fff with FF from 0 to 59");
    const double counts = static_cast<double>(timecode->count) + fraction;
    constexpr double kDay = 24 * 3600 * 60; // counts
    if (!counts_.empty() && counts + day_ < counts_.back() - kDay / 2) day_ += kDay;
    if (!counts_.empty() && counts + day_ < counts_.back())
      csv.FailAt(Code::Order, column_,
                 fmt::format("the timecode {} is {:.6g} s before that of the row before", Quoted(text),
                             (counts_.back() - counts - day_) / kClock.Hz()),
                 "give each recording its own file");
    if (!counts_.empty() && counts + day_ == counts_.back()) {
      ++repeated_;
      if (repeated_ == 1) first_repeated_ = csv.Line();
      return false;
    }
    has_fractions_ = has_fractions_ || fraction != 0;
    if (counts_.empty()) {
      first_ = *timecode;
      offset_s_ = fraction / kClock.Hz();
    }
    counts_.push_back(counts + day_);
    return true;
  }

  std::size_t Rows() const { return counts_.size(); }

  void Finish(const CsvReader& csv, WeightTake& take) {
    if (repeated_ > 0)
      take.notes.push_back(
          {Code::Order, fmt::format("line {}", first_repeated_),
           fmt::format("{} at the time of the row before, left out", Count(repeated_, "row"))});
    std::vector<double> steps;
    for (std::size_t i = 1; i < counts_.size(); ++i) steps.push_back(counts_[i] - counts_[i - 1]);
    std::vector<double> sorted = steps;
    const double usual = steps.empty() ? 1 : Median(sorted);
    Take clock; // without markers
    std::int64_t number = 1;
    for (std::size_t i = 0; i < counts_.size(); ++i) {
      if (i > 0) number += std::max<std::int64_t>(std::llround(steps[i - 1] / usual), 1);
      clock.AddFrame(number, (counts_[i] - counts_[0]) / kClock.Hz());
    }
    const int decimals = has_fractions_ ? 4 : 2; // a count is 0.017 s, a thousandth of it 0.000017 s
    if (const auto fault = SetRateByTimes(clock, decimals, kFastestVideoHz))
      csv.Fail(fault->code, fault->what, fault->fix);
    take.SetClock(std::move(clock));
    take.timecode = first_;
    take.timecode_offset_s = offset_s_;
  }

private:
  const std::size_t column_;
  std::vector<double> counts_; // of each row, since the midnight before the first
  double day_ = 0;             // counts in the days before the current one
  bool has_fractions_ = false;
  Timecode first_;
  double offset_s_ = 0;
  std::size_t repeated_ = 0, first_repeated_ = 0;
};

// Compares what the first row says of the number of columns.
void CheckCount(CsvReader& csv, std::size_t column, std::size_t columns, std::vector<Note>& notes) {
  const std::int64_t count = csv.Integer(column);
  if (count == static_cast<std::int64_t>(columns)) return;
  notes.push_back({Code::Contradiction, fmt::format("line {}", csv.Line()),
                   fmt::format("{} says {}, and the table has {} of shapes and angles",
                               Quoted(csv.Columns()[column]), count, Count(columns, "column"))});
}

} // namespace

bool IsPhoneCsv(const std::vector<std::string_view>& columns) {
  return FindColumn(columns, kTimecode) &&
         (FindColumn(columns, kCount) || EqualIgnoringCase(columns[0], kTimecode));
}

WeightTake ReadPhoneCsv(std::string_view bytes, const std::string& file) {
  CsvReader csv(bytes, file);
  WeightTake take;
  const std::size_t timecode = FindColumn(csv.Columns(), kTimecode).value_or(0); // there is one: IsPhoneCsv
  const std::optional<std::size_t> count = FindColumn(csv.Columns(), kCount);
  std::vector<std::size_t> others = {timecode};
  if (count) others.push_back(*count);
  WeightColumns columns(csv, others, WeightNames::Unknown::KeepAsIs);
  Clock clock(timecode);
  bool is_first = true;
  while (csv.Next()) {
    try {
      if (is_first && count) CheckCount(csv, *count, csv.Columns().size() - others.size(), take.notes);
      is_first = false;
      columns.ReadRow(csv); // before the clock, which keeps what it reads
      if (!clock.ReadRow(csv)) columns.RemoveLastRow();
    } catch (const InputError&) {
      if (!csv.LeaveOutIfCut()) throw;
      if (columns.Rows() > clock.Rows()) columns.RemoveLastRow();
    }
  }
  csv.Finish(take.notes);
  clock.Finish(csv, take);
  columns.Finish({}, take);
  return take;
}

} // namespace mien
