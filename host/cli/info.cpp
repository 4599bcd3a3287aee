#include "host/base/errors_json.h"
#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/cli/terminals.h"
#include "host/inspect/description_json.h"
#include "host/inspect/description_text.h"
#include "host/jobs/info_job.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

/// The description, and "errors"; of a take that cannot be read its name and these alone.
JsonValue InfoAsJson(const TakeInfo& info) {
  std::vector<JsonMember> members;
  if (info.description)
    members = MembersOf(*info.description);
  else
    members = {{"file", info.file}};
  members.push_back({"errors", ErrorsAsJson(info.problems)});
  return JsonObjectOnLines(members);
}

struct InfoOptions {
  InfoJob job;
  bool all = false;
};

void Info(const InfoOptions& options, Output& output) {
  const std::vector<TakeInfo> infos = [&] {
    Progress progress(options.job.takes.size() == 1 ? TakeName(options.job.takes[0])
                                                    : Count(options.job.takes.size(), "take"),
                      output.quiet);
    return Run(options.job, std::ref(progress));
  }();
  const Terminal terminal = StandardOutputTerminal();
  std::vector<std::string> texts;
  std::vector<JsonValue> documents;
  std::vector<Problem> problems;
  for (const TakeInfo& info : infos) {
    if (info.description && !output.json)
      texts.push_back(ToText(*info.description, terminal, options.all ? kAllMarkers : kSomeMarkers));
    if (output.json) documents.push_back(InfoAsJson(info));
    problems.insert(problems.end(), info.problems.begin(), info.problems.end());
  }
  if (!texts.empty()) output.Print(fmt::format("{}", fmt::join(texts, "\n")));
  if (output.json) output.Document(infos.size() == 1 ? documents[0] : JsonListOnLines(documents));
  if (!problems.empty()) throw InputError(std::move(problems));
}

} // namespace

void AddInfoCommand(Command& mien) {
  Command command =
      mien.AddCommand("info", "Report what is in takes: markers, frames, rate, timecode, gaps, extents");
  command.Details("A take that cannot be read does not hide the others; the exit code is then 1.");
  command.Example("mien info take.csv");
  command.Example("mien info take.csv --performer landmarks68 --all");
  command.Example("mien info take.csv --json");
  auto options = std::make_shared<InfoOptions>();
  command.AddRest(TakeArgument(), options->job.takes);
  Command::Option performer =
      PerformerOption("Report which way the face looks, with the markers of this performer");
  performer.required = false;
  command.Add(performer, options->job.performer);
  command.AddFlag(
      {.names = "--all", .help = fmt::format("List all markers; otherwise the first {}", kSomeMarkers)},
      options->all);
  AddTakeOptions(command, options->job.reading);
  command.AddOutputOptions();
  command.OnRun([options](Output& output) { Info(*options, output); });
}

} // namespace mien
