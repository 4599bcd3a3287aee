#include "host/wire/json_cursor.h"

#include "host/base/parse_json.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

namespace mien {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void AppendUtf8(std::string& text, std::uint32_t c) {
  const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80U | (c >> shift & 0x3FU)); };
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0U | c >> 6);
    tail(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0U | c >> 12);
    tail(6), tail(0);
  } else {
    text += static_cast<char>(0xF0U | c >> 18);
    tail(12), tail(6), tail(0);
  }
}

} // namespace

double JsonCursor::Fail() {
  failed_ = true;
  rest_ = {};
  return kNaN;
}

char JsonCursor::Peek() {
  while (!rest_.empty() && (rest_[0] == ' ' || rest_[0] == '\t' || rest_[0] == '\n' || rest_[0] == '\r'))
    rest_.remove_prefix(1);
  return rest_.empty() ? '\0' : rest_[0];
}

bool JsonCursor::IsAtEnd() { return !failed_ && Peek() == '\0' && rest_.empty(); }

bool JsonCursor::Take(char c) {
  if (Peek() != c || rest_.empty()) return false;
  rest_.remove_prefix(1);
  return true;
}

bool JsonCursor::TakeWord(std::string_view word) {
  Peek();
  if (!rest_.starts_with(word)) return false;
  rest_.remove_prefix(word.size());
  return true;
}

void JsonCursor::BeginObject() {
  first_ = true;
  if (!Take('{')) Fail();
}

void JsonCursor::BeginArray() {
  first_ = true;
  if (!Take('[')) Fail();
}

bool JsonCursor::Next(char close) {
  const bool is_first = std::exchange(first_, false);
  if (failed_ || Take(close)) return false;
  if (!is_first && !Take(',')) Fail();
  return !failed_;
}

bool JsonCursor::NextElement() { return Next(']'); }

bool JsonCursor::NextKey(std::string& key) {
  if (!Next('}')) return false;
  String(key);
  if (!Take(':')) Fail();
  return !failed_;
}

double JsonCursor::Number() {
  const char first = Peek();
  if (first == 'n' ? TakeWord("null") : first == 'N' && TakeWord("NaN")) return kNaN;
  if (first != '-' && (first < '0' || first > '9')) return Fail();
  double number = 0;
  const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
  if (error != std::errc() && error != std::errc::result_out_of_range) return Fail();
  rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
  return error == std::errc() ? number : kNaN;
}

bool JsonCursor::Boolean() {
  if (TakeWord("true")) return true;
  if (!TakeWord("false")) Fail();
  return false;
}

void JsonCursor::Text(std::string& text) {
  if (Peek() == '"') return String(text);
  const std::string_view before = rest_;
  Number();
  text = failed_ ? std::string_view() : before.substr(0, before.size() - rest_.size());
}

void JsonCursor::String(std::string& text) {
  text.clear();
  if (!Take('"')) {
    Fail();
    return;
  }
  while (!failed_) {
    const std::size_t end = rest_.find_first_of("\"\\");
    if (end == std::string_view::npos) {
      Fail();
      return;
    }
    text += rest_.substr(0, end);
    const bool is_end = rest_[end] == '"';
    rest_.remove_prefix(end + 1);
    if (is_end) return;
    Escaped(text);
  }
}

void JsonCursor::Escaped(std::string& text) {
  constexpr std::string_view kLetters = "\"\\/bfnrt", kMeanings = "\"\\/\b\f\n\r\t";
  const auto unit = [this]() -> std::uint32_t { // four hexadecimal digits
    std::uint32_t value = 0;
    const auto [end, error] =
        std::from_chars(rest_.data(), rest_.data() + std::min<std::size_t>(rest_.size(), 4), value, 16);
    if (error != std::errc() || end != rest_.data() + 4)
      Fail();
    else
      rest_.remove_prefix(4);
    return value;
  };
  if (rest_.empty()) {
    Fail();
    return;
  }
  const char letter = rest_[0];
  rest_.remove_prefix(1);
  if (const std::size_t at = kLetters.find(letter); at != std::string_view::npos) {
    text += kMeanings[at];
    return;
  }
  if (letter != 'u') {
    Fail();
    return;
  }
  std::uint32_t c = unit();
  constexpr std::uint32_t kReplacement = 0xFFFD; // for half a character
  if (c >= 0xD800 && c < 0xDC00 && rest_.starts_with("\\u")) {
    rest_.remove_prefix(2);
    const std::uint32_t low = unit();
    c = low >= 0xDC00 && low < 0xE000 ? 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00) : kReplacement;
  } else if (c >= 0xD800 && c < 0xE000) {
    c = kReplacement;
  }
  AppendUtf8(text, c);
}

void JsonCursor::Skip() {
  std::size_t depth = 0;
  std::string ignored;
  do {
    switch (Peek()) {
    case '{':
    case '[':
      rest_.remove_prefix(1);
      if (++depth > kDeepestJson) Fail();
      break;
    case '}':
    case ']':
      if (depth == 0)
        Fail();
      else
        rest_.remove_prefix(1), --depth;
      break;
    case '"':
      String(ignored);
      break;
    case 't':
    case 'f':
      Boolean();
      break;
    case ',':
    case ':':
      if (depth == 0)
        Fail();
      else
        rest_.remove_prefix(1);
      break;
    default:
      Number();
    }
  } while (depth > 0 && !failed_);
}

} // namespace mien
