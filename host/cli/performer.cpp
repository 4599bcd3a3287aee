#include "host/cli/cleaning_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/jobs/performer_job.h"

#include <functional>
#include <memory>

namespace mien {

namespace {

void Save(const PerformerJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const Neutral neutral = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();
  output.Line("neutral", neutral.how);
  output.Remark(neutral.notes, job.take);
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObject({{"take", job.take}, {"output", job.output}, {"neutral", neutral.how}}));
}

} // namespace

void AddPerformerCommand(Command& mien) {
  Command command = mien.AddCommand(
      "performer", "Save a performer with the neutral face of a take, to solve other takes with");
  command.Example("mien performer take.csv --performer landmarks68 --name Ada -o ada.json");
  command.Example("mien solve other.csv --performer ada.json -o weights.csv");
  auto job = std::make_shared<PerformerJob>();
  command.Add(TakeArgument(), job->take);
  command.Add(PerformerOption("The markers"), job->performer);
  command.Add(JsonOutputOption("The performer file to write"), job->output);
  command.Add({.names = "--name", .type = "NAME", .help = "The performer's name in the file"}, job->name);
  AddNeutralOption(command, job->neutral);
  AddHeadFit(command, job->head_fit);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Save(*job, output); });
}

} // namespace mien
