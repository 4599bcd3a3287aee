#pragma once

#include "host/base/text.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The kind of machine that a C3D file's numbers are laid out for.
enum class C3dProcessor : std::uint8_t { Intel, Dec, Sgi };

/// Frame numbers are refused beyond; up to it even a double tells the times of neighbours apart.
constexpr std::int64_t kC3dMostFrameNumber = std::int64_t{1} << 48;

/// The 16-bit word at `at`.
inline std::uint16_t C3dWord(C3dProcessor processor, const char* at) {
  const auto byte = [at](int i) { return unsigned{static_cast<unsigned char>(at[i])}; };
  return static_cast<std::uint16_t>(processor == C3dProcessor::Sgi ? byte(0) << 8 | byte(1)
                                                                   : byte(1) << 8 | byte(0));
}

/// The number in single precision at `at`.
inline double C3dReal(C3dProcessor processor, const char* at) {
  const auto byte = [at](int i) { return std::uint32_t{static_cast<unsigned char>(at[i])}; };
  const auto number = [](std::uint32_t bits) { return static_cast<double>(std::bit_cast<float>(bits)); };
  if (processor == C3dProcessor::Intel) return number(byte(3) << 24 | byte(2) << 16 | byte(1) << 8 | byte(0));
  if (processor == C3dProcessor::Sgi) return number(byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3));

  // A VAX F number: IEEE's fields with the words swapped, and an exponent that is larger by 2 for the same value.
  const std::uint32_t bits = byte(1) << 24 | byte(0) << 16 | byte(3) << 8 | byte(2);
  const std::uint32_t exponent = bits >> 23 & 0xFF;
  if (exponent == 0) return bits >> 31 == 0 ? 0 : std::numeric_limits<double>::quiet_NaN();
  if (exponent <= 2) return number(bits) / 4; // below the normal numbers of IEEE
  return number(bits - (std::uint32_t{2} << 23));
}

/// The parameters of a C3D file: values by group and name, letter case aside. Groups of one name are one group; of
/// parameters of one name the first counts.
class C3dParameters {
public:
  /// Walks the section at `begin` (bytes from the header on; its 4 bytes of preamble are there) as far as its records
  /// make sense, its blocks or `data_begin` reach. `skipped` is what messages add to a byte's place. What is wrong goes
  /// to `notes`.
  C3dParameters(std::string_view bytes, std::size_t begin, std::size_t data_begin, std::size_t skipped,
                C3dProcessor processor, std::vector<std::string>& notes);

  bool Empty() const { return parameters_.empty(); }

  /// Behind the last record.
  std::size_t End() const { return end_; }

  /// Forgets the parameters that reach beyond `data_begin`; true if there were any.
  bool CutAt(std::size_t data_begin);

  /// Numbers; integers with their sign. Nothing where there is no such parameter, or not as many numbers.
  std::optional<double> Number(std::string_view group, std::string_view name, std::size_t index = 0) const;

  /// A number of things: words are taken without sign, floats rounded. Nothing for what is no such number.
  std::optional<std::uint32_t> Count(std::string_view group, std::string_view name,
                                     std::size_t index = 0) const;

  /// All numbers of a parameter and those that continue it: TIMES, TIMES2, TIMES3 ...
  std::vector<double> Numbers(std::string_view group, std::string_view name) const;

  /// The same for texts, each up to its first NUL and without blanks around it.
  std::vector<std::string> Texts(std::string_view group, std::string_view name) const;

  /// The first of Texts; empty without.
  std::string Text(std::string_view group, std::string_view name) const;

private:
  struct Parameter {
    int type = 0; // -1 text, 1 byte, 2 word, 4 float
    std::size_t text_length = 1;
    std::string_view data; // as much of it as is there
    std::size_t end = 0;   // of data, in the file
  };
  const Parameter* Find(std::string_view group, std::string_view name) const;
  template <typename Use>
  void ForEachPart(std::string_view group, std::string_view name, const Use& use) const;
  std::size_t NumberCount(const Parameter& parameter) const;
  double NumberAt(const Parameter& parameter, std::size_t index) const;

  C3dProcessor processor_;
  std::size_t end_ = 0;
  std::map<std::string, Parameter, std::less<>> parameters_; // by "GROUP:NAME", upper case
};

} // namespace mien
