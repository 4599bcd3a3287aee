#include "host/formats/trc.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/frame_times.h"
#include "host/formats/trc_header.h"
#include "host/formats/trc_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

using namespace trc;

namespace {

// How many markers have a number in their columns, from the rows' widths.
std::size_t WidestRow(Lines rows) {
  std::size_t widest = 0;
  while (rows.NextFilled()) {
    Cells cells(rows.Text().substr(0, rows.Text().find_last_not_of(kBlanksAndTabs) + 1));
    std::size_t count = 0;
    while (cells.Next()) ++count;
    widest = std::max(widest, count);
  }
  return widest > kFirstMarkerColumn ? (widest - kFirstMarkerColumn + 2) / 3 : 0;
}

class RowReader {
public:
  RowReader(const Header& header, std::size_t file_size, const std::string& file, Take& take)
      : header_(header), file_(file), room_(32 * file_size + (1 << 20)), take_(take), lines_(header.rows) {}

  // False if a row has columns for more markers than the take. It is spoilt then.
  bool Read() {
    while (lines_.NextFilled())
      if (!ReadRow()) return false;
    return true;
  }

  // After the last row: what the rows tell together.
  void Finish() {
    std::vector<std::string>& notes = take_.notes;
    if (take_.FrameCount() == 0)
      throw InputError(Code::Empty, file_, fmt::format("{}", lines_.Number()),
                       "there are no frames, only a header", "export the take again with its rows");
    if (uneven_rows_ == take_.FrameCount())
      throw InputError(Code::Empty, file_, fmt::format("{}", header_.names_line),
                       "a column is missing: every row ends within a marker's three", kExportAgain);
    CheckCommas();
    for (const Repeated* repeated : {&by_blanks_, &short_rows_, &uneven_, &partial_, &infinite_})
      repeated->TellTo(notes);
    if (!cut_.empty()) notes.push_back(cut_);
    if (zeros_) ClearZeros();
    NumberFrames();
    no_time_.TellTo(notes);
    SetRate();
    SetTimes();
  }

private:
  // What is left of the line; at is null after its last cell.
  struct Row {
    const char* at;
    const char* end;
    bool tabs;
    bool is_short = false; // more cells were asked for than it has

    bool Over() const { return at == nullptr; }
  };

  static const char* SkipBlanks(const char* p, const char* end) {
    while (p != end && (*p == ' ' || *p == '\r')) ++p;
    return p;
  }

  // The next cell; past the last one, Empty.
  Kind ReadCell(Row& row, double& number) {
    if (row.Over()) {
      row.is_short = true;
      return Kind::Empty;
    }
    const char* const first = SkipBlanks(row.at, row.end);
    if (first == row.end || *first == '\t') {
      row.at = first == row.end ? nullptr : first + 1;
      return Kind::Empty;
    }
    const auto [stop, error] = std::from_chars(first, row.end, number);
    const char* const after = SkipBlanks(stop, row.end);
    const bool whole = after == row.end || (row.tabs ? *after == '\t' : after != stop);
    if (whole && error == std::errc() && std::isfinite(number)) {
      row.at = after == row.end ? nullptr : after + (row.tabs ? 1 : 0);
      return Kind::Number;
    }
    return ReadOddCell(row, first, number);
  }

  Kind ReadOddCell(Row& row, const char* first, double& number) {
    const std::string_view rest(first, static_cast<std::size_t>(row.end - first));
    const std::size_t length =
        std::min(row.tabs ? rest.find('\t') : rest.find_first_of(kBlanks), rest.size());
    const std::string_view text = Trim(rest.substr(0, length));
    const Value value = ValueOf(text);
    if (value.kind == Kind::Text)
      Fail(fmt::format("{}: {} is not a number", ColumnAt(first, row.tabs), Quoted(text)),
           "write a plain number, such as 12.5, or leave the three cells of an unseen marker empty");
    if (value.comma) {
      commas_.Add([&] {
        comma_line_ = lines_.Number();
        return fmt::format("line {}: decimal commas, as in {}", comma_line_, Quoted(text));
      });
      no_thousands_ = no_thousands_ || value.no_thousands;
    }
    row.at = length == rest.size() ? nullptr : first + length + (row.tabs ? 1 : 0);
    number = value.number;
    return value.kind;
  }

