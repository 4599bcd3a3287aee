#include "host/jobs/retarget_job.h"

#include "host/animation/resample.h"
#include "host/base/long_vector.h"
#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/jobs/retarget_report.h"
#include "host/jobs/take_timecode.h"
#include "host/performer/ranges_file.h"
#include "host/solve/smooth_weights.h"
#include "host/solve/solve_character.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/fill_missing.h"
#include "host/weights/swap_sides.h"
#include "host/weights/to_animation.h"
#include "host/weights/weight_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace mien {

namespace {

void CheckPlaces(const RetargetJob& job) {
  const std::string map = job.character.empty() ? "" : job.map;
  RefuseReadingTwice({{"weights", job.weights},
                      {"character", job.character},
                      {"map", map},
                      {"onto", job.onto},
                      {"ranges", job.ranges},
                      {"landmarks", job.landmarks}});
  const std::pair<const std::string&, std::string_view> inputs[] = {{job.weights, "the weights"},
                                                                    {job.character, "the character file"},
                                                                    {map, "the map"},
                                                                    {job.onto, "the head"},
                                                                    {job.ranges, "the ranges"},
                                                                    {job.landmarks, "the landmarks"}};
  for (const auto& [input, what] : inputs) {
    RefuseOverwriting(job.output, input, what);
    RefuseOverwriting(job.report, input, what, "report");
  }
  if (!job.report.empty() && IsSamePlace(job.report, job.output))
    throw UsageError("report", "this is the output itself");
}

AnimationChoice ChoiceOf(const RetargetJob& job) {
  return {.output = job.output,
          .csv_style = job.csv_style,
          .onto = job.onto,
          .head_node = job.head_node,
          .eye_nodes = job.eye_nodes,
          .only_templates = job.only_templates,
          .has_shapes = true};
}

void CheckSettings(const RetargetJob& job) {
  const bool names_mesh = job.mesh.image || job.mesh.face_width_mm || job.mesh.mirrored;
  if (job.landmarks.empty() && names_mesh)
    throw UsageError("landmarks", "--image, --face-width and --mirrored are for the landmarks named by it");
  if (!job.expressions.empty() && job.only_templates)
    throw UsageError("expression", "--templates leaves out what expressions act on: the shapes");
  if (!job.character.empty()) return;
  if (!job.expressions.empty()) throw UsageError("expression", "this is for --character");
  if (job.map != "arkit52") throw UsageError("map", "this is for --character");
  if (job.only_templates) throw UsageError("templates", "this is for --character");
}

void CheckFilters(const RetargetJob& job, const FrameRate& rate) {
  for (const auto& [setting, cutoff] :
       {std::pair("smooth-weights", job.smooth_weights_hz), std::pair("smooth-gaze", job.smooth_gaze_hz)})
    if (cutoff && *cutoff >= rate.Hz() / 2)
      throw UsageError(setting,
                       fmt::format("{} Hz is not below half the rate of {} Hz", *cutoff, ToText(rate)));
}

/// Angles of eyes, and the weights of shapes that turn them.
void SmoothGaze(WeightTake& take, double cutoff_hz) {
  constexpr std::size_t kAngles = 4; // in each frame
  LongVector<double> angles;
  for (const Eyes& eyes : take.eyes)
    for (const EyeAngles& eye : eyes) angles.append(std::array{eye.yaw, eye.pitch});
  if (!angles.empty()) SmoothWeights(angles, kAngles, take.frames, take.rate, cutoff_hz);
  for (std::size_t f = 0; f < take.eyes.size(); ++f)
    for (std::size_t eye = 0; eye < 2; ++eye)
      take.eyes[f][eye] = {.yaw = angles[kAngles * f + 2 * eye], .pitch = angles[kAngles * f + 2 * eye + 1]};

  const std::size_t names = take.names.size();
  for (std::size_t n = 0; n < names; ++n) {
    if (!take.names[n].starts_with("eyeLook")) continue;
    LongVector<double> weights;
    for (std::size_t f = 0; f < take.frames.size(); ++f) weights.push_back(take.Weight(f, n));
    SmoothWeights(weights, 1, take.frames, take.rate, cutoff_hz);
    for (std::size_t f = 0; f < take.frames.size(); ++f) take.weights[f * names + n] = weights[f];
  }
}

void Clean(const RetargetJob& job, RetargetResult& result) {
  WeightTake& take = result.take;
  CheckFilters(job, take.rate);
  if (job.timecode) {
    take.timecode = RequireTimecode(*job.timecode, take.rate);
    take.timecode_offset_s = 0;
  }
  if (!job.ranges.empty()) {
    const WeightRanges ranges = ReadRanges(ReadFile(job.ranges), InputName(job.ranges));
    result.ranges = ApplyRanges(ranges.ranges, take);
  }
  if (job.swap_sides) SwapSides(take);
  result.missing_frames = FillMissing(take, job.fade_s);
  if (job.smooth_weights_hz)
    SmoothWeights(take.weights, take.names.size(), take.frames, take.rate, *job.smooth_weights_hz);
  if (job.smooth_gaze_hz) SmoothGaze(take, *job.smooth_gaze_hz);
  result.eyes_of_shapes = SetEyesOfShapes(take);
}

/// The cleaned weights as what is written, without the shapes of a character. `character`: there will be one.
Animation AnimationOf(const RetargetJob& job, bool character, RetargetResult& result,
                      const JobProgress& progress) {
  Animation animation = ToAnimation(result.take);
  const bool are_templates = animation.layout.shapes.empty();
  if (are_templates && !character && job.csv_style == CsvStyle::LiveLink)
    throw UsageError("csv-style", "the file has weights of templates; name a --character for livelink");
  if (!job.landmarks.empty()) {
    result.landmarks = SolveLandmarkHead(job.landmarks,
                                         {.strict = job.reading.strict,
                                          .face = job.reading.face,
                                          .input_rate = job.reading.input_rate,
                                          .mesh = job.mesh},
                                         job.smooth_gaze_hz, progress, job.access);
    result.joined = JoinHead(*result.landmarks, InputName(job.weights), animation);
  }
  if (!are_templates && character) {
    animation.layout.templates = TemplateColumns();
    animation.weights = TemplatesOf(result.take, LoadWeightMap(job.map), result.unused);
    animation.shape_weights.clear();
    animation.layout.shapes.clear();
    if (!animation.eyes.empty()) // they turn the character's eyes
      std::erase_if(result.unused, [](const std::string& name) { return name.starts_with("eyeLook"); });
  }
  if (job.output_rate) Resample(animation, *job.output_rate, InputName(job.weights));
  return animation;
}

/// The files that go into it; the hash of the weights is still missing.
std::vector<ReportedFile> InputsOf(const RetargetJob& job) {
  std::vector<ReportedFile> files = {{"weights", job.weights, ""}};
  AddFile(files, "landmarks", job.landmarks);
  AddFile(files, "ranges", job.ranges);
  AddFile(files, "character", job.character, BuiltInCharacters());
  if (!job.character.empty()) AddFile(files, "map", job.map, BuiltInWeightMaps());
  AddFile(files, "head", job.onto);
  return files;
}

} // namespace

