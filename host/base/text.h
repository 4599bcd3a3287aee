#pragma once

// What every reader, writer and message needs to know of a text. Only ASCII has letter case here, whatever
// the locale.

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

/// A line of text for a terminal, which it can neither steer nor mislead: control characters (C0 and C1),
/// line separators, bidirectional controls and other invisible characters become '?', and so does each byte
/// that is not UTF-8.
std::string Printable(std::string_view text);

/// The same for several lines: line feeds and tabs stay.
std::string PrintableLines(std::string_view text);

/// The same for a JSON document, which stays what it is: such characters are escaped, as \\u202e.
std::string PrintableJson(std::string_view document);

/// Printable text in double quotes, cut after 60 bytes, as messages show a file's own words.
std::string Quoted(std::string_view text);

/// Arguments as a POSIX shell reads them, with quotes where they are needed: "mien info 'my take.c3d'".
std::string ShellCommand(const std::vector<std::string>& arguments);

/// A field of a CSV table, in quotes where RFC 4180 asks for them.
std::string CsvField(std::string_view text);

/// "1 frame", "2 frames".
std::string Count(std::size_t count, std::string_view what);

/// The first `shown` of many names, and how many more there are: "a, b and 3 more".
std::string Some(const std::vector<std::string>& names, std::size_t shown = 10);

/// The same with each name in quotes.
std::string SomeQuoted(const std::vector<std::string>& names, std::size_t shown = 5);

} // namespace mien