  // The name for messages of the column that a cell is in.
  std::string ColumnAt(const char* cell, bool tabs) const {
    const std::string_view before(lines_.Text().data(),
                                  static_cast<std::size_t>(cell - lines_.Text().data()));
    std::size_t column = 0;
    if (tabs) {
      column = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\t'));
    } else {
      Cells cells(before);
      while (cells.Next()) ++column;
    }
    const std::string name = column == 0   ? "Frame#"
                             : column == 1 ? "Time"
                             : (column - kFirstMarkerColumn) / 3 < take_.MarkerCount()
                                 ? fmt::format("{} of {}", "xyz"[(column - kFirstMarkerColumn) % 3],
                                               Quoted(take_.markers[(column - kFirstMarkerColumn) / 3]))
                                 : "past the last marker";
    return fmt::format("column {} ({})", column + 1, name);
  }

  [[noreturn]] void Fail(std::string_view what, std::string_view fix) const {
    throw InputError(Code::Syntax, file_, fmt::format("{}", lines_.Number()), what, fix);
  }

  template <typename... Arguments>
  std::string AtLine(fmt::format_string<Arguments...> what, Arguments&&... arguments) const {
    return fmt::format("line {}: ", lines_.Number()) +
           fmt::format(what, std::forward<Arguments>(arguments)...);
  }

  bool ReadRow() {
    const std::string_view line = lines_.Text();
    const std::size_t markers = take_.MarkerCount();
    Row row{line.data(), line.data() + line.size(), std::memchr(line.data(), '\t', line.size()) != nullptr};
    const auto number = ReadFrameNumber(row);
    double time = 0;
    const Kind time_kind = ReadCell(row, time);
    if (!row.tabs && !row.Over()) {
      // Complete or nothing: there is no telling whose cells are missing.
      std::size_t count = 0;
      for (Cells cells(line); cells.Next();) ++count;
      if (count < kFirstMarkerColumn + 3 * markers) {
        if (!lines_.Ended()) return LeaveOut();
        Fail(fmt::format("{} numbers, separated by blanks, where {} markers need {}", count, markers,
                         kFirstMarkerColumn + 3 * markers),
             "separate the columns by tabs, or write NaN for what is missing");
      }
      by_blanks_.Add([&] { return AtLine("blanks instead of tabs"); });
    }
    if (row.Over() && !lines_.Ended() && markers > 0) return LeaveOut();

    const std::size_t frame =
        AddFrame(number, time_kind == Kind::Number ? std::optional(time) : std::nullopt);
    const Take::Row out = take_.RowOf(frame);
    const double scale = header_.millimetres;
    for (std::size_t m = 0; m < markers; ++m) {
      Point p;
      const Kind x = ReadCell(row, p.x);
      const Kind y = ReadCell(row, p.y);
      const Kind z = ReadCell(row, p.z);
      if (x == Kind::Number && y == Kind::Number && z == Kind::Number) {
        p = {p.x * scale, p.y * scale, p.z * scale};
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) {
          out.positions[m] = p;
          out.origins[m] = Origin::Measured;
          zeros_ = zeros_ || (p.x == 0 && p.y == 0 && p.z == 0);
        } else {
          AddInfinite(m);
        }
      } else if (x == Kind::Infinite || y == Kind::Infinite || z == Kind::Infinite) {
        AddInfinite(m);
      } else if (x == Kind::Number || y == Kind::Number || z == Kind::Number) {
        if (row.is_short && lines_.Ended()) { // a cell is missing, and nobody can tell where
          std::fill(out.origins.begin(), out.origins.end(), Origin::None);
          ++uneven_rows_;
          uneven_.Add([&] {
            return AtLine("the row ends within marker {} of {}: a cell is missing somewhere in it; taken as "
                          "gaps of all markers",
                          m + 1, markers);
          });
          break;
        }
        partial_.Add([&] {
          return AtLine("{} has {} of its 3 values; taken as a gap", Quoted(take_.markers[m]),
                        (x == Kind::Number) + (y == Kind::Number) + (z == Kind::Number));
        });
      }
      if (row.is_short) {
        short_rows_.Add([&] {
          return AtLine("the row is too short for {}, marker {} of {}, and those after it",
                        Quoted(take_.markers[m]), m + 1, markers);
        });
        break;
      }
    }
    if (!row.Over() && !IsBlank(std::string_view(row.at, static_cast<std::size_t>(row.end - row.at))))
      return false;

