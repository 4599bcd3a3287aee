#include "host/base/text.h"
#include "host/cli/animation_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/job_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/threads_option.h"
#include "host/files/standard_streams.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/retarget_report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

void PrintRanges(const RetargetJob& job, const AppliedRanges& ranges, Output& output) {
  std::vector<std::string> applied;
  for (const Range& range : ranges.applied)
    applied.push_back(fmt::format("{} {:.2f} to {:.2f}", range.name, range.low, range.high));
  output.Line("ranges", applied.empty() ? "none applied" : fmt::format("{}", fmt::join(applied, ", ")));
  if (!ranges.doubted.empty())
    output.Line("", fmt::format("not trusted, and not applied: {}", fmt::join(ranges.doubted, ", ")));
  if (!ranges.unmatched.empty())
    output.Remark({Code::Unmatched, "", "ranges of weights that the file lacks: " + Some(ranges.unmatched)},
                  job.ranges);
}

void PrintLandmarks(const LandmarkHead& landmarks, const JoinedFrames& joined, Output& output) {
  output.Line("landmarks",
              fmt::format("{}: {}, the head{} of {}", landmarks.animation.layout.take, landmarks.format,
                          landmarks.gaze == GazeSource::None ? "" : " and the eyes",
                          Count(joined.matched, "frame")));
  output.Remark(landmarks.notes, landmarks.file);
  if (joined.by_time)
    output.Remark({Code::Contradiction, "",
                   "no frame has the number and time of one of the weights; matched by time alone"},
                  landmarks.file);
  if (joined.without > 0)
    output.Remark({Code::Unmatched, "",
                   fmt::format("{} of the weights without landmarks of the same time: the head stays there",
                               Count(joined.without, "frame"))},
                  landmarks.file);
  if (joined.unused > 0)
    output.Remark(
        {Code::Unmatched, "",
         fmt::format("{} without weights of the same time, ignored", Count(joined.unused, "frame"))},
        landmarks.file);
}

void Retarget(RetargetJob job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  output.RequireFreeStandardOutput(job.report, "report");
  job.hash_files = output.json;
  const RetargetResult result = [&] {
    Progress progress(TakeName(job.weights), output.quiet);
    return Run(job, std::ref(progress));
  }();
  const WeightTake& take = result.take;
  output.Line("weights", fmt::format("{}: {}, {} at {} Hz, {}", take.name, take.format,
                                     Count(take.frames.size(), "frame"), ToText(take.rate),
                                     Count(take.names.size(), "weight")));
  output.Remark(take.notes, take.file);
  if (!take.angles.empty() && !result.landmarks) output.Line("angles", take.angles);
  if (!job.ranges.empty()) PrintRanges(job, result.ranges, output);
  if (result.causal)
    output.Line("solve",
                fmt::format("causal: each frame from itself and earlier ones; the face is lost in {}",
                            Count(result.causal->lost_frames, "frame")));
  if (result.missing_frames > 0)
    output.Line("gaps", fmt::format("weights are missing in {} of {} frames: they go to rest there",
                                    result.missing_frames, take.frames.size()));
  if (result.landmarks) PrintLandmarks(*result.landmarks, result.joined, output);
  const bool looks = result.landmarks && result.landmarks->gaze != GazeSource::None;
  if (result.eyes_of_shapes && !looks) output.Line("gaze", "from the eyeLook shapes");
  if (!result.causal && (job.eye_nodes || job.smooth_gaze_hz) && take.eyes.empty() && !looks)
    output.Remark({Code::Missing, "", "the file does not say where the eyes look"}, take.file);
  if (!result.character.empty()) output.Line("character", result.character);
  if (!result.unused.empty())
    output.Remark({Code::Unmatched, "", "no template of the face shows " + Some(result.unused)}, take.file);
  if (!IsStandardOutput(job.output))
    output.Line("wrote", fmt::format("{}: {}, {}", job.output, Count(result.written.frames, "frame"),
                                     SummaryOf(result.written)));
  output.Remark(NotesOn(result.written), job.output);
  if (!job.report.empty() && !IsStandardOutput(job.report)) output.Line("wrote", job.report);
  if (!output.json) return;
  output.Result(result.causal ? AsJson(*result.causal, take.frames.size(), result.written.frames)
                              : RetargetReportAsJson(job, result));
}

} // namespace

void AddRetargetCommand(Command& mien, std::vector<std::string> arguments) {
  Command command = mien.AddCommand(
      "retarget", "Put recorded weights onto a head, or onto a character through its templates");
  command.Details("WEIGHTS is a table of a phone face-capture app, scores of a web-camera tracker as CSV or "
                  "JSON, or what mien solve writes. The ending of OUT chooses the format:",
                  {{".csv", "A row per frame: frame, time, and a column per shape"},
                   {".json", "Everything: templates, shapes, clusters, the head"},
                   {".glb", "An animated head for Blender, game engines and viewers"},
                   {".vrm", "The VRM avatar of --onto with the animation"},
                   {".vrma", "An animation for any VRM avatar"}});
  command.Details("Without --character, weights keep their names. With it, they become weights of the face's "
                  "templates, which drive the character.");
  command.Example("mien retarget phone.csv --onto head.glb -o animated.glb");
  command.Example("mien retarget scores.json --csv-style livelink -o table.csv");
  command.Example("mien retarget phone.csv --character puppet.json -o puppet.csv");
  command.Example("mien retarget phone.csv --ranges ada.ranges.json --csv-style livelink -o table.csv");
  auto job = std::make_shared<RetargetJob>();
  job->command = std::move(arguments);
  AddRetargetOptions(command, *job);
  AddThreads(command, job->threads);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { Retarget(*job, output); });
}

} // namespace mien
