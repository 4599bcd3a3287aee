#include "host/formats/csv.h"

#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/text_number.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <system_error>
#include <utility>

namespace mien {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr char kUnitSeparator = '\x1F'; // between the fields of a row without its quotes

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the next line off the front of `text`, without its line end.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t length = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, length);
  text.remove_prefix(std::min(length + 1, text.size()));
  while (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// Spreadsheets pad a table with rows of separators.
bool IsBlankRow(std::string_view line) {
  return line.find_first_not_of(" \t\r,;\x1F") == std::string_view::npos;
}

bool HasOutsideQuotes(std::string_view line, char wanted) {
  bool quoted = false;
  for (const char c : line)
    if (c == '"')
      quoted = !quoted;
    else if (c == wanted && !quoted)
      return true;
  return false;
}

// Semicolons stand where the decimal comma is usual.
char SeparatorOf(std::string_view header) {
  for (const char separator : {',', ';', '\t'})
    if (HasOutsideQuotes(header, separator)) return separator;
  return ',';
}

// The field that `line` begins with, without the blanks around it.
std::string_view FirstField(std::string_view line, char separator) {
  const std::size_t first =
      std::min(line.find_first_not_of(separator == '\t' ? " \r" : kBlanks), line.size());
  std::size_t end = first;
  if (first < line.size() && line[first] == '"') { // up to the quote that is not doubled
    for (end = first + 1; end < line.size(); ++end)
      if (line[end] == '"' && ++end < line.size() && line[end] != '"') break;
  }
  return line.substr(0, std::min(line.find(separator, end), line.size()));
}

std::vector<std::string_view> SplitHeader(std::string_view line) {
  const char separator = SeparatorOf(line);
  std::vector<std::string_view> columns;
  columns.reserve(1 + static_cast<std::size_t>(std::count(line.begin(), line.end(), separator)));
  for (std::size_t at = 0; at <= line.size();) {
    const std::string_view field = FirstField(line.substr(at), separator);
    std::string_view name = Trim(field);
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') name = name.substr(1, name.size() - 2);
    columns.push_back(name);
    at += field.size() + 1;
  }
  while (!columns.empty() && columns.back().empty()) columns.pop_back();
  return columns;
}

constexpr std::uint64_t kOnes = 0x0101010101010101;

// Eight characters, the first in the lowest byte, such that digits are 0 to 9.
std::uint64_t EightCharacters(const char* p) {
  std::uint64_t text = 0;
  std::memcpy(&text, p, sizeof text);
  return text ^ kOnes * '0';
}

// The highest bit of each byte that is not a digit.
std::uint64_t OtherThanDigits(std::uint64_t text) {
  return (((text & kOnes * 0x7F) + kOnes * (0x80 - 10)) | text) & kOnes * 0x80;
}

// The number that the first 1 to 8 digits make.
std::uint64_t ValueOfDigits(std::uint64_t text, int count) {
  text <<= 8 * (8 - count); // leading zeros instead of what follows the number
  text = (text * 10 + (text >> 8)) & 0x00FF00FF00FF00FF;
  text = (text * 100 + (text >> 16)) & 0x0000FFFF0000FFFF;
  return (text * 10000 + (text >> 32)) & 0xFFFFFFFF;
}

// "-12.5", "0.498451" and the like, as most fields are: up to seven digits before the point, and as many behind
// it as a double holds as a whole number. They are read eight at a time as a whole number over a power of ten.
// Both are exact, so the quotient is rounded once: the bits equal those of from_chars. Returns where the number
// ends; null for anything else.
const char* PlainDecimal(const char* p, const char* end, double& value) {
  constexpr std::uint64_t kTen[] = {1, 10, 100, 1000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};
  constexpr double kPower[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                               1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
  constexpr int kMostDigits = 19;                              // that 64 bits hold
  constexpr std::uint64_t kMostWhole = std::uint64_t{1} << 53; // up to here a double holds each whole number
  constexpr std::ptrdiff_t kBlock = 8;
  if constexpr (std::endian::native != std::endian::little) return nullptr;
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  if (end - p < kBlock) return nullptr;

  std::uint64_t text = EightCharacters(p), others = OtherThanDigits(text);
  int digits = std::countr_zero(others) / 8, decimals = 0;
  if (digits < 8 && p[digits] == '.') {
    others &= others - 1;
    const std::uint64_t above = (std::uint64_t{1} << (8 * digits)) - 1; // the digits before the point
    text = (text & above) | ((text >> 8) & ~above);
    decimals = std::countr_zero(others) / 8 - digits - 1;
    digits += decimals;
    ++p;
  } else if (others == 0) {
    return nullptr;
  }
  if (digits == 0) return nullptr;
  std::uint64_t whole = ValueOfDigits(text, digits);
  p += digits;

  while (others == 0) { // there are more digits behind the point
    if (end - p < kBlock) return nullptr;
    text = EightCharacters(p);
    others = OtherThanDigits(text);
    const int more = std::countr_zero(others) / 8;
    if (more == 0) break;
    digits += more;
    if (digits > kMostDigits) return nullptr;
    decimals += more;
    whole = whole * kTen[more] + ValueOfDigits(text, more);
    p += more;
  }
  if (whole > kMostWhole) return nullptr;
  const double size = static_cast<double>(whole) / kPower[decimals];
  value = negative ? -size : size;
  return p;
}

// Takes the header row off the front of `text`, without its line end, and counts the lines passed.
std::string_view TakeHeader(std::string_view& text, std::size_t& line_number) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty()) {
    ++line_number;
    const std::string_view line = TakeLine(text);
    if (!IsBlankRow(line)) return line;
  }
  return {};
}

