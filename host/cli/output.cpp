#include "host/cli/output.h"

#include "host/base/errors_json.h"
#include "host/base/text.h"
#include "host/cli/terminals.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace mien {

namespace {

constexpr std::string_view kRed = "\033[1;31m", kYellow = "\033[33m", kPlain = "\033[m";

std::string Coloured(std::string_view text, std::string_view colour) {
  return StandardErrorHasColour() ? fmt::format("{}{}{}", colour, text, kPlain) : std::string(text);
}

/// A line on standard error. What cannot be printed there is lost: no input is at fault.
void PrintLine(const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fputc('\n', stderr);
}

void PrintError(std::string_view text) { PrintLine(Coloured("mien:", kRed) + ' ' + Printable(text)); }

/// A title column, then the text.
std::string Titled(std::string_view title, std::string_view text) {
  return Printable(fmt::format("{:<10} {}", title, text));
}

void PrintToStandardOutput(std::string_view text) {
  WriteWhole("-", [&](std::ostream& out) { out << text; });
}

/// JSON without its line ends and indents: none of either is in a string, where they are escaped.
std::string OnOneLine(std::string_view json) {
  std::string line;
  for (std::size_t at = 0; at < json.size();) {
    const std::size_t end = std::min(json.find('\n', at), json.size());
    line += json.substr(at, end - at);
    at = std::min(json.find_first_not_of(' ', std::min(end + 1, json.size())), json.size());
  }
  return line;
}

/// Settings that do not fit each other are the command line's options.
std::string MessageForPeople(const Problem& problem) {
  if (problem.code != Code::Usage || problem.place.empty() || !problem.file.empty()) return Message(problem);
  return "--" + Message(problem);
}

int ExitCodeOf(const std::vector<Problem>& problems) {
  if (problems.empty()) return kDone;
  const auto is = [](Code code) { return [code](const Problem& problem) { return problem.code == code; }; };
  if (std::any_of(problems.begin(), problems.end(), is(Code::Usage))) return kCommandLineAtFault;
  return std::all_of(problems.begin(), problems.end(), is(Code::Limit)) ? kLimitExceeded : kInputAtFault;
}

} // namespace

void Output::Line(std::string_view title, std::string_view text) const {
  if (!quiet && !json) PrintLine(Titled(title, text));
}

bool Output::ShowsPictures() const { return !quiet && !json && StandardErrorIsTerminal(); }

void Output::Picture(std::string_view lines) const {
  if (!ShowsPictures()) return;
  const std::string text = PrintableLines(lines);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

void Output::Remark(const Note& note, std::string_view file) {
  if (!quiet && !json) PrintLine(Coloured(Titled("", Message(note)), kYellow));
  notes_.push_back({std::string(file), note});
}

void Output::Remark(const std::vector<Note>& notes, std::string_view file) {
  for (const Note& note : notes) Remark(note, file);
}

void Output::Print(std::string_view text) const {
  if (!json) PrintToStandardOutput(PrintableLines(text));
}

void Output::Errors(const std::vector<Problem>& problems) const {
  for (const Problem& problem : problems) PrintError(MessageForPeople(problem));
}

void Output::Event(const JsonValue& event) {
  has_events_ = true;
  if (json) PrintToStandardOutput(PrintableJson(OnOneLine(event.Text())) + '\n');
}

void Output::RequireFreeStandardOutput(std::string_view output, std::string_view setting) const {
  if (json && IsStandardOutput(output))
    throw UsageError(setting, "--json needs standard output for itself; name a file, or leave out --json");
}

int Output::Finish(const std::vector<Problem>& problems) {
  int exit_code = ExitCodeOf(problems);
  for (const Problem& problem : problems) PrintError(MessageForPeople(problem));
  if (exit_code == kCommandLineAtFault) PrintError("see " + help);
  if (!json) return exit_code;

  if (document_.empty()) {
    std::vector<JsonValue> notes;
    for (const auto& [file, note] : notes_)
      notes.push_back(JsonObject(
          {{"code", ToText(note.code)}, {"file", file}, {"place", note.place}, {"what", note.what}}));
    document_ = JsonObjectOnLines({{"format", "mien result 1"},
                                   {"command", command},
                                   {"exit_code", signal != 0 ? 128 + signal : exit_code},
                                   {"result", result_},
                                   {"notes", JsonListOnLines(notes)},
                                   {"errors", ErrorsAsJson(problems)}})
                    .Text();
  }
  if (has_events_) document_ = OnOneLine(document_);
  try {
    PrintToStandardOutput(PrintableJson(document_) + '\n');
  } catch (const InputError& error) {
    PrintError(error.what());
    exit_code = std::max(exit_code, kInputAtFault);
  }
  return exit_code;
}

} // namespace mien
