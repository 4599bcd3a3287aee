#pragma once

// Text in columns of a terminal: UTF-8, in which every character counts as one column wide.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The width of a text: its number of characters.
std::size_t Columns(std::string_view text);

/// Padded with blanks to this width. A wider text is returned unchanged.
std::string Padded(std::string_view text, std::size_t columns);

/// The beginning of a text wider than `columns` (above 2), with ".." in its last two columns; any other text
/// unchanged.
std::string Shortened(std::string_view text, std::size_t columns);

/// A line for each row, with a margin of two blanks. A column is as wide as its widest cell, the first one
/// flush left, the others flush right, with two blanks in between. Rows may have fewer cells than others.
std::string Table(const std::vector<std::vector<std::string>>& rows);

} // namespace mien