// Whether any number has a point in it.
bool HasDecimalPoint(std::string_view rows) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  for (std::size_t point = rows.find('.'); point != std::string_view::npos; point = rows.find('.', point + 1))
    if (point > 0 && is_digit(rows[point - 1]) && point + 1 < rows.size() && is_digit(rows[point + 1]))
      return true;
  return false;
}

} // namespace

std::vector<std::string_view> CsvColumns(std::string_view bytes) {
  std::size_t line_number = 0;
  return SplitHeader(TakeHeader(bytes, line_number));
}

CsvReader::CsvReader(std::string_view bytes, std::string file) : file_(std::move(file)), rest_(bytes) {
  const std::string_view header = TakeHeader(rest_, line_number_);
  rows_ = rest_;
  if (header.find('\r') != std::string_view::npos)
    Fail(Code::Syntax, "the line ends are bare carriage returns", "save the file with LF or CRLF line ends");
  if (!IsUtf8(header))
    Fail(Code::Unsupported, "the column names are not UTF-8 text", "save the file as UTF-8");
  columns_ = SplitHeader(header);
  if (line_number_ == 0)
    throw InputError(Code::Empty, file_, "", "the table is empty", "name the columns in the first row");
  if (columns_.empty()) Fail(Code::Missing, "there is no header", "name the columns in the first row");
  by_name_.resize(columns_.size());
  std::iota(by_name_.begin(), by_name_.end(), std::size_t{0});
  std::sort(by_name_.begin(), by_name_.end(),
            [this](std::size_t a, std::size_t b) { return columns_[a] < columns_[b]; });

  const auto note = [this](std::string_view what) {
    header_notes_.push_back({Code::Syntax, fmt::format("line {}", line_number_), std::string(what)});
  };
  separator_ = SeparatorOf(header);
  if (separator_ != ',')
    note(fmt::format("the columns are separated by {}", separator_ == ';' ? "semicolons" : "tabs"));
  const char* const header_end = header.data() + header.size();
  if (std::string_view(header_end, static_cast<std::size_t>(rest_.data() - header_end)).starts_with("\r\r"))
    note("the line ends are CR CR LF");
}

std::optional<std::size_t> CsvReader::Column(std::string_view name) const {
  const auto found = std::lower_bound(by_name_.begin(), by_name_.end(), name,
                                      [this](std::size_t a, std::string_view b) { return columns_[a] < b; });
  const auto named = [&](auto it) { return it != by_name_.end() && columns_[*it] == name; };
  if (!named(found)) return std::nullopt;
  if (named(found + 1))
    Fail(Code::Duplicate, fmt::format("the column {} occurs twice", Quoted(name)), "keep the right one");
  return *found;
}

