#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/output.h"
#include "host/cli/take_options.h"
#include "host/inspect/description_json.h"
#include "host/inspect/description_text.h"
#include "host/jobs/info_job.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace mien {

namespace {

/// The character set that the environment asks for.
bool WantsUtf8() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (!value || !*value) continue;
    const std::string locale = ToLower(value);
    return locale.ends_with("utf-8") || locale.ends_with("utf8");
  }
  return false;
}

Terminal StandardOutput() {
  Terminal terminal;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) terminal.columns = size.ws_col;
  terminal.utf8 = WantsUtf8();
  return terminal;
}

/// The description with "errors" besides; of a take that cannot be read its name and these.
JsonValue InfoAsJson(const TakeInfo& info) {
  std::vector<JsonMember> members;
  if (info.description)
    members = MembersOf(*info.description);
  else
    members = {{"file", info.file}};
  members.push_back({"errors", ErrorsAsJson(info.problems)});
  return JsonObjectOnLines(members);
}

void Info(const InfoJob& job, Output& output) {
  const std::vector<TakeInfo> infos = Run(job);
  const Terminal terminal = StandardOutput();
  std::vector<std::string> texts;
  std::vector<JsonValue> documents;
  std::vector<Problem> problems;
  for (const TakeInfo& info : infos) {
    if (info.description && !output.json) texts.push_back(ToText(*info.description, terminal));
    if (output.json) documents.push_back(InfoAsJson(info));
    problems.insert(problems.end(), info.problems.begin(), info.problems.end());
  }
  if (!texts.empty()) output.Print(fmt::format("{}", fmt::join(texts, "\n")));
  if (output.json) output.Document(infos.size() == 1 ? documents[0] : JsonListOnLines(documents));
  if (!problems.empty()) throw InputError(std::move(problems));
}

} // namespace

void AddInfoCommand(Command& app) {
  Command command =
      app.AddCommand("info", "Report what is in takes: markers, frames, rate, timecode, gaps, extents");
  command.Footer("Example: mien info take.csv\n"
                 "Example: mien info take.csv --performer landmarks68\n"
                 "Example: mien info take.csv --json\n"
                 "Where one take cannot be read, the others are reported all the same; the exit code is 1.");
  auto job = std::make_shared<InfoJob>();
  command.AddRest(
      {.names = "TAKE", .type = "", .help = std::string(kTakeHelp) + "; several if wanted", .required = true},
      job->takes);
  command.Add(
      {.names = "-p,--performer",
       .type = "NAME|FILE",
       .help = fmt::format("Say which way the face looks, by a performer file or a built-in performer: {}",
                           fmt::join(BuiltInPerformers(), ", "))},
      job->performer);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Info(*job, output); });
}

} // namespace mien
