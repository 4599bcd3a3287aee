#include "host/base/utf8.h"
#include "host/cli/commands.h"
#include "host/cli/neutral_option.h"
#include "host/cli/report.h"
#include "host/cli/take_options.h"
#include "host/files/whole_file.h"
#include "host/formats/read_take.h"
#include "host/performer/face_axes.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <string>

namespace mien {

namespace {

struct Options {
  std::string take, performer, output, name;
  std::optional<FrameRange> neutral;
  bool quiet = false;
  ReadOptions reading;
};

void Save(const Options& options) {
  RefuseOverwriting(options.output, options.take, "the take"); // a performer file may be renewed in its place
  if (!IsUtf8(options.name)) throw CLI::ValidationError("--name", "this is not UTF-8 text");
  CheckWritable(options.output);
  Performer performer = LoadPerformer(options.performer);
  const Take take = ReadTake(options.take, options.reading);
  CheckMarkers(performer, take);
  const Neutral neutral = FindNeutral(take, performer, options.neutral);
  FaceAxes(performer, neutral.pose); // a file that no take could be solved with is not written
  performer.neutral = neutral.pose;
  if (!options.name.empty()) performer.name = options.name;
  WriteWhole(options.output, [&](std::ostream& out) { WritePerformer(performer, out); });

  if (options.quiet) return;
  ReportLine("neutral", neutral.how);
  for (const std::string& note : neutral.notes) ReportLine("", note);
  if (options.output != "-") ReportLine("wrote", options.output);
}

} // namespace

void AddPerformerCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand(
      "performer", "Save a performer with the neutral face of a take, to solve other takes with");
  command->footer("Example: mien performer take.csv --performer landmarks68 --name Ada -o ada.json\n"
                  "Then:    mien solve other.csv --performer ada.json -o weights.csv");
  auto options = std::make_shared<Options>();
  command->add_option("TAKE", options->take, kTakeHelp)->required();
  command
      ->add_option("-p,--performer", options->performer,
                   fmt::format("The markers: a performer file, or a built-in performer: {}",
                               fmt::join(BuiltInPerformers(), ", ")))
      ->type_name("NAME|FILE")
      ->required();
  command->add_option("-o,--output", options->output, "The performer file to write; - is standard output")
      ->type_name("FILE.json")
      ->required();
  command->add_option("--name", options->name, "The performer's name in the file")->type_name("NAME");
  AddNeutralOption(*command, options->neutral);
  AddTakeOptions(*command, options->reading);
  command->add_flag("-q,--quiet", options->quiet, "Report nothing but errors");
  command->callback([options] { Save(*options); });
}

} // namespace mien