    const bool few = header_.frames && static_cast<std::int64_t>(take_.FrameCount()) < *header_.frames;
    if (!lines_.Ended() && (row.is_short || few)) LeaveOutEnd(frame);
    return true;
  }

  void AddInfinite(std::size_t m) {
    infinite_.Add(
        [&] { return AtLine("{} has a value that is infinite; taken as a gap", Quoted(take_.markers[m])); });
  }

  std::optional<std::int64_t> ReadFrameNumber(Row& row) {
    Value value;
    value.kind = ReadCell(row, value.number);
    const auto number = WholeNumber(value);
    if (number_from_) return number;
    if (!number)
      unnumbered_ = value.kind == Kind::Number ? AtLine("the frame number {} is none", value.number)
                                               : AtLine("no frame number");
    else if (take_.FrameCount() > 0 && *number <= take_.frames.back())
      unnumbered_ = AtLine("frame {} comes after frame {}", *number, take_.frames.back());
    return number;
  }

  std::size_t AddFrame(std::optional<std::int64_t> number, std::optional<double> time) {
    if (!unnumbered_.empty() && !number_from_)
      number_from_ = take_.FrameCount() > 0 ? take_.frames.front()
                     : number               ? *number
                                            : header_.first_frame.value_or(1);
    needed_ += take_.MarkerCount() * (sizeof(Point) + sizeof(Origin)) + sizeof(std::int64_t) + sizeof(double);
    if (needed_ > room_)
      Fail(fmt::format("the rows are much shorter than their {} markers need", take_.MarkerCount()),
           "check the line of marker names, or write all the cells of each row");
    if (!time) no_time_.Add([&] { return AtLine("no time; it follows from the frame number"); });
    return take_.AddFrame(number.value_or(0), time.value_or(std::numeric_limits<double>::quiet_NaN()));
  }

  // The file ends in this row, before its first marker or where nobody can tell which.
  bool LeaveOut() {
    cut_ = AtLine("the file ends inside the row, which is left out");
    return true;
  }

  // The file ends in this row, perhaps in the middle of a number.
  void LeaveOutEnd(std::size_t frame) {
    const std::string_view line = lines_.Text().substr(0, lines_.Text().find_last_not_of(kBlanks) + 1);
    const std::size_t tabs = static_cast<std::size_t>(std::count(line.begin(), line.end(), '\t'));
    const std::size_t marker = tabs > 0 ? (tabs - kFirstMarkerColumn) / 3 : take_.MarkerCount() - 1;
    if (line.ends_with('\t') || marker >= take_.MarkerCount()) return;
    take_.Clear(frame, marker);
    cut_ = AtLine("the file ends inside the row; {}, where it ends, is taken as a gap",
                  Quoted(take_.markers[marker]));
  }

  void CheckCommas() {
    if (comma_line_ == 0) return;
    const auto fail = [&](std::string_view what) {
      throw InputError(Code::Syntax, file_, fmt::format("{}", comma_line_), what,
                       "export the take again with decimal points, and nothing between the thousands");
    };
    if (header_.rows.Rest().find('.') != std::string_view::npos)
      fail("a number has a comma, while others have points");
    if (!no_thousands_) fail("nothing tells whether the commas are decimal or separate thousands");
    commas_.TellTo(take_.notes, "numbers");
  }

