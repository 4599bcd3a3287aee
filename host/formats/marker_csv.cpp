#include "host/formats/marker_csv.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_frames.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

namespace mien {
namespace {

constexpr std::string_view kAxes = "xyz";
constexpr std::string_view kTimecode = "timecode";

std::string_view WithoutBlanksAtEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// The marker that a column "NAME.x" belongs to, also as "NAME.X", "NAME. x"; nothing for other columns.
std::optional<std::string_view> MarkerOf(std::string_view column, char axis) {
  if (column.empty() || !EqualIgnoringCase(column.substr(column.size() - 1), {&axis, 1})) return std::nullopt;
  column.remove_suffix(1);
  column = WithoutBlanksAtEnd(column);
  if (column.size() < 2 || column.back() != '.') return std::nullopt;
  column.remove_suffix(1);
  return column;
}

struct Header {
  std::vector<std::string> markers;
  std::size_t first_marker_column = 2; // after frame and time
  std::optional<std::size_t> timecode_column;
  std::optional<FrameRate> timecode_rate; // if the column says it
};

class HeaderReader {
public:
  HeaderReader(const CsvReader& csv, std::vector<Note>& notes)
      : csv_(csv), columns_(csv.Columns()), notes_(notes) {}

  Header Read() {
    ReadFrameAndTime();
    ReadTimecode();
    ReadMarkers();
    if (!forgiven_.empty())
      notes_.push_back({Code::Syntax, fmt::format("line {}", csv_.Line()),
                        "column names corrected: " + Some(forgiven_, 1)});
    return std::move(header_);
  }

private:
  static constexpr std::string_view kFix = "write the header as frame,time,NAME.x,NAME.y,NAME.z,...";

  void ReadFrameAndTime() {
    for (const auto& [column, name] : {std::pair<std::size_t, const char*>(0, "frame"), {1, "time"}}) {
      if (column >= columns_.size() || !EqualIgnoringCase(columns_[column], name)) Refuse(column, name);
      Forgive(column, name);
    }
  }

  void ReadTimecode() {
    if (columns_.size() <= 2) return;
    const std::string_view name = columns_[2].substr(0, columns_[2].find('@'));
    if (!EqualIgnoringCase(name, kTimecode) || MarkerOf(columns_[2], 'x')) return;
    header_.timecode_column = header_.first_marker_column++;
    std::string expected(kTimecode);
    if (name.size() < columns_[2].size()) {
      const std::string rate(columns_[2].substr(name.size() + 1));
      header_.timecode_rate = ParseFrameRate(rate);
      if (!header_.timecode_rate)
        csv_.Fail(Code::InvalidValue,
                  fmt::format("column 3 is {}, and {} is no rate", Quoted(columns_[2]), Quoted(rate)),
                  "write its counts per second behind the @, such as timecode@29.97");
      expected += "@" + rate;
    }
    Forgive(2, expected);
  }

  void ReadMarkers() {
    if (columns_.size() == header_.first_marker_column) csv_.Fail(Code::Empty, "there are no markers", kFix);
    std::set<std::string_view> known;
    for (std::size_t column = header_.first_marker_column; column < columns_.size(); column += kAxes.size()) {
      const std::string_view name = ReadMarker(column);
      if (!known.insert(name).second)
        csv_.Fail(Code::Duplicate, fmt::format("the marker {} is there twice", Quoted(name)),
                  "give each marker its own name");
      header_.markers.emplace_back(name);
    }
  }

  // The marker of this column and the two behind it.
  std::string_view ReadMarker(std::size_t column) {
    const std::optional<std::string_view> first = MarkerOf(columns_[column], kAxes[0]);
    if (!first)
      csv_.Fail(
          Code::Syntax,
          fmt::format("column {} is {} and not the \".x\" of a marker", column + 1, Quoted(columns_[column])),
          kFix);
    // Blanks before the dot belong to the name if all three columns have them.
    std::string_view name = *first;
    for (std::size_t axis = 1; axis < kAxes.size(); ++axis)
      if (column + axis < columns_.size() && MarkerOf(columns_[column + axis], kAxes[axis]) != *first)
        name = WithoutBlanksAtEnd(*first);
    for (std::size_t axis = 0; axis < kAxes.size(); ++axis) {
      const std::string expected = fmt::format("{}.{}", name, kAxes[axis]);
      const std::optional<std::string_view> marker =
          column + axis < columns_.size() ? MarkerOf(columns_[column + axis], kAxes[axis]) : std::nullopt;
      if (!marker || (*marker != name && WithoutBlanksAtEnd(*marker) != name) || name.empty())
        Refuse(column + axis, expected);
      Forgive(column + axis, expected);
    }
    return name;
  }

