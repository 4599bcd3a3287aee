#pragma once

#include <bit>
#include <cstdint>
#include <string>

namespace mien {

// Append numbers to a packet.

inline void AppendBig(std::string& packet, std::uint32_t number) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) packet += static_cast<char>(number >> shift & 0xFFU);
}

inline void AppendLittle(std::string& packet, std::uint32_t number) {
  for (const unsigned shift : {0U, 8U, 16U, 24U}) packet += static_cast<char>(number >> shift & 0xFFU);
}

inline void AppendBig(std::string& packet, float number) {
  AppendBig(packet, std::bit_cast<std::uint32_t>(number));
}

inline void AppendLittle(std::string& packet, float number) {
  AppendLittle(packet, std::bit_cast<std::uint32_t>(number));
}

} // namespace mien
