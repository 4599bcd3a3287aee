#pragma once

#include "host/base/error.h"
#include "host/base/json_text.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// Exit codes of the command.
inline constexpr int kDone = 0;
inline constexpr int kInputAtFault = 1; ///< or an output cannot be written
inline constexpr int kCommandLineAtFault = 2;
inline constexpr int kLimitExceeded = 3;

/// What a command reports to its user: lines for people on standard error, or with --json one document for
/// programs on standard output. Everything is printable (text.h): what steers a terminal in a file's words
/// never gets there.
///
///     {
///       "format": "mien result 1",
///       "command": "convert",
///       "exit_code": 0,
///       "result": { ... },                                            null where there is none
///       "notes": [{ "code": "lossy", "file": "", "place": "", "what": "..." }],
///       "errors": [{ "code": "syntax", "file": "a.trc", "place": "7", "what": "...", "fix": "..." }]
///     }
class Output {
public:
  bool quiet = false; ///< for people, errors alone
  bool json = false;
  std::string command;              ///< the one that runs; empty before
  std::string help = "mien --help"; ///< what to read after a mistake on the command line

  /// One line of a command's report: a title column, then the text.
  void Line(std::string_view title, std::string_view text) const;

  /// Pictures are for people in front of a terminal.
  bool ShowsPictures() const;
  /// Lines on standard error, where it shows pictures.
  void Picture(std::string_view lines) const;

  /// Worth knowing about a file: a line without a title, yellow where there is colour. `file` is for the
  /// document.
  void Remark(const Note& note, std::string_view file = "");
  void Remark(const std::vector<Note>& notes, std::string_view file = "");

  /// What the command was asked for, on standard output; with --json nothing. Throws InputError where it
  /// cannot be written.
  void Print(std::string_view text) const;

  /// "result" of the document.
  void Result(JsonValue result) { result_ = std::move(result); }

  /// This instead of the document above.
  void Document(const JsonValue& document) { document_ = document.Text(); }

  /// With --json standard output holds the document alone: throws a usage error for an output of a command
  /// that goes there as well.
  void RequireFreeStandardOutput(std::string_view output, std::string_view setting = "output") const;

  /// Prints the errors, and with --json the document. Answers the exit code.
  int Finish(const std::vector<Problem>& problems);

private:
  struct FileNote {
    std::string file;
    Note note;
  };

  std::vector<FileNote> notes_;
  JsonValue result_ = nullptr;
  std::string document_;
};

/// The errors as a JSON list, as documents have them.
JsonValue ErrorsAsJson(const std::vector<Problem>& problems);

} // namespace mien