RetargetResult Run(const RetargetJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  AnimationChoice choice = ChoiceOf(job);
  FormatOf(choice);
  CheckSettings(job);
  CheckWritable(job.output);
  if (!job.report.empty()) CheckWritable(job.report);

  const bool has_record = !job.report.empty() || job.hash_files;
  const std::optional<FileState> weights_state = has_record ? StateOf(job.weights) : std::nullopt;
  std::vector<ReportedFile> files;
  if (has_record) files = InputsOf(job);

  std::optional<Character> character;
  if (!job.character.empty()) character = LoadCharacter(job.character);
  const MappedFile file(job.weights, ReadingProgress(progress), job.access);
  if (has_record) RequireUnchanged(job.weights, weights_state);
  RetargetResult result;
  result.take = ReadWeights(file.Bytes(), InputName(job.weights), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  if (result.take.HasTemplates() && !character && FormatOf(choice) == AnimationFormat::Vrma)
    character = LoadCharacter("vrm1");
  Clean(job, result);
  Animation animation = AnimationOf(job, character.has_value(), result, progress);
  choice.has_shapes = character || !animation.layout.shapes.empty();
  if (character) {
    result.character = character->name;
    SolveCharacter(animation, *character, job.expressions, nullptr, job.threads);
  }
  animation.CheckFinite(InputName(job.weights), job.threads);
  AnimationOutput output = OutputOf(choice);
  // The simple head has the shapes of a character.
  if (!character && choice.has_shapes && output.format == AnimationFormat::Glb && !output.onto)
    character = LoadCharacter("arkit52");
  result.written =
      WriteAnimation(animation, character ? &*character : nullptr, std::move(output), progress, job.threads);

  if (has_record) {
    RequireUnchanged(job.weights, weights_state);
    RequireUnchanged(files, "weights");
    files[0].sha256 = Sha256(file);
    AddOutput(files, job.output);
    result.files = std::move(files);
  }
  if (!job.report.empty())
    WriteWhole(job.report,
               [&](std::ostream& out) { out << RetargetReportAsJson(job, result).Text() << '\n'; });
  return result;
}

} // namespace mien
