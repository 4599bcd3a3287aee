#include "host/cli/commands.h"
#include "host/cli/output.h"
#include "host/cli/take_options.h"
#include "host/jobs/performer_job.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>

namespace mien {

namespace {

void Save(const PerformerJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const Neutral neutral = Run(job);
  output.Line("neutral", neutral.how);
  output.Remark(neutral.notes, job.take);
  if (job.output != "-") output.Line("wrote", job.output);
  output.Result(JsonObject({{"take", job.take}, {"output", job.output}, {"neutral", neutral.how}}));
}

} // namespace

void AddPerformerCommand(Command& app) {
  Command command = app.AddCommand(
      "performer", "Save a performer with the neutral face of a take, to solve other takes with");
  command.Footer("Example: mien performer take.csv --performer landmarks68 --name Ada -o ada.json\n"
                 "Then:    mien solve other.csv --performer ada.json -o weights.csv");
  auto job = std::make_shared<PerformerJob>();
  command.Add({.names = "TAKE", .type = "", .help = kTakeHelp, .required = true}, job->take);
  command.Add({.names = "-p,--performer",
               .type = "NAME|FILE",
               .help = fmt::format("The markers: a performer file, or a built-in performer: {}",
                                   fmt::join(BuiltInPerformers(), ", ")),
               .required = true},
              job->performer);
  command.Add({.names = "-o,--output",
               .type = "FILE.json",
               .help = "The performer file to write; - is standard output",
               .required = true},
              job->output);
  command.Add({.names = "--name", .type = "NAME", .help = "The performer's name in the file"}, job->name);
  AddNeutralOption(command, job->neutral);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Save(*job, output); });
}

} // namespace mien