  // Programs that have no empty cell write an unseen marker as 0 0 0. A marker that does move through there
  // is near it in other frames too.
  void ClearZeros() {
    constexpr double kNear = 1; // mm
    struct Visits {
      std::size_t zeros = 0;
      double nearest = std::numeric_limits<double>::infinity(); // of the other positions, mm
    };
    std::vector<Visits> visits(take_.MarkerCount());
    const auto is_zero = [](const Point& p) { return p.x == 0 && p.y == 0 && p.z == 0; };
    for (std::size_t frame = 0; frame < take_.FrameCount(); ++frame)
      for (std::size_t m = 0; m < visits.size(); ++m)
        if (const Point* p = take_.At(frame, m)) {
          if (is_zero(*p))
            ++visits[m].zeros;
          else
            visits[m].nearest =
                std::min(visits[m].nearest, std::sqrt(p->x * p->x + p->y * p->y + p->z * p->z));
        }
    Repeated cleared, kept;
    for (std::size_t m = 0; m < visits.size(); ++m) {
      const std::size_t zeros = visits[m].zeros;
      const double nearest = visits[m].nearest;
      if (zeros == 0 || nearest < kNear) continue;
      const std::string name = Quoted(take_.markers[m]);
      if (std::isinf(nearest)) {
        kept.Add([&] { return fmt::format("{} is at 0 0 0 in all its frames", name); });
        continue;
      }
      cleared.Add([&] {
        return fmt::format("{} is at 0 0 0 in {} frame{}; taken as a gap", name, zeros,
                           zeros == 1 ? "" : "s");
      });
      for (std::size_t frame = 0; frame < take_.FrameCount(); ++frame)
        if (const Point* p = take_.At(frame, m); p && is_zero(*p)) take_.Clear(frame, m);
    }
    cleared.TellTo(take_.notes, "markers");
    kept.TellTo(take_.notes, "markers");
  }

  void NumberFrames() {
    if (!number_from_) return;
    for (std::size_t frame = 0; frame < take_.FrameCount(); ++frame)
      take_.frames[frame] = *number_from_ + static_cast<std::int64_t>(frame);
    take_.notes.push_back(fmt::format("{}; the frames are numbered from {}", unnumbered_, *number_from_));
  }

  // Whether the column Time is complete and rises.
  bool TimesRise() const {
    const std::vector<double>& times = take_.times;
    for (std::size_t i = 0; i < times.size(); ++i)
      if (std::isnan(times[i]) || (i > 0 && !(times[i] > times[i - 1]))) return false;
    return true;
  }

  void SetRate() {
    if (header_.rate) {
      take_.rate = *header_.rate;
      Repeated missing;
      for (std::size_t i = 1; i < take_.FrameCount(); ++i)
        if (const std::int64_t skipped = take_.frames[i] - take_.frames[i - 1] - 1; skipped > 0)
          missing.Add(
              [&] { return fmt::format("frames missing: {} after frame {}", skipped, take_.frames[i - 1]); });
      missing.TellTo(take_.notes, "places");
      return;
    }
    const std::string what =
        header_.rate_text.empty() ? "no DataRate" : fmt::format("the DataRate {} is none", header_.rate_text);
    const auto fail = [&](std::string_view why) {
      throw InputError(Code::Contradiction, file_, fmt::format("{}", header_.values_line),
                       fmt::format("{}, and {}", what, why), "write the frame rate under DataRate");
    };
    if (take_.FrameCount() > 1 && !TimesRise()) fail("the column Time does not rise in every row");
    if (std::isnan(take_.times[0])) take_.times[0] = 0; // of a single frame
    std::string table = "frame,time\n";
    for (std::size_t i = 0; i < take_.FrameCount(); ++i)
      fmt::format_to(std::back_inserter(table), "{},{}\n", take_.frames[i], take_.times[i]);
    try {
      CsvReader rows(table, file_);
      FrameTimes frame_times(0, 1);
      Take frames;
      while (rows.Next()) frame_times.AddFrame(rows, frames);
      frame_times.Finish(rows, frames);
      take_.rate = frames.rate;
      take_.notes.push_back(fmt::format("line {}: {}; {} Hz by the column Time", header_.values_line, what,
                                        ToText(take_.rate)));
      take_.notes.insert(take_.notes.end(), frames.notes.begin(), frames.notes.end());
    } catch (const InputError&) { fail("the column Time gives no rate"); }
  }

