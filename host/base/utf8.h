#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mien {

/// Whether a text is well-formed UTF-8. Names are matched between files, where one in another encoding could never be
/// spelled.
inline bool IsUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || length > text.size() - i) return false;
    for (std::size_t k = 1; k < length; ++k)
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    if (length > 2) { // overlong forms, surrogates and what lies beyond U+10FFFF show in the second byte
      const auto second = static_cast<unsigned char>(text[i + 1]);
      if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
          (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
        return false;
    }
    i += length;
  }
  return true;
}

/// A text of which each byte is a character of Latin-1, as UTF-8.
inline std::string FromLatin1(std::string_view text) {
  std::string utf8;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0 | byte >> 6);
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

} // namespace mien
