#include "host/base/text.h"

#include "host/base/utf8.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

namespace mien {

namespace {

struct CodePoints {
  char32_t first, last;
};

/// What a terminal obeys instead of showing it, or shows as nothing: control characters (C0, DEL, C1), line
/// and paragraph separators, bidirectional marks, embeddings, overrides and isolates, joiners, fillers,
/// variation selectors, annotation marks, tags, and noncharacters. In order.
constexpr CodePoints kInvisible[] = {
    {0x0, 0x1F},        {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},      {0x61C, 0x61C},
    {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},    {0x2028, 0x202E},
    {0x2060, 0x206F},   {0x3164, 0x3164},   {0xFDD0, 0xFDEF},   {0xFE00, 0xFE0F},    {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},   {0xFFFE, 0xFFFF},   {0x13430, 0x1343F},  {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}, {0xFFFFE, 0xFFFFF}, {0x10FFFE, 0x10FFFF}};

bool IsVisible(char32_t code_point) {
  const auto* const range =
      std::find_if(std::begin(kInvisible), std::end(kInvisible),
                   [code_point](const CodePoints& invisible) { return code_point <= invisible.last; });
  return range == std::end(kInvisible) || code_point < range->first;
}

/// The text with `replace(character)` in place of each character that a terminal should not get, and of each
/// byte that belongs to none.
template <class Replace>
std::string WithoutInvisible(std::string_view text, const Replace& replace) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::optional<Utf8Character> first = FirstCharacter(text);
    const std::size_t size = first ? first->size : 1;
    if (first && IsVisible(first->code_point))
      shown += text.substr(0, size);
    else
      shown += replace(first);
    text.remove_prefix(size);
  }
  return shown;
}

} // namespace

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
  return WithoutInvisible(text, [](const std::optional<Utf8Character>&) { return '?'; });
}

std::string PrintableLines(std::string_view text) {
  return WithoutInvisible(text, [](const std::optional<Utf8Character>& first) {
    const bool of_layout = first && (first->code_point == U'\n' || first->code_point == U'\t');
    return of_layout ? static_cast<char>(first->code_point) : '?';
  });
}

std::string PrintableJson(std::string_view document) {
  return WithoutInvisible(document, [](const std::optional<Utf8Character>& first) -> std::string {
    if (!first) return "?"; // which no JSON has
    const char32_t c = first->code_point;
    if (c == U'\n') return "\n";
    if (c < 0x10000) return fmt::format("\\u{:04x}", static_cast<unsigned>(c));
    const auto offset = static_cast<unsigned>(c) - 0x10000;
    return fmt::format("\\u{:04x}\\u{:04x}", 0xD800 | offset >> 10, 0xDC00 | (offset & 0x3FF));
  });
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  const std::string_view shown = Beginning(text, kLongest);
  return '"' + Printable(shown) + (shown.size() < text.size() ? "...\"" : "\"");
}

std::string ShellCommand(const std::vector<std::string>& arguments) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  std::string command;
  for (const std::string& argument : arguments) {
    if (!command.empty()) command.push_back(' ');
    if (!argument.empty() && argument.find_first_not_of(kPlain) == std::string::npos) {
      command += argument;
      continue;
    }
    command.push_back('\'');
    for (const char c : argument)
      if (c == '\'')
        command += "'\\''";
      else
        command.push_back(c);
    command.push_back('\'');
  }
  return command;
}

std::string CsvField(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
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
