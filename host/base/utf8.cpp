#include "host/base/utf8.h"

namespace mien {

std::optional<Utf8Character> FirstCharacter(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return Utf8Character{lead, 1};
  const std::size_t size = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (size == 0 || size > text.size()) return std::nullopt;
  char32_t code_point = lead & (0x7Fu >> size); // the lead's own bits
  for (std::size_t k = 1; k < size; ++k) {
    const auto byte = static_cast<unsigned char>(text[k]);
    if ((byte & 0xC0) != 0x80) return std::nullopt;
    code_point = code_point << 6 | (byte & 0x3Fu);
  }
  const bool overlong = (size == 3 && code_point < 0x800) || (size == 4 && code_point < 0x10000);
  const bool surrogate = code_point >= 0xD800 && code_point <= 0xDFFF;
  if (overlong || surrogate || code_point > 0x10FFFF) return std::nullopt;
  return Utf8Character{code_point, size};
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::optional<Utf8Character> first = FirstCharacter(text);
    if (!first) return false;
    text.remove_prefix(first->size);
  }
  return true;
}

std::string_view Beginning(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most; // a later byte
  return text.substr(0, most);
}

std::string FromLatin1(std::string_view text) {
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
