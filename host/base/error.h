#pragma once

// What is wrong with an input, or worth knowing about it, as data: the messages are made from these.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What kind of fault or remark it is, for programs. docs/file-formats.md lists the names, which never change.
enum class Code {
  NotFound,      ///< "not-found": no such file, built-in, marker, frame, shape, node ...
  Unreadable,    ///< "unreadable": the system does not let it be read
  Unwritable,    ///< "unwritable": or written
  Empty,         ///< "empty": there is nothing in it to work with
  UnknownFormat, ///< "unknown-format": the content is of no format that is read
  Unsupported, ///< "unsupported": it is recognised, and not read here: UTF-16, weights where markers are needed
  Syntax,      ///< "syntax": the format's own rules are broken
  Truncated,   ///< "truncated": it ends too early
  Missing,     ///< "missing": something that belongs there is absent: a key, a column, a unit
  Duplicate,   ///< "duplicate": something is there twice
  InvalidValue,  ///< "invalid-value": a value that cannot be, or may not be, there
  Contradiction, ///< "contradiction": two places disagree
  Order,         ///< "wrong-order": numbers or times that do not rise
  Limit,         ///< "limit": a stated limit is exceeded; as an error, exit code 3
  Unsolvable,    ///< "unsolvable": all of it is readable, and it does not determine a solve
  Unmatched,     ///< "unmatched": names that nothing stands for on the other side
  Assumed,       ///< "assumed": a value was not given and has been assumed
  Ignored,       ///< "ignored": something in the file is not used
  Lossy,         ///< "lossy": the output's format cannot hold it
  Doubtful,      ///< "doubtful": it is possible, and hardly meant
  Usage,         ///< "usage": the command line is at fault; exit code 2
  Memory,        ///< "memory": memory ran out
};

/// "not-found"
std::string_view ToText(Code code);

/// One fault of an input.
struct Problem {
  Code code = Code::InvalidValue;
  std::string file;
  std::string place; ///< in it: a line, "byte 512", a JSON pointer; empty where all of it is meant
  std::string what;  ///< is wrong
  std::string fix;   ///< what would be right

  bool operator==(const Problem&) const = default;
};

/// "FILE:PLACE: WHAT; FIX", one line for the user, without what is empty.
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

/// Something that was forgiven or noticed and that the user should know.
struct Note {
  Code code = Code::Doubtful;
  std::string place; ///< in the file: "line 7"; empty where all of it is meant
  std::string what;  ///< one sentence without its full stop

  bool operator==(const Note&) const = default;
};

/// "PLACE: WHAT"
std::string Message(const Note& note);
std::vector<std::string> Messages(const std::vector<Note>& notes);

} // namespace mien
