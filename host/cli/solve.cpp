#include "host/cli/commands.h"
#include "host/cli/neutral_option.h"
#include "host/cli/progress.h"
#include "host/cli/report.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/solve/solve_take.h"
#include "host/takes/read_take.h"
#include "host/write/template_csv.h"
#include "host/write/whole_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>
#include <string>

namespace mien {

namespace {

struct Options {
  std::string take, performer, output;
  std::optional<FrameRange> neutral;
  bool quiet = false;
};

void ReportOn(const Take& take, const Performer& performer, const Neutral& neutral,
              const FaceSolver::Report& report) {
  ReportLine("take", fmt::format("{}: {} frames at {:.6g} Hz, {} markers", take.name, take.FrameCount(),
                                 take.rate_hz, take.MarkerCount()));
  for (const std::string& note : take.notes) ReportLine("", note);
  ReportLine("performer", performer.name);
  ReportLine("neutral", neutral.how);
  for (const std::string& note : neutral.notes) ReportLine("", note);
  for (const std::string& marker : report.left_out)
    ReportLine("", fmt::format("the marker {} is not in the neutral pose and was left out", marker));

  if (!report.head_motion_removed)
    ReportLine("head", "fewer than 3 head markers, or all on a line: the head's motion was NOT removed");
  else if (report.frames_without_head == 0)
    ReportLine("head", "found in every frame");
  else
    ReportLine("head", fmt::format("not found in {} of {} frames, where it was held",
                                   report.frames_without_head, report.frames));

  if (report.held.empty()) {
    ReportLine("gaps", "none");
  } else {
    std::size_t frames = 0;
    const FaceSolver::Report::Held* longest = &report.held[0];
    for (const auto& held : report.held) {
      frames += held.frames;
      if (held.frames > longest->frames) longest = &held;
    }
    ReportLine("gaps", fmt::format("{} of {} positions held in {} markers, most in {} ({} frames)", frames,
                                   report.frames * performer.FaceMarkers().size(), report.held.size(),
                                   longest->marker, longest->frames));
  }
  if (!report.resting_parts.empty())
    ReportLine("at rest", fmt::format("{} (no markers)", fmt::join(report.resting_parts, ", ")));
}

void Solve(const Options& options) {
  RefuseOverwriting(options.output, options.take, "the take");
  RefuseOverwriting(options.output, options.performer, "the performer file");
  const std::string ending = std::filesystem::path(options.output).extension().string();
  if (options.output != "-" && !options.output.starts_with("/dev/") && ending != ".csv")
    throw CLI::ValidationError(
        "--output", fmt::format("\"{}\" does not end in .csv, which is what is written", options.output));

  CheckWritable(options.output);
  const Performer performer = FindPerformer(options.performer);
  const Take take = ReadTake(options.take);
  CheckMarkers(performer, take);
  const Neutral neutral = FindNeutral(take, performer, options.neutral);
  SolvedTake solved;
  {
    Progress progress("solving " + take.name);
    solved = SolveTake(take, performer, neutral.pose, std::ref(progress));
  }
  WriteWhole(options.output, [&](std::ostream& out) { WriteTemplateCsv(solved.animation, out); });

  if (options.quiet) return;
  ReportOn(take, performer, neutral, solved.report);
  if (options.output != "-")
    ReportLine("wrote", fmt::format("{}: {} frames, {} templates", options.output,
                                    solved.animation.frames.size(), solved.animation.templates.size()));
}

} // namespace

void AddSolveCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("solve", "Solve a take into the performer's template weights");
  command->footer("Example: mien solve take.csv --performer landmarks68 -o weights.csv\n"
                  "Writes a row per frame: frame, time, and a column per template (\"Mouth.Open\").");
  auto options = std::make_shared<Options>();
  command->add_option("TAKE", options->take, "The take's file: landmark CSV or marker CSV")->required();
  command
      ->add_option(
          "-p,--performer", options->performer,
          fmt::format("A performer file, or a built-in performer: {}", fmt::join(BuiltInPerformers(), ", ")))
      ->type_name("NAME|FILE")
      ->required();
  command->add_option("-o,--output", options->output, "Where to write the weights; - is standard output")
      ->type_name("OUT.csv")
      ->required();
  AddNeutralOption(*command, options->neutral);
  command->add_flag("-q,--quiet", options->quiet, "Report nothing but errors");
  command->callback([options] { Solve(*options); });
}

} // namespace mien
