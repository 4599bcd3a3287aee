#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mien {

/// Reads a packet from its beginning. What lies beyond its end reads as 0 and is remembered, so that a reader
/// may read a whole structure and ask once.
class ByteReader {
public:
  /// `bytes` must outlive the reader and the texts that it returns.
  explicit ByteReader(std::string_view bytes) : bytes_(bytes) {}

  bool HasFailed() const { return failed_; } ///< something was read beyond the end
  std::size_t Left() const { return bytes_.size(); }

  /// The next bytes; empty where there are fewer.
  std::string_view Text(std::size_t size) {
    if (size > bytes_.size()) {
      failed_ = true;
      bytes_ = {};
      return {};
    }
    const std::string_view text = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return text;
  }

  void Skip(std::size_t size) { Text(size); }

  std::uint8_t Byte() { return Big<std::uint8_t>(); }
  std::uint32_t Big32() { return Big<std::uint32_t>(); }
  std::uint64_t Big64() { return Big<std::uint64_t>(); }
  float BigFloat() { return std::bit_cast<float>(Big32()); }
  double BigDouble() { return std::bit_cast<double>(Big64()); }
  std::uint32_t Little32() { return Little<std::uint32_t>(); }
  float LittleFloat() { return std::bit_cast<float>(Little32()); }
  double LittleDouble() { return std::bit_cast<double>(Little<std::uint64_t>()); }

private:
  template <std::unsigned_integral Number>
  Number Big() {
    std::uint64_t number = 0;
    for (const char c : Text(sizeof(Number))) number = number << 8 | static_cast<unsigned char>(c);
    return static_cast<Number>(number);
  }

  template <std::unsigned_integral Number>
  Number Little() {
    std::uint64_t number = 0;
    unsigned shift = 0;
    for (const char c : Text(sizeof(Number))) {
      number |= std::uint64_t{static_cast<unsigned char>(c)} << shift;
      shift += 8;
    }
    return static_cast<Number>(number);
  }

  std::string_view bytes_;
  bool failed_ = false;
};

} // namespace mien
