#include "host/takes/trc.h"

#include "host/error.h"
#include "host/takes/frame_times.h"
#include "host/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mien {
namespace {

constexpr std::string_view kKeys[] = {"DataRate", "CameraRate",   "NumFrames",          "NumMarkers",
                                      "Units",    "OrigDataRate", "OrigDataStartFrame", "OrigNumFrames"};
constexpr std::string_view kBlanks = " \r";
constexpr std::string_view kBlanksAndTabs = " \r\t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kExportAgain = "export the take again";
constexpr std::size_t kFirstMarkerColumn = 2; // after Frame# and Time

bool StartsWithIgnoringCase(std::string_view text, std::string_view word) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                  [&](char a, char b) { return lower(a) == lower(b); });
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && StartsWithIgnoringCase(a, b);
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kBlanksAndTabs) == std::string_view::npos;
}

// Walks a text line by line. A text without any LF has its lines ended by CR.
class Lines {
public:
  explicit Lines(std::string_view text) : rest_(text) {
    if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
    if (rest_.find('\n') == std::string_view::npos) end_ = '\r';
  }

  bool Next() {
    if (rest_.empty()) return false;
    const void* const end = std::memchr(rest_.data(), end_, rest_.size());
    ended_ = end != nullptr;
    const std::size_t length =
        ended_ ? static_cast<std::size_t>(static_cast<const char*>(end) - rest_.data()) : rest_.size();
    text_ = rest_.substr(0, length);
    rest_.remove_prefix(std::min(length + 1, rest_.size()));
    if (text_.ends_with('\r')) text_.remove_suffix(1);
    ++number_;
    return true;
  }

  bool NextFilled() {
    while (Next())
      if (!IsBlank(text_)) return true;
    return false;
  }

  std::string_view Text() const { return text_; } // without its line end
  std::size_t Number() const { return number_; }  // from 1
  bool Ended() const { return ended_; }           // false if the file ends before the line does
  std::string_view Rest() const { return rest_; }

private:
  std::string_view rest_;
  char end_ = '\n';
  std::string_view text_;
  std::size_t number_ = 0;
  bool ended_ = true;
};

// The cells of a line without the blanks around them: what tabs separate, or without a tab, runs of blanks.
class Cells {
public:
  explicit Cells(std::string_view line)
      : rest_(line), more_(!IsBlank(line)), tabs_(line.find('\t') != std::string_view::npos) {
    if (!tabs_) rest_ = Trim(rest_);
  }

  bool SeparatedByTabs() const { return tabs_; }

  std::optional<std::string_view> Next() {
    if (!more_) return std::nullopt;
    const std::size_t end = tabs_ ? rest_.find('\t') : rest_.find_first_of(kBlanks);
    const std::string_view cell = Trim(rest_.substr(0, end));
    more_ = end != std::string_view::npos;
    if (more_) rest_.remove_prefix(end + 1);
    if (!tabs_) rest_ = Trim(rest_);
    return cell;
  }

private:
  std::string_view rest_;
  bool more_;
  bool tabs_;
};

// What happens at many places alike, told as one note: the first place, and how many more there are.
class Repeated {
public:
  template <typename Tell>
  void Add(const Tell& tell) {
    if (count_++ == 0) first_ = tell();
  }
  void TellTo(std::vector<std::string>& notes, std::string_view places = "lines") const {
    if (count_ == 1) notes.push_back(first_);
    if (count_ > 1)
      notes.push_back(fmt::format("{}; likewise {} more {}", first_, count_ - 1,
                                  count_ == 2 ? places.substr(0, places.size() - 1) : places));
  }

private:
  std::size_t count_ = 0;
  std::string first_;
};

// --- Numbers.

enum class Kind : std::uint8_t {
  Empty,    // or NaN
  Number,   // a finite one
  Infinite, // or too large for a double
  Text,
};

struct Value {
  Kind kind = Kind::Empty;
  double number = 0;
  bool comma = false;        // it has a decimal comma
  bool no_thousands = false; // the comma cannot separate thousands
};

std::string_view WithoutSign(std::string_view text) {
  return text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
}