  // Remembers a column that is not named exactly so.
  void Forgive(std::size_t column, std::string_view name) {
    if (columns_[column] != name)
      forgiven_.push_back(
          fmt::format("column {} from {} to {}", column + 1, Quoted(columns_[column]), Quoted(name)));
  }

  [[noreturn]] void Refuse(std::size_t column, std::string_view name) const {
    if (column >= columns_.size())
      csv_.Fail(Code::Missing, fmt::format("the column {} is missing", Quoted(name)), kFix);
    csv_.Fail(Code::Syntax,
              fmt::format("column {} is {} and not {}", column + 1, Quoted(columns_[column]), Quoted(name)),
              kFix);
  }

  const CsvReader& csv_;
  const std::vector<std::string_view>& columns_;
  std::vector<Note>& notes_;
  Header header_;
  std::vector<std::string> forgiven_;
};

// A row's timecode as the file has it.
struct RowTimecode {
  std::size_t frame; // index
  std::size_t line;
  std::string_view text;
};

// Counts per second of a timecode whose column does not say them.
FrameRate TimecodeRate(const FrameRate& take_rate) {
  constexpr double kMost = 60;
  return FrameRateOf(take_rate.Hz() / std::ceil(take_rate.Hz() / kMost)).value_or(take_rate);
}

// Sets the take's timecode from the first row's, and notes rows that do not follow from it. The rest of the take is
// complete.
void SetTimecodeByRows(const CsvReader& csv, const Header& header, const std::vector<RowTimecode>& rows,
                       Take& take) {
  const std::string column = fmt::format("column {}", Quoted(csv.Columns()[*header.timecode_column]));
  if (rows.empty() || rows[0].frame != 0) {
    take.notes.push_back({Code::Missing, column, "the first row has no timecode, so the take has none"});
    return;
  }
  const FrameRate rate = header.timecode_rate ? *header.timecode_rate : TimecodeRate(take.rate);
  const auto parse = [](std::string_view text, const FrameRate& at, double& fraction) {
    const bool plain = text.find('@') == std::string_view::npos;
    return plain ? ParseTimecode(fmt::format("{}@{}", text, ToText(at)), at, &fraction) : std::nullopt;
  };
  double first_fraction = 0;
  std::optional<Timecode> first = parse(rows[0].text, rate, first_fraction);
  if (!first && !header.timecode_rate && rows[0].text.find(';') != std::string_view::npos)
    first = parse(rows[0].text, {30000, 1001}, first_fraction); // a take at 25 Hz with drop
  if (!first)
    throw InputError(Code::InvalidValue, csv.File(), fmt::format("{}", rows[0].line),
                     fmt::format("{}: {} is no time of day at {} counts per second", column,
                                 Quoted(rows[0].text), ToText(rate)),
                     "write HH:MM:SS:FF, with ; before FF for drop frame, and the rate in the column's name: "
                     "timecode@29.97");
  take.timecode = first;

  constexpr double kRoom = 1.1; // one count, and what rounded times are off
  const auto day = static_cast<double>(first->CountsADay());
  std::size_t off = 0;
  std::string first_off;
  for (const RowTimecode& row : rows) {
    const double seconds = take.times[row.frame] - take.times[0];
    double fraction = 0;
    const std::optional<Timecode> timecode = parse(row.text, first->rate, fraction);
    if (timecode && timecode->drop == first->drop) {
      const double counts = static_cast<double>(timecode->count - first->count) + fraction - first_fraction;
      if (std::abs(std::remainder(counts - seconds * first->rate.Hz(), day)) <= kRoom) continue;
    }
    if (++off == 1)
      first_off = fmt::format("line {} has {} instead of {}", row.line, Quoted(row.text), first->At(seconds));
  }
  if (off > 0)
    take.notes.push_back(
        {Code::Contradiction, column,
         fmt::format("{} of {} timecodes do not follow from the first: {}", off, rows.size(), first_off)});
}

void CheckNames(const Take& take) {
  std::set<std::string_view> known;
  for (const std::string& name : take.markers) {
    if (name.empty() || name.find_first_of(",\"\r\n") != std::string::npos || name.front() == ' ' ||
        name.front() == '\t')
      throw InputError(Code::InvalidValue, take.name, "",
                       fmt::format("the marker name {} cannot stand in a header", Quoted(name)),
                       "rename it, without comma, quote, line end or leading blank");
    if (!known.insert(name).second)
      throw InputError(Code::Duplicate, take.name, "",
                       fmt::format("the marker {} is there twice", Quoted(name)),
                       "give each marker its own name");
  }
}

} // namespace

bool IsMarkerCsv(const std::vector<std::string_view>& columns) {
  return (columns.size() >= 2 && EqualIgnoringCase(columns[0], "frame") &&
          EqualIgnoringCase(columns[1], "time")) ||
         std::any_of(columns.begin(), columns.end(),
                     [](std::string_view name) { return MarkerOf(name, kAxes[0]).has_value(); });
}

Take ReadMarkerCsv(std::string_view bytes, const std::string& file) {
  CsvReader csv(bytes, file);
  Take take;
  const Header header = HeaderReader(csv, take.notes).Read();
  take.markers = header.markers;
  take.unit = "mm";
  CsvFrames frames(0, 1);
  std::vector<RowTimecode> timecodes;
  std::size_t not_numbers = 0;
  std::string first_not_number;
  while (csv.Next()) {
    const std::size_t row = frames.AddFrame(csv, take);
    if (header.timecode_column)
      if (const std::string_view text = csv.Text(*header.timecode_column); !text.empty())
        timecodes.push_back({row, csv.Line(), text});
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      std::array<double, 3> value{};
      std::size_t empty = 0;
      bool is_gap = false;
      for (std::size_t axis = 0; axis < value.size(); ++axis) {
        const std::size_t column = header.first_marker_column + 3 * m + axis;
        const std::optional<double> number =
            csv.NumberIfAny(column, "write millimetres, such as 12.5, or leave all three fields of an unseen "
                                    "marker empty");
        if (!number) {
          ++empty;
        } else if (std::isnan(*number)) {
          if (++not_numbers == 1)
            first_not_number = fmt::format("line {}, column {}", csv.Line(), Quoted(csv.Columns()[column]));
          is_gap = true;
        } else {
          value[axis] = *number;
        }
      }
      if (is_gap || empty == value.size()) continue;
      if (empty > 0)
        csv.Fail(Code::Missing,
                 fmt::format("marker {}: {} of its 3 fields {} empty", Quoted(take.markers[m]), empty,
                             empty == 1 ? "is" : "are"),
                 "fill all three, or leave all three empty if the marker was not seen");
      take.Set(row, m, {value[0], value[1], value[2]});
    }
  }
  if (not_numbers > 0)
    take.notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("{} fields are NaN and make gaps, the first: {}", not_numbers, first_not_number)});
  frames.SetRate(csv, take);
  if (header.timecode_column) SetTimecodeByRows(csv, header, timecodes, take);
  return take;
}

void WriteMarkerCsv(const Take& take, std::ostream& out) {
  CheckNames(take);
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "frame,time");
  if (take.timecode) fmt::format_to(to, ",{}@{}", kTimecode, ToText(take.timecode->rate));
  for (const std::string& name : take.markers) fmt::format_to(to, ",{0}.x,{0}.y,{0}.z", name);
  text.push_back('\n');
  for (std::size_t row = 0; row < take.FrameCount(); ++row) {
    fmt::format_to(to, "{},{}", take.frames[row], take.times[row]);
    if (take.timecode) fmt::format_to(to, ",{}", take.timecode->At(take.times[row] - take.times[0]));
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      if (const Point* p = take.At(row, m))
        fmt::format_to(to, ",{},{},{}", p->x, p->y, p->z);
      else
        fmt::format_to(to, ",,,");
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