bool CsvReader::Next() {
  if (!line_.empty()) CheckFieldCount();
  field_ = 0;
  at_ = 0;
  while (!rest_.empty()) {
    const std::string_view line = TakeLine(rest_);
    ++line_number_;
    if (IsBlankRow(line)) continue;
    ++row_count_;
    if (SetLine(line)) return true;
    cut_line_ = line_number_;
    break;
  }
  line_ = {};
  return false;
}

bool CsvReader::LeaveOutIfCut() {
  const bool unfinished = rest_.empty() && !rows_.ends_with('\n') && !rows_.ends_with('\r');
  if (!unfinished || row_count_ < 2) return false;
  cut_line_ = line_number_;
  line_ = {};
  return true;
}

void CsvReader::Finish(std::vector<Note>& notes) const {
  notes.insert(notes.end(), header_notes_.begin(), header_notes_.end());
  if (comma_line_ > 0) {
    const auto fail = [&](std::string_view what) {
      throw InputError(Code::Syntax, file_, fmt::format("{}", comma_line_),
                       fmt::format("{} has a comma, {}", Quoted(comma_text_), what),
                       "save the table with decimal points, and nothing between the thousands");
    };
    if (HasDecimalPoint(rows_)) fail("and other numbers have points");
    if (!no_thousands_) fail("and nothing shows whether the commas are decimal or separate thousands");
    notes.push_back({Code::Syntax, fmt::format("line {}", comma_line_),
                     fmt::format("decimal commas, as in {}", Quoted(comma_text_))});
  }
  if (cut_line_)
    notes.push_back({Code::Truncated, fmt::format("line {}", *cut_line_),
                     "the file ends inside the row, which is left out"});
}

std::string_view CsvReader::Text(std::size_t column) {
  Seek(column);
  const std::size_t end = std::min(line_.find(line_separator_, at_), line_.size());
  return Trim(line_.substr(at_, end - at_));
}

double CsvReader::Number(std::size_t column, std::string_view fix) {
  const std::optional<double> value = NumberIfAny(column, fix);
  if (!value) FailAt(Code::Missing, column, "the field is empty", fix);
  if (!std::isfinite(*value)) {
    const bool too_large =
        std::isinf(*value) && Text(column).find_first_of("0123456789") != std::string::npos;
    FailAt(Code::InvalidValue, column,
           Quoted(Text(column)) +
               (too_large ? " is beyond the range of a double" : " is not a finite number"),
           fix);
  }
  return *value;
}

std::optional<double> CsvReader::NumberIfAny(std::size_t column, std::string_view fix) {
  Seek(column);
  if (line_separator_ != ',') return OddNumber(column, fix);
  const char* const end = line_.data() + line_.size();
  const auto skip_blanks = [end](const char* p) {
    while (p != end && IsBlank(*p)) ++p;
    return p;
  };
  const auto is_field_end = [end](const char* p) { return p == end || *p == ','; };
  const auto go_behind = [this](const char* field_end) {
    at_ = static_cast<std::size_t>(field_end - line_.data()) + 1;
    ++field_;
  };

  const char* first = skip_blanks(line_.data() + at_);
  double value = 0;
  if (const char* const stop = PlainDecimal(first, end, value)) {
    const char* const after = skip_blanks(stop);
    if (is_field_end(after)) {
      go_behind(after);
      return value;
    }
  }
  if (is_field_end(first)) {
    go_behind(first);
    return std::nullopt;
  }

  const auto [stop, error] = std::from_chars(first, end, value);
  const char* const after = skip_blanks(stop);
  if (error == std::errc() && is_field_end(after)) {
    go_behind(after);
    return value;
  }
  return OddNumber(column, fix);
}

std::optional<double> CsvReader::OddNumber(std::size_t column, std::string_view fix) {
  const std::string_view text = Text(column);
  if (text.empty()) return std::nullopt;
  const TextNumber value = ValueOf(text);
  if (value.comma && comma_line_ == 0) {
    comma_line_ = line_number_;
    comma_text_ = text;
  }
  no_thousands_ = no_thousands_ || value.no_thousands;
  switch (value.kind) {
  case TextNumber::Kind::Number:
    return value.number;
  case TextNumber::Kind::Empty:
    return std::numeric_limits<double>::quiet_NaN();
  case TextNumber::Kind::Infinite:
    return std::numeric_limits<double>::infinity();
  case TextNumber::Kind::Text:
    break;
  }
  FailAt(Code::InvalidValue, column, Quoted(text) + " is not a number", fix);
}

