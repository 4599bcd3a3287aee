#include "host/base/text.h"
#include "host/cli/cleaning_options.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/job_options.h"
#include "host/cli/output.h"
#include "host/cli/progress.h"
#include "host/cli/take_options.h"
#include "host/cli/threads_option.h"
#include "host/files/standard_streams.h"
#include "host/jobs/calibrate_job.h"
#include "host/jobs/calibrate_weights_job.h"
#include "host/performer/guided_poses.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace mien {

namespace {

struct CalibrateOptions {
  CalibrateJob job;
  bool list_poses = false;
};

void ListPoses(Output& output) {
  std::string text;
  std::vector<JsonValue> list;
  for (const GuidedPose& pose : GuidedPoses()) {
    text += fmt::format("{:<13} {} s  {}\n", pose.name, pose.seconds, pose.what);
    if (!pose.shapes.empty()) text += fmt::format("{:<18} {}\n", "", fmt::join(pose.shapes, ", "));
    list.push_back(JsonObject({{"pose", pose.name},
                               {"seconds", pose.seconds},
                               {"what", pose.what},
                               {"shapes", JsonList({pose.shapes.begin(), pose.shapes.end()})},
                               {"templates", JsonList({pose.templates.begin(), pose.templates.end()})}}));
  }
  output.Print(text);
  output.Result(JsonObject({{"poses", JsonListOnLines(list)}}));
}

/// "0.01 to 0.38, trusted: 11 blinks", or why there is no range.
std::string Statement(const TemplateCalibration& calibration) {
  if (!calibration.range) return "none: " + calibration.why_none;
  const Range& range = *calibration.range;
  return fmt::format("{:.2f} to {:.2f}, {}: {}", range.low, range.high,
                     range.trusted ? "trusted" : "not trusted and not applied", range.why);
}

JsonValue AsJson(const std::vector<TemplateCalibration>& calibrations, const char* what) {
  std::vector<JsonValue> list;
  for (const TemplateCalibration& t : calibrations) {
    const bool seen = t.range.has_value();
    list.push_back(JsonObject({{what, t.name},
                               {"low", seen ? JsonValue(t.range->low) : nullptr},
                               {"high", seen ? JsonValue(t.range->high) : nullptr},
                               {"seen", seen ? t.range->seen : 0},
                               {"trusted", seen && t.range->trusted},
                               {"why", seen ? t.range->why : t.why_none},
                               {"quiet", t.quiet}}));
  }
  return JsonListOnLines(list);
}

/// A line each.
void PrintRanges(const std::vector<TemplateCalibration>& calibrations, const std::string& take,
                 Output& output) {
  constexpr double kMostQuiet = 0.25;
  std::size_t width = 0;
  for (const TemplateCalibration& t : calibrations) width = std::max(width, t.name.size());
  for (const TemplateCalibration& t : calibrations) {
    output.Line(&t == &calibrations.front() ? "ranges" : "",
                fmt::format("{:<{}}  {}", t.name, width, Statement(t)));
    if (t.range && t.range->trusted && t.quiet > kMostQuiet)
      output.Remark(
          {Code::Doubtful, "",
           fmt::format("between blinks {} reads up to {:.2f} (95 % of the frames): the lids are often "
                       "lowered",
                       t.name, *t.quiet)},
          take);
  }
}

std::string TitleOf(const std::vector<std::string>& takes) {
  return takes.size() == 1 ? TakeName(takes[0]) : Count(takes.size(), "take");
}

void Calibrate(const CalibrateJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const CalibrateResult result = [&] {
    Progress progress(TitleOf(job.takes), output.quiet);
    return Run(job, std::ref(progress));
  }();
  output.Line("neutral", result.neutral.how);
  output.Remark(result.neutral.notes, job.takes[0]);
  output.Remark(result.notes, job.poses);
  PrintRanges(result.templates, job.takes[0], output);
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObjectOnLines({{"takes", job.takes},
                                   {"output", job.output},
                                   {"neutral", result.neutral.how},
                                   {"templates", AsJson(result.templates, "template")}}));
}

/// Throws for an option that is of no use to weights, unless it states its default.
void RefuseOptionsOfTakes(const CalibrateJob& job) {
  const SolveOptions usual;
  const SolveOptions& solve = job.solve;
  const std::pair<bool, std::string_view> given[] = {
      {job.neutral.has_value(), "neutral"},
      {solve.head_fit != usual.head_fit, "head-fit"},
      {solve.brows != usual.brows, "brows"},
      {ToText(solve.face_fill) != ToText(usual.face_fill), "fill"},
      {ToText(solve.head_fill) != ToText(usual.head_fill), "fill-head"},
      {!solve.head_tolerance_mm, "keep-slipped"},
      {solve.head_tolerance_mm != usual.head_tolerance_mm, "head-tolerance"},
      {solve.fade_s != usual.fade_s, "fade"},
      {!solve.gaze, "no-gaze"},
      {solve.smooth_positions_hz.has_value(), "smooth"},
      {solve.smooth_weights_hz.has_value(), "smooth-weights"},
      {solve.smooth_gaze_hz.has_value(), "smooth-gaze"},
      {job.reading.mesh.image.has_value(), "image"},
      {job.reading.mesh.face_width_mm.has_value(), "face-width"},
      {job.reading.mesh.mirrored, "mirrored"}};
  for (const auto& [is_given, option] : given)
    if (is_given)
      throw InputError(Code::Usage, "", "", fmt::format("--{} is for --performer", option),
                       "leave it out for recorded weights");
}

