#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_numbers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mien::c3d {

inline constexpr std::size_t kBlock = 512; ///< bytes; blocks are numbered from 1
inline constexpr unsigned kKey = 0x50;     ///< the second byte of the file and of its parameters
inline constexpr unsigned kIntelCode = 84; ///< of the processor, the parameters' fourth byte; then DEC, SGI
inline constexpr std::uint32_t kEventKey = 0x3039; ///< header word 150: event labels have four characters
inline constexpr std::uint32_t kMostInWord = 0xFFFF;

/// Larger frame numbers are refused; up to here the times of neighbouring frames differ as doubles.
inline constexpr std::int64_t kMostFrameNumber = std::int64_t{1} << 48;

inline constexpr std::string_view kExportAgain = "export the take again, or copy it again from where it came";

inline unsigned Byte(char c) { return static_cast<unsigned char>(c); }

/// How many bytes of padding some program has put before the header.
std::size_t LeadingZeros(std::string_view bytes);

/// A file's first block, and the bytes of the whole file.
struct Header {
  const std::string& file;
  std::string_view bytes; ///< of the file, from the header on; offsets below count from here
  std::size_t skipped;    ///< bytes before the header
  Processor processor = Processor::Intel;

  /// A word or float of the header, whose words are numbered from 1.
  std::uint16_t Word(std::size_t word) const { return WordAt(processor, &bytes[2 * (word - 1)]); }
  double Real(std::size_t first_word) const { return RealAt(processor, &bytes[2 * (first_word - 1)]); }

  std::size_t ParametersBegin() const { return (std::size_t{Byte(bytes[0])} - 1) * kBlock; }

  /// As the header says; POINT:DATA_START may differ.
  std::size_t DataBegin() const { return (std::max<std::size_t>(Word(9), 1) - 1) * kBlock; }

  /// "byte 512", for messages: counted from the file's first byte.
  std::string Place(std::size_t offset) const;

  [[noreturn]] void Fail(Code code, std::size_t offset, std::string_view what, std::string_view fix) const;
};

/// The header of a C3D file, which also has the first 4 bytes of its parameters; `bytes` and `file` must
/// outlive it. Throws InputError where the file ends before these bytes, and for an unknown processor.
Header ReadHeader(std::string_view bytes, const std::string& file, std::vector<Note>& notes);

} // namespace mien::c3d
