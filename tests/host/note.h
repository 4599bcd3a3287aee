#pragma once

#include "host/base/error.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <string_view>

// For expectations about what a note says, written as it is shown.
namespace mien {

inline bool operator==(const Note& note, std::string_view message) { return Message(note) == message; }

inline void PrintTo(const Note& note, std::ostream* out) {
  *out << ToText(note.code) << ", \"" << Message(note) << '"';
}

} // namespace mien

/// A note whose message matches, such as Says(HasSubstr("frame")).
template <typename Inner>
auto Says(const Inner& inner) {
  return testing::ResultOf([](const mien::Note& note) { return Message(note); }, inner);
}

/// A note of this code and place, whose sentence starts so.
inline testing::Matcher<const mien::Note&> IsNote(mien::Code code, const std::string& place,
                                                  const std::string& start) {
  return testing::AllOf(testing::Field(&mien::Note::code, code), testing::Field(&mien::Note::place, place),
                        testing::Field(&mien::Note::what, testing::StartsWith(start)));
}
