#pragma once

// Small questions about text that every reader, writer and message asks. Letter case is ASCII's alone, whatever the locale.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

constexpr char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
std::string ToLower(std::string_view text);

/// Whether `text` begins with `word`, whatever the letter case of both.
bool StartsWithIgnoringCase(std::string_view text, std::string_view word);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

/// Text out of a file with its control characters as '?', so that a file cannot steer the terminal that shows
/// it.
std::string Printable(std::string_view text);

/// The same in double quotes, cut after 60 bytes, as messages show a file's own words.
std::string Quoted(std::string_view text);

/// "1 frame", "2 frames".
std::string Count(std::size_t count, std::string_view what);

/// The first `shown` of many names, and how many more there are: "a, b and 3 more".
std::string Some(const std::vector<std::string>& names, std::size_t shown = 10);

/// The same with each name in quotes.
std::string SomeQuoted(const std::vector<std::string>& names, std::size_t shown = 5);

} // namespace mien
