#include "host/base/text.h"
#include "host/cli/animation_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/job_options.h"
#include "host/cli/output.h"
#include "host/cli/print_solve_report.h"
#include "host/cli/progress.h"
#include "host/cli/terminals.h"
#include "host/cli/threads_option.h"
#include "host/files/standard_streams.h"
#include "host/inspect/weight_picture.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/solve_job.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

/// The templates over time, with the flags of each and those of its part.
std::string PictureOf(const SolveResult& result) {
  const Animation& animation = result.animation;
  std::vector<DrawnWeight> weights;
  for (std::size_t t = 0; t < animation.layout.templates.size(); ++t) {
    const TemplateColumn& column = animation.layout.templates[t];
    DrawnWeight& weight = weights.emplace_back();
    weight.name = column.name;
    for (std::size_t f = 0; f < animation.frames.size(); ++f) weight.values.push_back(animation.Weight(f, t));
    for (const QualityFlag& flag : result.report.quality.flags)
      if (flag.weight.empty() ? flag.part == static_cast<std::size_t>(column.part)
                              : flag.weight == column.name)
        weight.flagged.emplace_back(flag.first, flag.last);
  }
  return WeightPicture(animation.times, std::move(weights), StandardErrorTerminal());
}

void PrintCausalSolve(const SolveResult& result, Output& output) {
  const Take& take = result.take;
  const CausalResult& causal = *result.causal;
  output.Line("take", fmt::format("{}: {} at {} Hz, {}", take.name, Count(take.FrameCount(), "frame"),
                                  ToText(take.rate), Count(take.MarkerCount(), "marker")));
  output.Remark(take.notes, take.file);
  output.Line("performer", result.performer);
  output.Line("solve", "causal: each frame from itself and earlier ones");
  if (causal.learning_frames > 0)
    output.Line("neutral", fmt::format("learned from the first {}, in which all weights are 0",
                                       Count(causal.learning_frames, "frame")));
  if (causal.unknown_heads > 0)
    output.Line("head", fmt::format("not found in {}: it keeps its last pose there",
                                    Count(causal.unknown_heads, "frame")));
  if (causal.lost_frames > 0)
    output.Line("face", fmt::format("lost in {}", Count(causal.lost_frames, "frame")));
}

void Solve(SolveJob job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  output.RequireFreeStandardOutput(job.report, "report");
  output.RequireFreeStandardOutput(job.view, "view");
  output.RequireFreeStandardOutput(job.frames_report, "frames-report");
  job.hash_files = output.json;
  const SolveResult result = [&] {
    Progress progress(TakeName(job.take), output.quiet);
    return Run(job, std::ref(progress));
  }();

  if (result.causal)
    PrintCausalSolve(result, output);
  else
    PrintSolveReport(job, result, output);
  if (!result.causal && (job.eye_nodes || job.solve.smooth_gaze_hz) &&
      result.report.gaze.source == GazeSource::None)
    output.Remark({Code::Missing, "", "the take does not show where the eyes look"}, job.take);
  if (!result.character.empty()) output.Line("character", result.character);
  if (!IsStandardOutput(job.output))
    output.Line("wrote", fmt::format("{}: {}, {}", job.output, Count(result.written.frames, "frame"),
                                     SummaryOf(result.written)));
  output.Remark(NotesOn(result.written), job.output);
  for (const std::string& report : {job.report, job.frames_report, job.view})
    if (!report.empty() && !IsStandardOutput(report)) output.Line("wrote", report);
  if (output.ShowsPictures()) output.Picture(PictureOf(result));
  if (!output.json) return;
  output.Result(result.causal ? AsJson(*result.causal, result.take.FrameCount(), result.written.frames)
                              : SolveReportAsJson(RecordOf(job, result)));
}

} // namespace

void AddSolveCommand(Command& mien, std::vector<std::string> arguments) {
  Command command =
      mien.AddCommand("solve", "Solve a take into template weights, and into a character's animation");
  command.Details(
      "The ending of OUT chooses the format:",
      {{".csv", "A row per frame: frame, time, and a column per shape of the character; without a "
                "character, a column per template of the face (\"Mouth.Open\")"},
       {".json", "Everything: templates, shapes, clusters, the head"},
       {".glb", "An animated head for Blender, game engines and viewers"},
       {".vrm", "The VRM avatar of --onto with the animation"},
       {".vrma", "An animation for any VRM avatar; by default through the character vrm1"}});
  command.Details("What is done to the take is reported on standard error.");
  command.Example("mien solve take.csv --performer landmarks68 -o weights.csv");
  command.Example("mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv");
  command.Example(
      "mien solve take.csv --performer landmarks68 --character arkit52 --onto head.glb -o animated.glb");
  auto job = std::make_shared<SolveJob>();
  job->command = std::move(arguments);
  AddSolveOptions(command, *job);
  AddThreads(command, job->solve.threads);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) {
    job->reading.threads = job->solve.threads;
    Solve(*job, output);
  });
}

} // namespace mien