void CalibrateWeights(const CalibrateJob& options, Output& output) {
  RefuseOptionsOfTakes(options);
  output.RequireFreeStandardOutput(options.output);
  const CalibrateWeightsJob job = {.takes = options.takes,
                                   .poses = options.poses,
                                   .output = options.output,
                                   .name = options.name,
                                   .reading = {.strict = options.reading.strict,
                                               .face = options.reading.face,
                                               .input_rate = options.reading.input_rate}};
  const CalibrateWeightsResult result = [&] {
    Progress progress(TitleOf(job.takes), output.quiet);
    return Run(job, std::ref(progress));
  }();
  for (const auto& [file, notes] : result.take_notes) output.Remark(notes, file);
  output.Remark(result.notes, job.poses);
  std::vector<TemplateCalibration> seen;
  for (const TemplateCalibration& weight : result.weights)
    if (weight.range) seen.push_back(weight);
  PrintRanges(seen, job.takes[0], output);
  if (const std::size_t none = result.weights.size() - seen.size(); none > 0)
    output.Line("",
                fmt::format("none for {}: {}", Count(none, "other weight"),
                            job.poses.empty() ? "a guided take shows them" : "no pose of them is marked"));
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObjectOnLines(
      {{"takes", job.takes}, {"output", job.output}, {"weights", AsJson(result.weights, "weight")}}));
}

void RequireOptions(const CalibrateJob& job) {
  const std::pair<bool, std::string_view> required[] = {{job.takes.empty(), "TAKE"},
                                                        {job.output.empty(), "--output"}};
  for (const auto& [missing, name] : required)
    if (missing) throw InputError(Code::Usage, "", "", fmt::format("{} is required", name), "");
}

} // namespace

void AddCalibrateCommand(Command& mien) {
  Command command = mien.AddCommand(
      "calibrate", "Measure a performer's own range on takes, and save it with the neutral face");
  command.Details(
      "The saved performer is for `mien solve`: a blink of this person reads 1, and so does every "
      "expression that a guided take shows at full strength. Weights beyond 1 stay possible.");
  command.Details(
      "From ordinary takes, the blinks are measured: at least four, which half a minute of talking "
      "shows. From a guided take, in which the performer makes the poses of --list-poses, the other "
      "templates as well; --poses states where the poses are. What is not measured reliably is reported "
      "and is not applied.");
  command.Details(
      "Without --performer, TAKE is a recording of weights, as mien retarget reads it, and the saved ranges "
      "are "
      "for `mien retarget --ranges`; of the options only --poses, --name, --strict, --face and --input-rate "
      "apply.");
  command.Details("TAKE and --output are required, except with --list-poses.");
  command.Example("mien calibrate talk.csv --performer landmarks68 --name Ada -o ada.json");
  command.Example("mien calibrate --list-poses");
  command.Example("mien calibrate guided.csv talk.csv --performer landmarks68 --poses marks.csv -o ada.json");
  command.Example("mien solve other.csv --performer ada.json -o weights.csv");
  command.Example("mien calibrate phone_talk.csv --name Ada -o ada.ranges.json");
  auto options = std::make_shared<CalibrateOptions>();
  CalibrateJob& job = options->job;
  // Required, unless the poses are listed.
  Command::Option take = TakeArgument(), performer = PerformerOption("For takes: the markers"),
                  output = JsonOutputOption("The performer file, or the file of ranges, to write");
  take.required = performer.required = output.required = false;
  take.help += "; several of the same performer and the same markers";
  command.AddRest(take, job.takes);
  command.Add(performer, job.performer);
  command.Add(output, job.output);
  command.AddFlag({.names = "--list-poses", .help = "Print the poses of a guided take and exit"},
                  options->list_poses);
  AddMeasuringOptions(command, job);
  AddTakeOptions(command, job.reading);
  AddThreads(command, job.solve.threads);
  command.AddOutputOptions();
  command.OnRun([options](Output& output_to) {
    options->job.reading.threads = options->job.solve.threads;
    if (options->list_poses) return ListPoses(output_to);
    RequireOptions(options->job);
    if (options->job.performer.empty()) return CalibrateWeights(options->job, output_to);
    Calibrate(options->job, output_to);
  });
}

} // namespace mien