// A trimmed cell.
Value ValueOf(std::string_view text) {
  if (text.empty()) return {};
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Value value;
  char with_point[64];
  if (const std::size_t comma = text.find(','); comma != std::string_view::npos) {
    const std::size_t before = comma - (text.starts_with('-') ? 1 : 0);
    const std::size_t after =
        std::min(text.find_first_not_of("0123456789", comma + 1), text.size()) - comma - 1;
    if (after == 0 || text.size() > sizeof with_point || text.find('.') != std::string_view::npos)
      return {.kind = Kind::Text};
    value.comma = true;
    value.no_thousands = after != 3 || before == 0 || before > 3 || text[comma - before] == '0';
    std::copy(text.begin(), text.end(), with_point);
    with_point[comma] = '.';
    text = std::string_view(with_point, text.size());
  }
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value.number);
  if (stop == end && error != std::errc::invalid_argument)
    value.kind = error == std::errc::result_out_of_range || std::isinf(value.number) ? Kind::Infinite
                 : std::isnan(value.number)                                          ? Kind::Empty
                                                                                     : Kind::Number;
  else if (const std::string_view word = WithoutSign(text); word.starts_with("1.#")) // "-1.#IND", "1.#QNAN"
    value.kind = StartsWithIgnoringCase(word.substr(3), "INF") ? Kind::Infinite : Kind::Empty;
  else
    value.kind = Kind::Text;
  return value;
}

// Far more frames than any camera has counted, and few enough for times to tell each from the next.
constexpr double kLargestNumber = 1e12;

std::optional<std::int64_t> WholeNumber(const Value& value) {
  if (value.kind != Kind::Number || value.comma || std::trunc(value.number) != value.number ||
      std::abs(value.number) > kLargestNumber)
    return std::nullopt;
  return static_cast<std::int64_t>(value.number);
}

struct Unit {
  std::string_view name;
  double millimetres;
};
constexpr Unit kUnits[] = {{"mm", 1},          {"millimeter", 1},   {"millimeters", 1}, {"millimetre", 1},
                           {"millimetres", 1}, {"cm", 10},          {"centimeter", 10}, {"centimeters", 10},
                           {"centimetre", 10}, {"centimetres", 10}, {"dm", 100},        {"m", 1000},
                           {"meter", 1000},    {"meters", 1000},    {"metre", 1000},    {"metres", 1000},
                           {"in", 25.4},       {"inch", 25.4},      {"inches", 25.4},   {"ft", 304.8},
                           {"foot", 304.8},    {"feet", 304.8}};

// --- The lines above the rows.

struct Header {
  std::vector<std::string> notes;
  std::size_t values_line = 0;
  std::optional<FrameRate> rate;
  std::string rate_text; // what DataRate says, quoted; empty without the key
  std::optional<std::string_view> frames_text, markers_text;
  std::optional<std::int64_t> frames, first_frame;
  std::string unit = "mm";
  double millimetres = 1; // of that unit
  std::size_t names_line = 0;
  std::vector<std::string_view> names; // up to the last that is not blank
  std::string_view loose_names; // why their place does not tell whose columns are which; empty if it does
  Lines rows{{}};               // before the first
};

class HeaderReader {
public:
  HeaderReader(std::string_view bytes, const std::string& file) : file_(file), lines_(bytes) {}

  Header Read() {
    NextLine();
    if (StartsWithIgnoringCase(Trim(lines_.Text()), "PathFileType"))
      NextLine();
    else
      Note("no line PathFileType before the keys");
    const std::string_view keys = lines_.Text();
    ReadKeys();
    NextLine();
    ReadValues(keys);
    NextLine();
    ReadNames();
    ReadLabels();
    return std::move(header_);
  }

private:
  void NextLine() {
    const std::size_t before = lines_.Number();
    if (!lines_.NextFilled())
      throw InputError(file_, fmt::format("{}", std::max<std::size_t>(before, 1)),
                       "the header ends here, before the marker names", kExportAgain);
    if (lines_.Text().find('\r') != std::string_view::npos)
      Fail("there are bare carriage returns in the line", "save the file with LF or CRLF line ends");
  }

  [[noreturn]] void Fail(std::string_view what, std::string_view mend) const {
    throw InputError(file_, fmt::format("{}", lines_.Number()), what, mend);
  }

  void Note(std::string_view what) {
    header_.notes.push_back(fmt::format("line {}: {}", lines_.Number(), what));
  }

