#include "host/formats/marker_csv.h"

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_gaps.h"
#include "host/formats/csv_names.h"
#include "host/formats/gaze_columns.h"
#include "host/takes/far_positions.h"
#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
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

// The marker that a column "NAME.x" belongs to, also as "NAME.X", "NAME. x", "NAME_x", "NAME:x" and "NAME x";
// nothing for other columns.
std::optional<std::string_view> MarkerOf(std::string_view column, char axis) {
  if (column.empty() || !EqualIgnoringCase(column.substr(column.size() - 1), {&axis, 1})) return std::nullopt;
  column.remove_suffix(1);
  std::string_view name = WithoutBlanksAtEnd(column);
  const bool blank = name.size() < column.size();
  if (name.ends_with('.') || name.ends_with('_') || name.ends_with(':'))
    name.remove_suffix(1);
  else if (!blank)
    return std::nullopt;
  return name.empty() ? std::nullopt : std::optional(name);
}

bool IsDotted(std::string_view column) {
  return MarkerOf(column, kAxes[0]) && WithoutBlanksAtEnd(column.substr(0, column.size() - 1)).back() == '.';
}

// Whether three columns that follow each other are those of a marker.
bool HasMarker(const std::vector<std::string_view>& columns) {
  for (std::size_t c = 0; c + 2 < columns.size(); ++c)
    if (const auto name = MarkerOf(columns[c], 'x');
        name && MarkerOf(columns[c + 1], 'y') == name && MarkerOf(columns[c + 2], 'z') == name)
      return true;
  return false;
}

struct Header {
  FrameColumns frames;
  std::optional<std::size_t> timecode_column;
  std::optional<FrameRate> timecode_rate; // if the column says it
  GazeColumns gaze;
  std::size_t first_marker_column = 0;
  std::vector<std::string> markers;
};

class HeaderReader {
public:
  explicit HeaderReader(const CsvReader& csv) : csv_(csv), columns_(csv.Columns()) {}

  Header Read(std::vector<Note>& notes) {
    header_.gaze = GazeColumns(csv_);
    std::size_t column = 0;
    const auto is_gaze = [&] { return header_.gaze.Has(column); };
    for (; column < columns_.size() && (is_gaze() || !MarkerOf(columns_[column], kAxes[0])); ++column)
      if (!is_gaze() && !ReadFrame(column) && !ReadTime(column) && !ReadTimecode(column))
        csv_.Fail(Code::Syntax,
                  fmt::format("column {} is {} and not frame, time, timecode or the \".x\" of a marker",
                              column + 1, Quoted(columns_[column])),
                  kFix);
    header_.first_marker_column = column;
    ReadMarkers();
    RefuseMesh();
    corrected_.AppendTo(notes, csv_);
    return std::move(header_);
  }

private:
  static constexpr std::string_view kFix = "write the header as frame,time,NAME.x,NAME.y,NAME.z,...";

  bool ReadFrame(std::size_t column) {
    if (header_.frames.number || !NamesFrames(columns_[column])) return false;
    header_.frames.number = column;
    corrected_.Add(csv_, column, "frame");
    return true;
  }

  bool ReadTime(std::size_t column) {
    const std::optional<double> units = UnitsPerSecond(columns_[column]);
    if (header_.frames.time || !units) return false;
    header_.frames.time = column;
    header_.frames.units_per_second = *units;
    corrected_.Add(csv_, column, "time", UnitRemark(*units));
    return true;
  }

  bool ReadTimecode(std::size_t column) {
    const std::string_view name = columns_[column].substr(0, columns_[column].find('@'));
    if (header_.timecode_column || !EqualIgnoringCase(name, kTimecode)) return false;
    header_.timecode_column = column;
    std::string expected(kTimecode);
    if (name.size() < columns_[column].size()) {
      const std::string rate(columns_[column].substr(name.size() + 1));
      header_.timecode_rate = ParseFrameRate(rate);
      if (!header_.timecode_rate)
        csv_.Fail(Code::InvalidValue,
                  fmt::format("column {} is {}, and {} is not a rate", column + 1, Quoted(columns_[column]),
                              Quoted(rate)),
                  "write its counts per second behind the @, such as timecode@29.97");
      expected += "@" + rate;
    }
    corrected_.Add(csv_, column, expected);
    return true;
  }

