#include "host/base/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace mien {

std::string ToLower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = ToLower(c);
  return lower;
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                  [](char a, char b) { return ToLower(a) == ToLower(b); });
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && StartsWithIgnoringCase(a, b);
}

std::string Printable(std::string_view text) {
  std::string shown(text);
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return shown;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::size_t length = text.size();
  if (length > kLongest) {
    length = kLongest;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
      --length; // not through the middle of a UTF-8 character
  }
  return '"' + Printable(text.substr(0, length)) + (length < text.size() ? "...\"" : "\"");
}

std::string Count(std::size_t count, std::string_view what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string Some(const std::vector<std::string>& names, std::size_t shown) {
  const auto end = names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), shown));
  std::string text = fmt::format("{}", fmt::join(names.begin(), end, ", "));
  if (names.size() > shown) text += fmt::format(" and {} more", names.size() - shown);
  return text;
}

std::string SomeQuoted(const std::vector<std::string>& names, std::size_t shown) {
  std::vector<std::string> quoted;
  for (const std::string& name : names) quoted.push_back(quoted.size() < shown ? Quoted(name) : "");
  return Some(quoted, shown);
}

} // namespace mien