  void SetTimes() {
    std::vector<double>& times = take_.times;
    const auto since = [&](std::int64_t first, std::size_t i) {
      return take_.rate.Seconds(take_.frames[i] - first);
    };
    const double start =
        !std::isnan(times[0]) ? times[0] : since(header_.first_frame.value_or(take_.frames[0]), 0);
    const auto by_number = [&](std::size_t i) { return start + since(take_.frames[0], i); };
    std::optional<std::size_t> astray;
    bool rising = true; // false for a start so late that a frame more makes no difference to it
    for (std::size_t i = 0; i < times.size(); ++i) {
      if (!astray && std::abs(times[i] - by_number(i)) > take_.rate.Seconds(1) / 2) astray = i;
      rising = rising && (i == 0 || by_number(i) > by_number(i - 1));
    }
    if (astray) {
      const bool by_column = TimesRise();
      take_.notes.push_back(
          fmt::format("frame {} has the time {:.6g} s where {} Hz give {:.6g} s; {}", take_.frames[*astray],
                      times[*astray], ToText(take_.rate), by_number(*astray),
                      by_column ? "the times are those of the column Time"
                                : "the column Time, which does not rise in every row, is not used"));
      if (by_column) return;
    }
    if (!rising)
      take_.notes.push_back(
          fmt::format("the column Time starts at {:.6g} s; the times are from 0 instead", start));
    for (std::size_t i = 0; i < times.size(); ++i)
      times[i] = rising ? by_number(i) : since(take_.frames[0], i);
  }

  const Header& header_;
  const std::string& file_;
  const std::size_t room_; // the most bytes that the take may need
  std::size_t needed_ = 0;
  Take& take_;
  Lines lines_;

  Repeated by_blanks_, short_rows_, partial_, infinite_, no_time_, commas_;
  Repeated uneven_;
  std::size_t uneven_rows_ = 0;
  std::size_t comma_line_ = 0; // of the first
  bool no_thousands_ = false;  // a comma cannot separate thousands
  std::string cut_;            // the note of a file that ends inside a row
  bool zeros_ = false;         // there is a position 0 0 0
  std::string unnumbered_;     // why the frames are numbered here
  std::optional<std::int64_t> number_from_;
};

} // namespace

bool IsTrc(std::string_view bytes) {
  Lines lines(bytes.substr(0, 1 << 16));
  for (int i = 0; i < 3 && lines.NextFilled(); ++i) {
    Cells cells(lines.Text());
    const std::string_view first = cells.Next().value_or("");
    if (i == 0 && StartsWithIgnoringCase(first, "PathFileType")) return true;
    if (!EqualIgnoringCase(first, kKeys[0])) continue;
    const std::string_view second = cells.Next().value_or("");
    return std::any_of(std::begin(kKeys), std::end(kKeys),
                       [&](std::string_view key) { return EqualIgnoringCase(key, second); });
  }
  return false;
}

Take ReadTrc(std::string_view bytes, const std::string& file) {
  const Header header = ReadHeader(bytes, file);
  std::size_t markers = header.names.size();
  if (!header.loose_names.empty())
    if (const std::size_t columns = WidestRow(header.rows); columns != markers)
      throw InputError(
          Code::Contradiction, file, fmt::format("{}", header.names_line),
          fmt::format("{} names, {}, and columns of {} markers", markers, header.loose_names, columns),
          "write each name above the first of its three columns, separated by tabs");
  for (;;) {
    Take take;
    take.notes = header.notes;
    take.markers = MarkerNames(header, markers, take.notes);
    take.unit = header.unit;
    RowReader rows(header, bytes.size(), file, take);
    if (!rows.Read()) {
      markers = WidestRow(header.rows);
      continue;
    }
    if (markers == 0)
      throw InputError(Code::Empty, file, fmt::format("{}", header.names_line), "there are no markers",
                       kExportAgain);
    const auto compare = [&](std::string_view key, std::optional<std::string_view> told, std::size_t count,
                             std::string_view what) {
      if (told && WholeNumber(ValueOf(*told)) != static_cast<std::int64_t>(count))
        take.notes.push_back(fmt::format("line {}: {} is {}; the file has {} {}{}", header.values_line, key,
                                         told->empty() ? "empty" : Printable(told->substr(0, 60)), count,
                                         what, count == 1 ? "" : "s"));
    };
    compare("NumMarkers", header.markers_text, take.MarkerCount(), "marker");
    compare("NumFrames", header.frames_text, take.FrameCount(), "frame");
    rows.Finish();
    return take;
  }
}

} // namespace mien
