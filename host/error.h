#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mien {

/// An input is at fault: a file, or something in it. Its message is "FILE:PLACE: WHAT; MEND", one line for
/// the user: where to look, what is wrong there, what would be right.
class InputError : public std::runtime_error {
public:
  /// `place` is a line, "byte 512", a JSON pointer; empty when the whole file is meant.
  InputError(std::string_view file, std::string_view place, std::string_view what, std::string_view mend)
      : std::runtime_error(Message(file, place, what, mend)) {}

  /// Several such messages, one a line.
  explicit InputError(const std::string& messages) : std::runtime_error(messages) {}

private:
  static std::string Message(std::string_view file, std::string_view place, std::string_view what,
                             std::string_view mend) {
    std::string message(file);
    if (!place.empty()) {
      message += ':';
      message += place;
    }
    return message.append(": ").append(what).append("; ").append(mend);
  }
};

/// Text out of a file with its control characters as '?', so that a file cannot steer the terminal that shows
/// it.
inline std::string Printable(std::string_view text) {
  std::string shown(text);
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return shown;
}

/// The same in double quotes, cut after 60 bytes, as messages show a file's own words.
inline std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::size_t length = text.size();
  if (length > kLongest) {
    length = kLongest;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
      --length; // not through the middle of a UTF-8 character
  }
  return '"' + Printable(text.substr(0, length)) + (length < text.size() ? "...\"" : "\"");
}

} // namespace mien
