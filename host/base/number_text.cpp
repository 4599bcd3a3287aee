#include "host/base/number_text.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace mien {

char* WriteNumber(char* at, double number) {
  const double magnitude = std::fabs(number);
  const bool fixed = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
  return std::to_chars(at, at + kLongestNumber, number,
                       fixed ? std::chars_format::fixed : std::chars_format::scientific)
      .ptr;
}

// A double is an integer of 53 bits divided by a power of two. Times 10^10, it still fits into 128 bits, so
// the digits and the remainder that decides the rounding are exact.
char* WriteTenDecimals(char* at, double number) {
  constexpr std::uint64_t kTenDecimals = 10'000'000'000;
  constexpr double kFitsIntegers = 1 << 20; // times 10^10 is below 2^64
  if (!(std::fabs(number) < kFitsIntegers))
    return std::to_chars(at, at + kLongestWithTenDecimals, number, std::chars_format::fixed, 10).ptr;

  const auto bits = std::bit_cast<std::uint64_t>(number);
  const int stored_exponent = static_cast<int>(bits >> 52 & 0x7ff);
  const bool normal = stored_exponent > 0;
  const std::uint64_t significand = (bits & ((std::uint64_t{1} << 52) - 1)) | std::uint64_t{normal} << 52;
  const int shift = 1075 - (normal ? stored_exponent : 1); // number = significand / 2^shift
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{significand} * kTenDecimals;
  std::uint64_t digits = 0;
  if (shift < 128) { // otherwise far below half of the last decimal
    digits = static_cast<std::uint64_t>(product >> shift);
    const Wide rest = product - (Wide{digits} << shift), half = Wide{1} << (shift - 1);
    if (rest > half || (rest == half && digits % 2 == 1)) ++digits;
  }

  if (std::signbit(number)) *at++ = '-';
  at = std::to_chars(at, at + kLongestNumber, digits / kTenDecimals).ptr;
  *at++ = '.';
  std::uint64_t decimals = digits % kTenDecimals;
  for (int i = 9; i >= 0; --i, decimals /= 10) at[i] = static_cast<char>('0' + decimals % 10);
  return at + 10;
}

} // namespace mien
