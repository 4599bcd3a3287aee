#pragma once

// How the three kinds of C3D files lay out a number.

#include <bit>
#include <cstdint>
#include <limits>

namespace mien::c3d {

/// The kind of machine that a file's numbers are laid out for.
enum class Processor : std::uint8_t { Intel, Dec, Sgi };

/// The 16-bit word at `at`.
inline std::uint16_t WordAt(Processor processor, const char* at) {
  const auto byte = [at](int i) { return unsigned{static_cast<unsigned char>(at[i])}; };
  return static_cast<std::uint16_t>(processor == Processor::Sgi ? byte(0) << 8 | byte(1)
                                                                : byte(1) << 8 | byte(0));
}

/// The number in single precision at `at`.
inline double RealAt(Processor processor, const char* at) {
  const auto byte = [at](int i) { return std::uint32_t{static_cast<unsigned char>(at[i])}; };
  const auto number = [](std::uint32_t bits) { return static_cast<double>(std::bit_cast<float>(bits)); };
  if (processor == Processor::Intel) return number(byte(3) << 24 | byte(2) << 16 | byte(1) << 8 | byte(0));
  if (processor == Processor::Sgi) return number(byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3));

  // A VAX F number: IEEE's fields with the words swapped, and an exponent that is larger by 2 for the same
  // value.
  const std::uint32_t bits = byte(1) << 24 | byte(0) << 16 | byte(3) << 8 | byte(2);
  const std::uint32_t exponent = bits >> 23 & 0xFF;
  if (exponent == 0) return bits >> 31 == 0 ? 0 : std::numeric_limits<double>::quiet_NaN();
  if (exponent <= 2) return number(bits) / 4; // below the normal numbers of IEEE
  return number(bits - (std::uint32_t{2} << 23));
}

} // namespace mien::c3d