  void ReadKeys() {
    Cells cells(lines_.Text());
    std::size_t count = 0;
    bool known[std::size(kKeys)] = {};
    Repeated strange;
    while (const auto cell = cells.Next()) {
      if (cell->empty()) continue;
      ++count;
      const auto key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                    [&](std::string_view k) { return EqualIgnoringCase(k, *cell); });
      const bool twice = key != std::end(kKeys) && known[key - std::begin(kKeys)];
      if (key == std::end(kKeys) || twice)
        strange.Add([&] {
          return fmt::format("line {}: the key {} is {}", lines_.Number(), Quoted(*cell),
                             twice ? "there twice; the first counts" : "not known, and not read");
        });
      else
        known[key - std::begin(kKeys)] = true;
    }
    if (std::none_of(std::begin(known), std::end(known), [](bool is) { return is; }))
      Fail("the keys are missing (DataRate, CameraRate, NumFrames, ...)", kExportAgain);
    if (count != std::size(kKeys)) Note(fmt::format("{} keys instead of {}", count, std::size(kKeys)));
    strange.TellTo(header_.notes, "keys");
    if (!cells.SeparatedByTabs() && count > 1) Note("blanks instead of tabs");
  }

  void ReadValues(std::string_view key_line) {
    if (StartsWithIgnoringCase(Trim(lines_.Text()), "Frame#"))
      Fail("the line of values is missing, which belongs under the keys", kExportAgain);
    header_.values_line = lines_.Number();
    Cells keys(key_line), values(lines_.Text());
    std::optional<std::string_view> found[std::size(kKeys)];
    while (const auto key = keys.Next()) {
      const auto value = values.Next();
      if (!value) break;
      for (std::size_t k = 0; k < std::size(kKeys); ++k)
        if (EqualIgnoringCase(*key, kKeys[k]) && !found[k]) found[k] = *value;
    }
    const auto &data_rate = found[0], &frames = found[2], &markers = found[3], &units = found[4],
               &first_frame = found[6]; // as in kKeys
    if (data_rate) {
      const Value value = ValueOf(*data_rate);
      header_.rate_text = Quoted(*data_rate);
      if (value.kind == Kind::Number && value.comma == value.no_thousands) {
        header_.rate = FrameRateOf(value.number);
        if (value.comma) Note(fmt::format("decimal commas, as in {}", Quoted(*data_rate)));
      }
    }
    header_.frames_text = frames;
    header_.markers_text = markers;
    if (frames) header_.frames = WholeNumber(ValueOf(*frames));
    if (first_frame) header_.first_frame = WholeNumber(ValueOf(*first_frame));

    const auto unit = std::find_if(std::begin(kUnits), std::end(kUnits), [&](const Unit& u) {
      return EqualIgnoringCase(u.name, units.value_or(""));
    });
    if (unit != std::end(kUnits)) {
      header_.unit = *units;
      header_.millimetres = unit->millimetres;
    } else if (!units || units->empty()) {
      Note("no Units; taken as mm");
    } else {
      Note(fmt::format("the unit {} is not known; taken as mm", Quoted(*units)));
    }
  }

  void ReadNames() {
    header_.names_line = lines_.Number();
    Cells cells(lines_.Text());
    const auto frame = cells.Next(), time = cells.Next();
    if (!frame || !StartsWithIgnoringCase(*frame, "Frame"))
      Fail("the line of marker names is missing, which starts with Frame#", kExportAgain);
    if (!time || !StartsWithIgnoringCase(*time, "Time"))
      Fail(fmt::format("the second column is {} and not Time", Quoted(time.value_or(""))),
           "name the first two columns Frame# and Time");

    bool in_place = true;
    for (std::size_t column = 0; const auto cell = cells.Next(); ++column) {
      if (column % 3 == 0)
        header_.names.push_back(*cell);
      else
        in_place = in_place && cell->empty();
    }
    if (!cells.SeparatedByTabs()) {
      header_.loose_names = "separated by blanks";
      Note("blanks instead of tabs");
    } else if (!in_place) {
      header_.loose_names = "not one above each three columns";
      Note(fmt::format("the names are {}; taken in their order", header_.loose_names));
    }
    if (!header_.loose_names.empty()) {
      header_.names.clear();
      Cells again(lines_.Text());
      for (std::size_t column = 0; const auto cell = again.Next(); ++column)
        if (column >= kFirstMarkerColumn && !cell->empty()) header_.names.push_back(*cell);
    }
    while (!header_.names.empty() && header_.names.back().empty()) header_.names.pop_back();
  }

  void ReadLabels() {
    header_.rows = lines_;
    if (!lines_.NextFilled()) return;
    const std::string_view line = lines_.Text();
    const std::string_view first = line.substr(line.find_first_not_of(kBlanksAndTabs));
    if (ValueOf(Trim(first.substr(0, first.find_first_of(kBlanksAndTabs)))).kind != Kind::Text) {
      Note("no labels X1, Y1, Z1, ... and no blank line before the first row");
      return;
    }
    Cells cells(line);
    std::size_t count = 0;
    Repeated odd;
    while (const auto cell = cells.Next()) {
      if (cell->empty()) continue;
      const std::string expected = fmt::format("{}{}", "XYZ"[count % 3], count / 3 + 1);
      if (++count <= 3 * header_.names.size() && !EqualIgnoringCase(*cell, expected))
        odd.Add([&] {
          return fmt::format("line {}: the label {} stands where {} would", lines_.Number(), Quoted(*cell),
                             expected);
        });
    }
    odd.TellTo(header_.notes, "labels");
    if (count != 3 * header_.names.size())
      Note(fmt::format("{} labels for {} names", count, header_.names.size()));
    if (!cells.SeparatedByTabs()) Note("blanks instead of tabs");
    header_.rows = lines_;
    if (lines_.Next() && !IsBlank(lines_.Text())) Note("no blank line before the first row");
  }

  const std::string& file_;
  Lines lines_;
  Header header_;
};

