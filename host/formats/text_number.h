#pragma once

#include <cstdint>
#include <string_view>

namespace mien {

/// A number as programs and people write it in a table.
struct TextNumber {
  enum class Kind : std::uint8_t {
    Empty,    ///< nothing, or NaN
    Number,   ///< a finite one
    Infinite, ///< or beyond the range of a double
    Text,     ///< no number
  };
  Kind kind = Kind::Empty;
  double number = 0;
  bool comma = false;        ///< it has a decimal comma
  bool no_thousands = false; ///< that comma cannot separate thousands
};

/// Reads a cell without the blanks around it, whatever the locale: with a decimal point or one comma, and NaN
/// and infinity in the spellings of C and of Windows ("-1.#IND").
TextNumber ValueOf(std::string_view text);

} // namespace mien