  void ReadMarkers() {
    if (columns_.size() == header_.first_marker_column) csv_.Fail(Code::Empty, "there are no markers", kFix);
    std::set<std::string_view> known;
    std::size_t end = columns_.size();
    while (header_.gaze.Has(end - 1)) --end;
    for (std::size_t column = header_.first_marker_column; column < end; column += kAxes.size()) {
      const std::string_view name = ReadMarker(column);
      if (!known.insert(name).second)
        csv_.Fail(Code::Duplicate, fmt::format("the marker {} occurs twice", Quoted(name)),
                  "give each marker its own name");
      header_.markers.emplace_back(name);
    }
  }

  // "landmark_0_x" to "landmark_105_z": not markers in millimetres, but the points of a face tracker, in the
  // image's units.
  void RefuseMesh() const {
    const std::size_t count = header_.markers.size();
    constexpr std::size_t kMeshes[] = {70, 98, 106};
    if (std::find(std::begin(kMeshes), std::end(kMeshes), count) == std::end(kMeshes) ||
        IsDotted(columns_[header_.first_marker_column]))
      return;
    const std::string_view first = header_.markers[0];
    const std::string_view prefix = first.substr(0, first.find_last_not_of("0123456789") + 1);
    for (std::size_t m = 0; m < count; ++m)
      if (header_.markers[m] != fmt::format("{}{}", prefix, m)) return;
    csv_.Fail(
        Code::Unsupported,
        fmt::format("the table has {} numbered landmarks, {} to {}, whose places on the face are not known",
                    count, Quoted(first), Quoted(header_.markers.back())),
        "write those that you need as marker CSV, in millimetres: NAME.x,NAME.y,NAME.z");
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
      corrected_.Add(csv_, column + axis, expected);
    }
    return name;
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
  Header header_;
  CorrectedNames corrected_;
};

// Counts per second of a timecode, if its column does not give them.
FrameRate TimecodeRate(const FrameRate& take_rate) {
  constexpr double kMost = 60;
  return FrameRateOf(take_rate.Hz() / std::ceil(take_rate.Hz() / kMost)).value_or(take_rate);
}

// Sets the take's timecode to the first row's, and notes rows that do not follow from it. The rest of the
// take is complete. `rows` are the timecodes in the file, empty where there is none, and `lines` their lines
// (sizes: frames).
void SetTimecodeByRows(const CsvReader& csv, const Header& header, const std::vector<std::string>& rows,
                       const std::vector<std::size_t>& lines, Take& take) {
  const std::string column = fmt::format("column {}", Quoted(csv.Columns()[*header.timecode_column]));
  if (rows[0].empty()) {
    take.notes.push_back({Code::Missing, column, "the first row has no timecode, so the take has none"});
    return;
  }
  const FrameRate rate = header.timecode_rate ? *header.timecode_rate : TimecodeRate(take.rate);
  const auto parse = [](const std::string& text, const FrameRate& at, double& fraction) {
    const bool plain = text.find('@') == std::string::npos;
    return plain ? ParseTimecode(fmt::format("{}@{}", text, ToText(at)), at, &fraction) : std::nullopt;
  };
  double first_fraction = 0;
  std::optional<Timecode> first = parse(rows[0], rate, first_fraction);
  if (!first && !header.timecode_rate && rows[0].find(';') != std::string::npos)
    first = parse(rows[0], {30000, 1001}, first_fraction); // a take at 25 Hz with drop
  if (!first)
    throw InputError(Code::InvalidValue, csv.File(), fmt::format("{}", lines[0]),
                     fmt::format("{}: {} is not a time of day at {} counts per second", column,
                                 Quoted(rows[0]), ToText(rate)),
                     "write HH:MM:SS:FF, with ; before FF for drop frame, and the rate in the column's name: "
                     "timecode@29.97");
  take.timecode = first;

  constexpr double kRoom = 1.1; // one count, and what rounded times are off
  const auto day = static_cast<double>(first->CountsADay());
  std::size_t count = 0, off = 0;
  std::string first_off;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].empty()) continue;
    ++count;
    const double seconds = take.times[i] - take.times[0];
    double fraction = 0;
    const std::optional<Timecode> timecode = parse(rows[i], first->rate, fraction);
    if (timecode && timecode->drop == first->drop) {
      const double counts = static_cast<double>(timecode->count - first->count) + fraction - first_fraction;
      if (std::abs(std::remainder(counts - seconds * first->rate.Hz(), day)) <= kRoom) continue;
    }
    if (++off == 1)
      first_off = fmt::format("line {} has {} instead of {}", lines[i], Quoted(rows[i]), first->At(seconds));
  }
  if (off > 0)
    take.notes.push_back(
        {Code::Contradiction, column,
         fmt::format("{} of {} timecodes do not follow from the first: {}", off, count, first_off)});
}

