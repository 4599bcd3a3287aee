#pragma once

// Writes numbers as text, for files that have millions of them.

#include <cstddef>

namespace mien {

/// What WriteNumber writes at most: "-1.2345678901234567e-308".
constexpr std::size_t kLongestNumber = 24;

/// What WriteTenDecimals writes at most: the largest double has 309 digits before the point.
constexpr std::size_t kLongestWithTenDecimals = 1 + 309 + 1 + 10;

/// Writes the fewest digits that read back to the same double: 2, 0.1, 1e+16. From 1e-4 up to 1e16 without an
/// exponent, otherwise with one of at least two digits. "inf", "-inf", "nan" or "-nan" where it is not
/// finite. Returns the end.
char* WriteNumber(char* at, double number);

/// Writes a finite number with ten decimals, rounded exactly; halfway to the even digit. -0.0 and what is
/// rounded to it keep the sign. Returns the end.
char* WriteTenDecimals(char* at, double number);

/// WriteNumber at the end of a std::string or a fmt::memory_buffer.
template <class Text>
void AppendNumber(Text& text, double number) {
  char digits[kLongestNumber];
  text.append(digits, WriteNumber(digits, number));
}

} // namespace mien
