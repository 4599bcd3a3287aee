#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// A character of a UTF-8 text.
struct Utf8Character {
  char32_t code_point = 0;
  std::size_t size = 0; ///< in bytes: 1 to 4
};

/// The character that a text begins with; nothing where the text is empty or its first bytes are not
/// well-formed UTF-8: overlong forms, surrogates, values beyond U+10FFFF and a character that is cut short
/// are not.
std::optional<Utf8Character> FirstCharacter(std::string_view text);

/// Whether a text is well-formed UTF-8. Names are matched between files, where one in another encoding could
/// never be spelled.
bool IsUtf8(std::string_view text);

/// The beginning of a text: at most `most` bytes, and no part of a character.
std::string_view Beginning(std::string_view text, std::size_t most);

/// A text of which each byte is a character of Latin-1, as UTF-8.
std::string FromLatin1(std::string_view text);

} // namespace mien
