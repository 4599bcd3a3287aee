#include "host/formats/trc_rows.h"

#include "host/base/text.h"
#include "host/takes/far_positions.h"
#include "host/takes/frame_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace mien::trc {

namespace {

class RowReader {
public:
  RowReader(const Header& header, std::size_t file_size, const std::string& file, Take& take)
      : header_(header), file_(file), room_(32 * file_size + (1 << 20)), take_(take), lines_(header.rows) {}

  std::optional<Rows> Read() {
    while (lines_.NextFilled())
      if (!ReadRow()) return std::nullopt;
    CheckTable();
    CheckCommas();
    for (const Repeated* repeated : {&by_blanks_, &short_rows_, &uneven_, &partial_, &infinite_})
      repeated->AppendTo(rows_.notes);
    far_.AppendTo(rows_.notes);
    if (cut_) rows_.notes.push_back(*cut_);
    return std::move(rows_);
  }

private:
  // What is left of the line; at is null after its last cell.
  struct Row {
    const char* at;
    const char* end;
    bool tabs;
    bool is_short = false; // more cells were asked for than it has

    bool Over() const { return at == nullptr; }
    std::string_view Rest() const { return {at, static_cast<std::size_t>(end - at)}; }
  };

  // --- Cells

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
      Fail(Code::InvalidValue, fmt::format("{}: {} is not a number", ColumnAt(first, row.tabs), Quoted(text)),
           "write a plain number, such as 12.5, or leave the three cells of an unseen marker empty");
    if (value.comma) {
      commas_.Add([&] {
        comma_line_ = lines_.Number();
        return NoteHere(Code::Syntax, "decimal commas, as in {}", Quoted(text));
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

  // --- Rows

  // False if it has columns for more markers than the take.
  bool ReadRow() {
    const std::string_view line = lines_.Text();
    Row row{line.data(), line.data() + line.size(), std::memchr(line.data(), '\t', line.size()) != nullptr};
    const std::optional<std::int64_t> number = ReadFrameNumber(row);
    const std::optional<double> time = ReadTime(row);
    if (IsCutBeforeMarkers(row)) {
      cut_ = NoteHere(Code::Truncated, "the file ends within this row, which is left out");
      return true;
    }
    const std::size_t frame = AddFrame(number, time);
    ReadPositions(row, frame);
    if (!row.Over() && !IsBlank(row.Rest())) return false;

    const bool few = header_.frames && static_cast<std::int64_t>(take_.FrameCount()) < *header_.frames;
    if (!lines_.Ended() && (row.is_short || few)) LeaveOutEnd(frame);
    return true;
  }

  std::optional<std::int64_t> ReadFrameNumber(Row& row) {
    Value value;
    value.kind = ReadCell(row, value.number);
    const auto number = WholeNumber(value);
    rows_.lacks_numbers = rows_.lacks_numbers || !number;
    if (rows_.number_from) return number;
    if (!number)
      rows_.unnumbered = value.kind == Kind::Number
                             ? NoteHere(Code::InvalidValue, "the frame number {} is none", value.number)
                             : NoteHere(Code::Missing, "no frame number");
    else if (take_.FrameCount() > 0 && *number <= take_.frames.back())
      rows_.unnumbered = NoteHere(Code::Order, "frame {} comes after frame {}", *number, take_.frames.back());
    return number;
  }

  std::optional<double> ReadTime(Row& row) {
    const Row before = row;
    double time = 0;
    if (ReadCell(row, time) != Kind::Number) return std::nullopt;
    if (!header_.rate) { // nothing else asks
      const char* const end = row.Over() ? row.end : row.at;
      rows_.decimals =
          std::max(rows_.decimals, DecimalsOf({before.at, static_cast<std::size_t>(end - before.at)}));
    }
    return time;
  }

  // Whether the file ends in this row before its first marker, or at a place that does not show which marker
  // is meant.
  bool IsCutBeforeMarkers(const Row& row) {
    const std::size_t markers = take_.MarkerCount();
    if (row.Over()) return !lines_.Ended() && markers > 0;
    if (row.tabs) return false;
    // It must be complete: blanks do not show whose cells are missing.
    std::size_t count = 0;
    for (Cells cells(lines_.Text()); cells.Next();) ++count;
    if (count < kFirstMarkerColumn + 3 * markers) {
      if (!lines_.Ended()) return true;
      Fail(Code::Missing,
           fmt::format("{} numbers, separated by blanks, where {} markers need {}", count, markers,
                       kFirstMarkerColumn + 3 * markers),
           "separate the columns by tabs, or write NaN for what is missing");
    }
    by_blanks_.Add([&] { return NoteHere(Code::Syntax, "blanks instead of tabs"); });
    return false;
  }

  std::size_t AddFrame(std::optional<std::int64_t> number, std::optional<double> time) {
    if (!rows_.unnumbered.what.empty() && !rows_.number_from)
      rows_.number_from = take_.FrameCount() > 0 ? take_.frames.front()
                          : number               ? *number
                                                 : header_.first_frame.value_or(1);
    needed_ += take_.MarkerCount() * (sizeof(Point) + sizeof(Origin)) + sizeof(std::int64_t) + sizeof(double);
    if (needed_ > room_)
      Fail(Code::Limit,
           fmt::format("the rows are much shorter than their {} markers need", take_.MarkerCount()),
           "check the line of marker names, or write all the cells of each row");
    if (!time)
      rows_.no_time.Add([&] { return NoteHere(Code::Missing, "no time; it follows from the frame number"); });
    return take_.AddFrame(number.value_or(0), time.value_or(std::numeric_limits<double>::quiet_NaN()));
  }

  void ReadPositions(Row& row, std::size_t frame) {
    const Take::Row out = take_.RowOf(frame);
    const double scale = header_.millimetres;
    for (std::size_t m = 0; m < out.positions.size(); ++m) {
      Point p;
      const Kind x = ReadCell(row, p.x);
      const Kind y = ReadCell(row, p.y);
      const Kind z = ReadCell(row, p.z);
      if (x == Kind::Number && y == Kind::Number && z == Kind::Number) {
        p = {p.x * scale, p.y * scale, p.z * scale};
        if (IsWithinReach(p)) {
          out.positions[m] = p;
          out.origins[m] = Origin::Measured;
          rows_.zeros = rows_.zeros || (p.x == 0 && p.y == 0 && p.z == 0);
        } else {
          far_.Add(take_.markers[m], "line", static_cast<std::int64_t>(lines_.Number()));
        }
      } else if (x == Kind::Infinite || y == Kind::Infinite || z == Kind::Infinite) {
        AddInfinite(m);
      } else if (x == Kind::Number || y == Kind::Number || z == Kind::Number) {
        if (row.is_short && lines_.Ended()) { // a cell is missing somewhere
          std::fill(out.origins.begin(), out.origins.end(), Origin::None);
          AddUneven(m);
          return;
        }
        AddPartial(m, (x == Kind::Number) + (y == Kind::Number) + (z == Kind::Number));
      }
      if (row.is_short) {
        AddShort(m);
        return;
      }
    }
  }

  // The file ends in this row, perhaps in the middle of a number.
  void LeaveOutEnd(std::size_t frame) {
    const std::string_view line = lines_.Text().substr(0, lines_.Text().find_last_not_of(kBlanks) + 1);
    const std::size_t tabs = static_cast<std::size_t>(std::count(line.begin(), line.end(), '\t'));
    const std::size_t marker = tabs > 0 ? (tabs - kFirstMarkerColumn) / 3 : take_.MarkerCount() - 1;
    if (line.ends_with('\t') || marker >= take_.MarkerCount()) return;
    take_.Clear(frame, marker);
    cut_ = NoteHere(Code::Truncated, "the file ends within this row, at {}, which is taken as a gap",
                    Quoted(take_.markers[marker]));
  }

  // --- After the last row

  void CheckTable() const {
    if (take_.MarkerCount() == 0)
      throw InputError(Code::Empty, file_, fmt::format("{}", header_.names_line), "there are no markers",
                       kExportAgain);
    if (take_.FrameCount() == 0)
      throw InputError(Code::Empty, file_, fmt::format("{}", lines_.Number()),
                       "there are no frames, only a header", "export the take again with its rows");
    if (uneven_rows_ == take_.FrameCount())
      throw InputError(Code::Empty, file_, fmt::format("{}", header_.names_line),
                       "a column is missing: every row ends within a marker's three", kExportAgain);
  }

  void CheckCommas() {
    if (comma_line_ == 0) return;
    const auto fail = [&](std::string_view what) {
      throw InputError(Code::Syntax, file_, fmt::format("{}", comma_line_), what,
                       "export the take again with decimal points, and nothing between the thousands");
    };
    if (header_.rows.Rest().find('.') != std::string_view::npos)
      fail("one number has a comma, others have points");
    if (!no_thousands_) fail("the commas can be decimal commas or separate thousands");
    commas_.AppendTo(rows_.notes, "numbers");
  }

  // --- Notes and errors

  [[noreturn]] void Fail(Code code, std::string_view what, std::string_view fix) const {
    throw InputError(code, file_, fmt::format("{}", lines_.Number()), what, fix);
  }

  template <typename... Arguments>
  Note NoteHere(Code code, fmt::format_string<Arguments...> what, Arguments&&... arguments) const {
    return {code, Line(lines_.Number()), fmt::format(what, std::forward<Arguments>(arguments)...)};
  }

  void AddInfinite(std::size_t m) {
    infinite_.Add([&] {
      return NoteHere(Code::InvalidValue, "{} has a value that is infinite; taken as a gap",
                      Quoted(take_.markers[m]));
    });
  }

  void AddPartial(std::size_t m, int values) {
    partial_.Add([&] {
      return NoteHere(Code::Missing, "{} has {} of its 3 values; taken as a gap", Quoted(take_.markers[m]),
                      values);
    });
  }

  void AddUneven(std::size_t m) {
    ++uneven_rows_;
    uneven_.Add([&] {
      return NoteHere(Code::Missing,
                      "the row ends within marker {} of {}: a cell is missing somewhere in it; taken as gaps "
                      "of all markers",
                      m + 1, take_.MarkerCount());
    });
  }

  void AddShort(std::size_t m) {
    short_rows_.Add([&] {
      return NoteHere(Code::Missing, "the row is too short for {}, marker {} of {}, and those after it",
                      Quoted(take_.markers[m]), m + 1, take_.MarkerCount());
    });
  }

  const Header& header_;
  const std::string& file_;
  const std::size_t room_; // the most bytes that the take may need
  std::size_t needed_ = 0;
  Take& take_;
  Lines lines_;
  Rows rows_;

  Repeated by_blanks_, short_rows_, partial_, infinite_, commas_, uneven_;
  FarPositions far_;
  std::size_t uneven_rows_ = 0;
  std::size_t comma_line_ = 0; // of the first
  bool no_thousands_ = false;  // a comma cannot separate thousands
  std::optional<Note> cut_;    // of a file that ends inside a row
};

} // namespace

std::size_t MarkersOfWidestRow(Lines rows) {
  std::size_t widest = 0;
  while (rows.NextFilled()) {
    Cells cells(rows.Text().substr(0, rows.Text().find_last_not_of(kBlanksAndTabs) + 1));
    std::size_t count = 0;
    while (cells.Next()) ++count;
    widest = std::max(widest, count);
  }
  return widest > kFirstMarkerColumn ? (widest - kFirstMarkerColumn + 2) / 3 : 0;
}

std::optional<Rows> ReadRows(const Header& header, std::size_t file_size, const std::string& file,
                             Take& take) {
  return RowReader(header, file_size, file, take).Read();
}

} // namespace mien::trc