std::int64_t CsvReader::Integer(std::size_t column) {
  constexpr double kLargest = 9007199254740992.0; // 2^53: up to here a double holds each whole number
  const double value = Number(column, "write a whole number");
  if (std::trunc(value) != value || std::abs(value) > kLargest)
    FailAt(Code::InvalidValue, column, Quoted(Text(column)) + " is not a whole number",
           "write a whole number, such as 12");
  return static_cast<std::int64_t>(value);
}

void CsvReader::Fail(Code code, std::string_view what, std::string_view fix) const {
  throw InputError(code, file_, fmt::format("{}", line_number_), what, fix);
}

void CsvReader::FailAt(Code code, std::size_t column, std::string_view what, std::string_view fix) const {
  Fail(code, fmt::format("column {}: {}", Quoted(columns_[column]), what), fix);
}

// Of the current row.
std::size_t CsvReader::FieldCount() const {
  return 1 + static_cast<std::size_t>(std::count(line_.begin(), line_.end(), line_separator_));
}

// Makes a line the current row; false if the file ends inside it.
bool CsvReader::SetLine(std::string_view line) {
  line_ = line;
  line_separator_ = separator_;
  const bool is_last = row_count_ > 1 && rest_.find_first_not_of(" \t\r\n,;") == std::string_view::npos;
  if (line.find('"') != std::string_view::npos && !Unquote(line)) {
    if (is_last) return false;
    Fail(Code::Syntax, "a quote is opened and not closed in its line",
         "close it, and keep each row in one line");
  }
  return !is_last || FieldCount() >= columns_.size();
}

// Removes the quotes: line_ becomes the fields without them, with another separator in between. False if a
// quote is not closed.
bool CsvReader::Unquote(std::string_view line) {
  unquoted_.clear();
  for (std::size_t at = 0; at <= line.size();) {
    const std::string_view field = FirstField(line.substr(at), separator_);
    std::string_view text = Trim(field);
    if (text.starts_with('"')) {
      if (std::count(text.begin(), text.end(), '"') % 2 != 0) return false;
      if (text.ends_with('"')) {
        text = text.substr(1, text.size() - 2);
        for (std::size_t quote; (quote = text.find('"')) != std::string_view::npos;) { // which is doubled
          unquoted_ += text.substr(0, quote + 1);
          text.remove_prefix(std::min(quote + 2, text.size()));
        }
      }
    }
    unquoted_ += text;
    unquoted_ += kUnitSeparator;
    at += field.size() + 1;
  }
  unquoted_.pop_back();
  line_ = unquoted_;
  line_separator_ = kUnitSeparator;
  return true;
}

void CsvReader::Seek(std::size_t column) {
  if (column < field_) field_ = at_ = 0;
  const char separator = line_separator_;
  // Most fields of a wide table are skipped: their separators are counted block by block, which vectorises.
  constexpr std::size_t kBlock = 64;
  while (field_ < column && at_ + kBlock <= line_.size()) {
    std::uint8_t separators = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
      separators = static_cast<std::uint8_t>(separators + (line_[at_ + i] == separator));
    if (separators >= column - field_) break;
    field_ += separators;
    at_ += kBlock;
  }
  while (field_ < column && at_ <= line_.size()) {
    at_ = std::min(line_.find(separator, at_), line_.size()) + 1;
    ++field_;
  }
  if (at_ > line_.size()) FailShort(column);
}

void CsvReader::CheckFieldCount() {
  Seek(columns_.size() - 1);
  const std::size_t end = line_.find(line_separator_, at_);
  if (end == std::string_view::npos || IsBlankRow(line_.substr(end))) return;
  Fail(Code::Syntax,
       fmt::format("the row has {} and the header {}", Count(FieldCount(), "field"), columns_.size()),
       "write one field per column, with decimal points and not commas");
}

void CsvReader::FailShort(std::size_t column) const {
  FailAt(Code::Truncated, column,
         fmt::format("the row is cut short: it has {} and the header {}", Count(FieldCount(), "field"),
                     columns_.size()),
         "complete the row or remove it");
}

} // namespace mien
