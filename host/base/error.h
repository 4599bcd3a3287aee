#pragma once

// What is wrong with an input, or worth knowing about it, as data from which the messages are made.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The kind of a fault or a remark, for programs. docs/file-formats.md lists the names, which never change.
enum class Code {
  NotFound,      ///< "not-found": no such file, built-in, marker, frame, shape, node ...
  Unreadable,    ///< "unreadable": the system refuses to read it
  Unwritable,    ///< "unwritable": the system refuses to write it
  Empty,         ///< "empty": there is nothing in it to work with
  UnknownFormat, ///< "unknown-format": the content is in no format that can be read
  Unsupported,   ///< "unsupported": recognised, but not read: UTF-16, weights where markers are needed
  Syntax,        ///< "syntax": the format's own rules are broken
  Truncated,     ///< "truncated": it ends too early
  Missing,       ///< "missing": something that belongs there is absent: a key, a column, a unit
  Duplicate,     ///< "duplicate": something is there twice
  InvalidValue,  ///< "invalid-value": a value that is impossible or not permitted there
  Contradiction, ///< "contradiction": two places disagree
  Order,         ///< "wrong-order": numbers or times that do not rise
  Limit,         ///< "limit": a stated limit is exceeded; as an error, exit code 3
  Unsolvable,    ///< "unsolvable": readable, but it does not determine a solve
  Unmatched,     ///< "unmatched": names without a counterpart on the other side
  Assumed,       ///< "assumed": a value is missing and has been assumed
  Ignored,       ///< "ignored": something in the file is not used
  Lossy,         ///< "lossy": the output's format cannot hold it
  Doubtful,      ///< "doubtful": possible, but probably not meant
  Usage,         ///< "usage": the command line is at fault; exit code 2
  Memory,        ///< "memory": memory ran out
};

/// "not-found"
std::string_view ToText(Code code);

/// One fault of an input.
struct Problem {
  Code code = Code::InvalidValue;
  std::string file;
  std::string place; ///< in it: a line, "byte 512", a JSON pointer; empty for the whole file
  std::string what;  ///< is wrong
  std::string fix;   ///< how to put it right

  bool operator==(const Problem&) const = default;
};

/// "FILE:PLACE: WHAT; FIX", one line for the user; empty members are left out.
std::string Message(const Problem& problem);

/// An input is at fault: a file, or something in it, in one place or several.
class InputError : public std::runtime_error {
public:
  InputError(Code code, std::string_view file, std::string_view place, std::string_view what,
             std::string_view fix);
  explicit InputError(Problem problem);
  explicit InputError(std::vector<Problem> problems); ///< at least one

  const std::vector<Problem>& Problems() const { return problems_; }

private:
  std::vector<Problem> problems_;
};

/// Something that was corrected or noticed and that the user should know about.
struct Note {
  Code code = Code::Doubtful;
  std::string place; ///< in the file: "line 7"; empty for the whole file
  std::string what;  ///< one sentence without its full stop

  bool operator==(const Note&) const = default;
};

/// "PLACE: WHAT"
std::string Message(const Note& note);
std::vector<std::string> Messages(const std::vector<Note>& notes);

} // namespace mien
