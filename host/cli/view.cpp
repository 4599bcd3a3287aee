#include "host/base/json_text.h"
#include "host/base/text.h"
#include "host/cli/animation_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/jobs/view_job.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

void View(const ViewJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const ViewResult result = [&] {
    Progress progress(TakeName(job.input), output.quiet);
    return Run(job, std::ref(progress));
  }();
  const std::string has =
      result.markers > 0 ? Count(result.markers, "marker") : Count(result.curves, "weight");
  output.Line("shows",
              fmt::format("{}: {}, {}, {}", result.name, result.format, Count(result.frames, "frame"), has));
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObject({{"input", job.input},
                            {"format", result.format},
                            {"output", job.output},
                            {"frames", result.frames},
                            {"markers", result.markers},
                            {"weights", result.curves}}));
}

} // namespace

void AddViewCommand(Command& mien, std::vector<std::string> arguments) {
  Command command = mien.AddCommand("view", "Show a take or an animation on a page for any browser");
  command.Details(
      "The page is one HTML file that needs no network: markers or a head in 3D, all curves, gaps. It "
      "opens with a double click, and can be mailed. mien solve --view shows a take with its solve, and "
      "mien compare --view two animations or takes.");
  command.Example("mien view take.c3d -o take.html");
  command.Example("mien view phone.csv --onto head.glb -o phone.html");
  auto job = std::make_shared<ViewJob>();
  job->command = std::move(arguments);
  command.Add(
      {.names = "INPUT",
       .help = "A take, or an animation: what mien solve and mien retarget write as .csv or .json, and what "
               "mien retarget reads; - is standard input",
       .required = true,
       .files = "*"},
      job->input);
  command.Add({.names = "-o,--output",
               .type = "FILE.html",
               .help = "The page; - is standard output",
               .required = true,
               .files = "*.html"},
              job->output);
  AddHeadOptions(command, "For animations: show this head, or VRM avatar, instead of a simple head",
                 job->onto, job->head_node, job->eye_nodes);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { View(*job, output); });
}

} // namespace mien
