#pragma once

// Text in columns of a terminal. All of it is taken to be UTF-8 whose characters are a column wide.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The width of a text: its number of characters.
std::size_t Columns(std::string_view text);

/// With blanks after it, up to this width. A text that is wider stays as it is.
std::string Padded(std::string_view text, std::size_t columns);

/// The beginning of a text that is wider than `columns` (above 2), with ".." in its last two columns; any other as it is.
std::string Shortened(std::string_view text, std::size_t columns);

/// A line for each row, after a margin of two blanks. A column is as wide as its widest cell, the first one flush left and
/// the others flush right, with two blanks in between. A row may have fewer cells than others.
std::string Table(const std::vector<std::vector<std::string>>& rows);

} // namespace mien