// --- Marker names.

// Text of which each byte is a character.
std::string FromLatin1(std::string_view text) {
  std::string utf8;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0 | byte >> 6);
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

// As many names as there are markers, all different.
std::vector<std::string> MarkerNames(const Header& header, std::size_t markers,
                                     std::vector<std::string>& notes) {
  const std::size_t named = header.names.size();
  const auto note = [&](std::string_view what) {
    return fmt::format("line {}: {}", header.names_line, what);
  };
  const bool utf8 = std::all_of(header.names.begin(), header.names.end(), IsUtf8);
  if (!utf8) notes.push_back(note("the names are not UTF-8 text; read as Latin-1"));

  const auto is_blank = [&](std::size_t m) { return m >= named || header.names[m].empty(); };
  std::vector<std::string> names(markers);
  std::vector<std::size_t> order(markers); // by name; of equal names, the one that is in the file first
  for (std::size_t m = 0; m < markers; ++m) {
    names[m] = is_blank(m) ? fmt::format("marker {}", m + 1)
               : utf8      ? std::string(header.names[m])
                           : FromLatin1(header.names[m]);
    order[m] = m;
  }
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const int compared = names[a].compare(names[b]);
    return compared != 0 ? compared < 0 : std::pair(is_blank(a), a) < std::pair(is_blank(b), b);
  });
  const auto is_taken = [&](const std::string& name) {
    const auto found = std::lower_bound(order.begin(), order.end(), name,
                                        [&](std::size_t m, const std::string& n) { return names[m] < n; });
    return found != order.end() && names[*found] == name;
  };

  std::vector<std::pair<std::size_t, std::string>> renamed; // later, as the search goes by the names before
  Repeated twice, blank;
  for (std::size_t i = 1, copy = 1; i < markers; ++i) {
    const std::string& name = names[order[i]];
    if (name != names[order[i - 1]]) {
      copy = 1;
      continue;
    }
    std::string other;
    do other = fmt::format("{} ({})", name, ++copy);
    while (is_taken(other));
    if (!is_blank(order[i]))
      twice.Add([&] {
        return note(
            fmt::format("the name {} is there twice; the second is called {}", Quoted(name), Quoted(other)));
      });
    renamed.emplace_back(order[i], std::move(other));
  }
  for (auto& [m, name] : renamed) names[m] = std::move(name);
  for (std::size_t m = 0; m < named; ++m)
    if (is_blank(m))
      blank.Add(
          [&] { return note(fmt::format("marker {} has no name; called {}", m + 1, Quoted(names[m]))); });
  twice.TellTo(notes, "names");
  blank.TellTo(notes, "markers");
  if (markers > named)
    notes.push_back(note(fmt::format("names for {} of {} markers; the others are called {}{}", named, markers,
                                     Quoted(names[named]), markers - named > 1 ? " and so on" : "")));
  return names;
}