// Reads the rows, once the header is known.
class RowReader {
public:
  RowReader(CsvReader& csv, const Header& header, const std::optional<FrameRate>& input_rate, Take& take)
      : csv_(csv), header_(header), take_(take), frames_(csv, header.frames, input_rate) {}

  void Read() {
    while (csv_.Next()) {
      try {
        ReadRow();
      } catch (const InputError&) {
        if (!frames_.LeaveOutIfCut(csv_, take_)) throw;
      }
    }
    csv_.Finish(take_.notes);
    gaps_.AppendTo(take_.notes);
    far_.AppendTo(take_.notes);
    const std::vector<std::size_t> order = frames_.Finish(csv_, take_);
    if (!header_.timecode_column) return;
    std::vector<std::string> timecodes(take_.FrameCount());
    for (std::size_t i = 0; i < timecodes.size(); ++i)
      timecodes[i] = std::move(timecodes_[order.empty() ? i : order[i]]);
    SetTimecodeByRows(csv_, header_, timecodes, frames_.Lines(), take_);
  }

private:
  void ReadRow() {
    const std::size_t frame = frames_.AddFrame(csv_, take_);
    if (header_.timecode_column) timecodes_.emplace_back(csv_.Text(*header_.timecode_column));
    if (take_.gaze_axes) take_.gaze[frame] = header_.gaze.Read(csv_);
    for (std::size_t m = 0; m < take_.MarkerCount(); ++m) ReadMarker(frame, m);
  }

  void ReadMarker(std::size_t frame, std::size_t marker) {
    const std::size_t first_column = header_.first_marker_column + kAxes.size() * marker;
    std::array<std::optional<double>, 3> value;
    for (std::size_t axis = 0; axis < value.size(); ++axis)
      value[axis] = csv_.NumberIfAny(
          first_column + axis,
          "write millimetres, such as 12.5, or leave all three fields of an unseen marker empty");
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const Point p = {value[0].value_or(kNone), value[1].value_or(kNone), value[2].value_or(kNone)};
    if (IsWithinReach(p)) {
      take_.Set(frame, marker, p);
      return;
    }
    if (!value[0] && !value[1] && !value[2]) return;
    bool any_missing = false;
    for (std::size_t axis = 0; axis < value.size(); ++axis)
      if (!value[axis] || !std::isfinite(*value[axis])) {
        gaps_.Add(csv_, first_column + axis);
        any_missing = true;
      }
    if (!any_missing) far_.Add(take_.markers[marker], "line", static_cast<std::int64_t>(csv_.Line()));
  }

  CsvReader& csv_;
  const Header& header_;
  Take& take_;
  CsvFrames frames_;
  CsvGaps gaps_;
  FarPositions far_;
  std::vector<std::string> timecodes_; // of the rows, as the file has them
};

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
                       fmt::format("the marker {} occurs twice", Quoted(name)),
                       "give each marker its own name");
  }
}

} // namespace

bool IsMarkerCsv(const std::vector<std::string_view>& columns) {
  return (columns.size() >= 2 && NamesFrames(columns[0]) && UnitsPerSecond(columns[1])) ||
         HasMarkerColumns(columns);
}

bool HasMarkerColumns(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(), IsDotted) || HasMarker(columns);
}

Take ReadMarkerCsv(std::string_view bytes, const std::string& file,
                   const std::optional<FrameRate>& input_rate) {
  CsvReader csv(bytes, file);
  Take take;
  const Header header = HeaderReader(csv).Read(take.notes);
  take.markers = header.markers;
  take.unit = "mm";
  take.gaze_axes = header.gaze.Axes();
  RowReader(csv, header, input_rate, take).Read();
  return take;
}

void WriteMarkerCsv(const Take& take, std::ostream& out) {
  CheckNames(take);
  fmt::memory_buffer text;
  const fmt::appender to(text);
  fmt::format_to(to, "frame,time");
  if (take.timecode) fmt::format_to(to, ",{}@{}", kTimecode, ToText(take.timecode->rate));
  AppendGazeHeader(take, to);
  for (const std::string& name : take.markers) fmt::format_to(to, ",{0}.x,{0}.y,{0}.z", name);
  text.push_back('\n');
  for (std::size_t row = 0; row < take.FrameCount(); ++row) {
    fmt::format_to(to, "{},", take.frames[row]);
    AppendNumber(text, take.times[row]);
    if (take.timecode) fmt::format_to(to, ",{}", take.timecode->At(take.times[row] - take.times[0]));
    AppendGaze(take, row, to);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point* const p = take.At(row, m);
      for (double Point::*const axis : {&Point::x, &Point::y, &Point::z}) {
        text.push_back(',');
        if (p) AppendNumber(text, p->*axis);
      }
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
