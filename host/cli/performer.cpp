#include "host/cli/cleaning_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/cli/print_guess.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/files/standard_streams.h"
#include "host/jobs/guess_job.h"
#include "host/jobs/output_place.h"
#include "host/jobs/performer_job.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace mien {

namespace {

struct PerformerOptions {
  PerformerJob job;
  std::optional<std::string> performer;
  bool guess = false;
};

void Save(const PerformerJob& job, Output& output) {
  const Neutral neutral = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();
  output.Line("neutral", neutral.how);
  output.Remark(neutral.notes, job.take);
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObject({{"take", job.take}, {"output", job.output}, {"neutral", neutral.how}}));
}

void SaveGuess(const GuessJob& job, Output& output) {
  const PerformerGuess guess = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();
  std::vector<JsonMember> result = {{"take", job.take}, {"output", job.output}};
  for (JsonMember& member : MembersOf(guess)) result.push_back(std::move(member));
  output.Result(JsonObjectOnLines(result));
  if (IsStandardOutput(job.output)) {
    for (const Note& doubt : guess.doubts) output.Remark(doubt, job.take);
    return;
  }
  if (!output.quiet) output.Print(ToText(guess));
  output.Line("wrote", job.output);
}

void SaveEither(const PerformerOptions& options, Output& output) {
  PerformerJob job = options.job;
  output.RequireFreeStandardOutput(job.output);
  if (options.guess == options.performer.has_value())
    throw UsageError("performer", options.guess
                                      ? "--guess finds the markers itself; leave out one of the two"
                                      : "it is required, or --guess, which finds the markers itself");
  if (options.guess) {
    SaveGuess({job.take, job.output, job.name, job.reading, job.neutral}, output);
  } else {
    job.performer = *options.performer;
    Save(job, output);
  }
}

} // namespace

void AddPerformerCommand(Command& mien) {
  Command command = mien.AddCommand(
      "performer", "Save a performer with the neutral face of a take, to solve other takes with");
  command.Details(
      "With --guess, it proposes a performer file for markers of any names: which of them are on the head "
      "and "
      "on each part of the face, from their places and motion. It lists pairs, unused markers and doubts; "
      "check them, and edit the file. The neutral face is then only saved for frames that --neutral names.");
  command.Example("mien performer take.csv --performer landmarks68 --name Ada -o ada.json");
  command.Example("mien solve other.csv --performer ada.json -o weights.csv");
  command.Example("mien performer --guess markers.csv -o guess.json");
  auto options = std::make_shared<PerformerOptions>();
  PerformerJob& job = options->job;
  command.Add(TakeArgument(), job.take);
  Command::Option performer = PerformerOption("The markers, unless --guess finds them");
  performer.required = false;
  command.Add(performer, options->performer);
  command.AddFlag({.names = "--guess", .help = "Find the markers of the head and of each part in the take"},
                  options->guess);
  command.Add(JsonOutputOption("The performer file to write"), job.output);
  command.Add({.names = "--name", .type = "NAME", .help = "The performer's name in the file"}, job.name);
  AddNeutralOption(command, job.neutral);
  AddHeadFit(command, job.head_fit);
  AddTakeOptions(command, job.reading);
  command.AddOutputOptions();
  command.OnRun([options](Output& output) { SaveEither(*options, output); });
}

} // namespace mien