// --- The rows.

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
      throw InputError(file_, fmt::format("{}", lines_.Number()), "there are no frames, only a header",
                       "export the take again with its rows");
    CheckCommas();
    for (const Repeated* repeated : {&by_blanks_, &short_rows_, &partial_, &infinite_})
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

  [[noreturn]] void Fail(std::string_view what, std::string_view mend) const {
    throw InputError(file_, fmt::format("{}", lines_.Number()), what, mend);
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
      throw InputError(file_, fmt::format("{}", comma_line_), what,
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
            visits[m].nearest = std::min(visits[m].nearest, std::hypot(p->x, p->y, p->z));
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
      throw InputError(file_, fmt::format("{}", header_.values_line), fmt::format("{}, and {}", what, why),
                       "write the frame rate under DataRate");
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
  std::size_t comma_line_ = 0; // of the first
  bool no_thousands_ = false;  // a comma cannot separate thousands
  std::string cut_;            // the note of a file that ends inside a row
  bool zeros_ = false;         // there is a position 0 0 0
  std::string unnumbered_;     // why the frames are numbered here
  std::optional<std::int64_t> number_from_;
};

// A fraction is written with as many decimals as give it back.
std::string DataRate(const FrameRate& rate) {
  constexpr int kMostDecimals = 17;
  for (int decimals = 2; decimals <= kMostDecimals; ++decimals) {
    std::string text = fmt::format("{:.{}f}", rate.Hz(), decimals);
    if (ParseFrameRate(text) == rate) return text;
  }
  return fmt::format("{}", rate.Hz());
}

void CheckWritable(const Take& take) {
  if (take.FrameCount() == 0 || take.MarkerCount() == 0)
    throw InputError(take.name, "", "the take has no frames or no markers", "there is nothing to write");
  std::unordered_set<std::string_view> known;
  for (const std::string& name : take.markers) {
    if (name.empty() || name.find_first_of("\t\r\n") != std::string::npos || name.front() == ' ' ||
        name.back() == ' ' || !IsUtf8(name))
      throw InputError(take.name, "",
                       fmt::format("the marker name {} cannot stand in a header", Quoted(name)),
                       "rename it, in UTF-8, without tab, line end or outer blank");
    if (!known.insert(name).second)
      throw InputError(take.name, "", fmt::format("the marker {} is there twice", Quoted(name)),
                       "give each marker its own name");
  }
}

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
  const Header header = HeaderReader(bytes, file).Read();
  std::size_t markers = header.names.size();
  if (!header.loose_names.empty())
    if (const std::size_t columns = WidestRow(header.rows); columns != markers)
      throw InputError(
          file, fmt::format("{}", header.names_line),
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
      throw InputError(file, fmt::format("{}", header.names_line), "there are no markers", kExportAgain);
    const auto compare = [&](std::string_view key, std::optional<std::string_view> told, std::size_t count,
                             std::string_view what) {
      if (told && WholeNumber(ValueOf(*told)) != static_cast<std::int64_t>(count))
        take.notes.push_back(fmt::format("line {}: {} is {}; the file has {} {}", header.values_line, key,
                                         told->empty() ? "empty" : Printable(told->substr(0, 60)), count,
                                         what));
    };
    compare("NumMarkers", header.markers_text, take.MarkerCount(), "markers");
    compare("NumFrames", header.frames_text, take.FrameCount(), "frames");
    rows.Finish();
    return take;
  }
}

void WriteTrc(const Take& take, std::ostream& out) {
  CheckWritable(take);
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "PathFileType\t4\t(X/Y/Z)\t{}.trc\n{}\n", Printable(take.name), fmt::join(kKeys, "\t"));
  const std::string rate = DataRate(take.rate);
  fmt::format_to(to, "{0}\t{0}\t{1}\t{2}\tmm\t{0}\t{3}\t{1}\nFrame#\tTime", rate, take.FrameCount(),
                 take.MarkerCount(), take.frames.front());
  // Two tabs after a name, and one before the next: each stands above the first of three columns.
  for (const std::string& name : take.markers) fmt::format_to(to, "\t{}\t\t", name);
  fmt::format_to(to, "\n\t");
  for (std::size_t m = 1; m <= take.MarkerCount(); ++m) fmt::format_to(to, "\tX{0}\tY{0}\tZ{0}", m);
  fmt::format_to(to, "\n\n");
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    fmt::format_to(to, "{}\t{}", take.frames[frame], take.times[frame]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      if (const Point* p = take.At(frame, m))
        fmt::format_to(to, "\t{}\t{}\t{}", p->x, p->y, p->z);
      else
        fmt::format_to(to, "\t\t\t");
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
