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

  /// The result of the command, on standard output; with --json nothing. Throws InputError where it
  /// cannot be written.
  void Print(std::string_view text) const;

  /// "result" of the document.
  void Result(JsonValue result) { result_ = std::move(result); }

  /// Errors of a part of the work, while the rest continues. They have no influence on the exit code.
  void Errors(const std::vector<Problem>& problems) const;

  /// A line of JSON on standard output, at once: work with many parts reports each of them when it ends. The
  /// document in the end is then one line as well, the last. Without --json nothing. Throws InputError where it
  /// cannot be written.
  void Event(const JsonValue& event);

  /// The signal that the process ends by once everything is printed; 0 for none.
  int signal = 0;

  /// This instead of the document above.
  void Document(const JsonValue& document) { document_ = document.Text(); }

  /// With --json standard output holds the document alone: throws a usage error for an output of a command
  /// that goes there as well.
  void RequireFreeStandardOutput(std::string_view output, std::string_view setting = "output") const;

  /// Prints the errors, and with --json the document. Returns the exit code.
  int Finish(const std::vector<Problem>& problems);

private:
  struct FileNote {
    std::string file;
    Note note;
  };

  std::vector<FileNote> notes_;
  JsonValue result_ = nullptr;
  std::string document_;
  bool has_events_ = false;
};

} // namespace mien
