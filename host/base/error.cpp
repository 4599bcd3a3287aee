#include "host/base/error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

namespace mien {

namespace {

std::string Messages(const std::vector<Problem>& problems) {
  std::vector<std::string> messages;
  for (const Problem& problem : problems) messages.push_back(Message(problem));
  return fmt::format("{}", fmt::join(messages, "\n"));
}

} // namespace

std::string_view ToText(Code code) {
  switch (code) {
  case Code::NotFound:
    return "not-found";
  case Code::Unreadable:
    return "unreadable";
  case Code::Unwritable:
    return "unwritable";
  case Code::Empty:
    return "empty";
  case Code::UnknownFormat:
    return "unknown-format";
  case Code::Unsupported:
    return "unsupported";
  case Code::Syntax:
    return "syntax";
  case Code::Truncated:
    return "truncated";
  case Code::Missing:
    return "missing";
  case Code::Duplicate:
    return "duplicate";
  case Code::InvalidValue:
    return "invalid-value";
  case Code::Contradiction:
    return "contradiction";
  case Code::Order:
    return "wrong-order";
  case Code::Limit:
    return "limit";
  case Code::Unsolvable:
    return "unsolvable";
  case Code::Unmatched:
    return "unmatched";
  case Code::Assumed:
    return "assumed";
  case Code::Ignored:
    return "ignored";
  case Code::Lossy:
    return "lossy";
  case Code::Doubtful:
    return "doubtful";
  case Code::Usage:
    return "usage";
  case Code::Memory:
    return "memory";
  }
  return "";
}

std::string Message(const Problem& problem) {
  std::string message = problem.file;
  if (!problem.file.empty() && !problem.place.empty()) message += ':';
  message += problem.place;
  if (!message.empty()) message += ": ";
  message += problem.what;
  return problem.fix.empty() ? message : message + "; " + problem.fix;
}

InputError::InputError(Code code, std::string_view file, std::string_view place, std::string_view what,
                       std::string_view fix)
    : InputError(Problem{code, std::string(file), std::string(place), std::string(what), std::string(fix)}) {}

InputError::InputError(Problem problem) : InputError(std::vector{std::move(problem)}) {}

InputError::InputError(std::vector<Problem> problems)
    : std::runtime_error(Messages(problems)), problems_(std::move(problems)) {}

std::string Message(const Note& note) {
  return note.place.empty() ? note.what : fmt::format("{}: {}", note.place, note.what);
}

std::vector<std::string> Messages(const std::vector<Note>& notes) {
  std::vector<std::string> messages;
  for (const Note& note : notes) messages.push_back(Message(note));
  return messages;
}

} // namespace mien
