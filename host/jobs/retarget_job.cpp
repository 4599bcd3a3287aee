#include "host/jobs/retarget_job.h"

#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/solve/smooth_weights.h"
#include "host/solve/solve_character.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/fill_missing.h"
#include "host/weights/resample.h"
#include "host/weights/swap_sides.h"
#include "host/weights/weight_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <numbers>

namespace mien {

namespace {

void CheckPlaces(const RetargetJob& job) {
  const std::string map = job.character.empty() ? "" : job.map;
  RefuseReadingTwice(
      {{"weights", job.weights}, {"character", job.character}, {"map", map}, {"onto", job.onto}});
  RefuseOverwriting(job.output, job.weights, "the weights");
  RefuseOverwriting(job.output, job.character, "the character file");
  RefuseOverwriting(job.output, map, "the map");
  RefuseOverwriting(job.output, job.onto, "the head");
}

VgeAMatrix RotationBy(const HeadAngles& head) {
  constexpr double kDegrees = 180 / std::numbers::pi;
  VgeRMatrix rotation;
  const VTxRotationOrder roll_first = {.mOrder = 4}; // z, x, y
  roll_first.V2M(rotation, {head.pitch * kDegrees, head.yaw * kDegrees, head.roll * kDegrees});
  VgeAMatrix matrix;
  for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, matrix.m[column]);
  return matrix;
}

/// The take's clock, head and eyes, without weights.
Animation WithoutWeights(const WeightTake& take) {
  Animation animation;
  AnimationLayout& layout = animation.layout;
  layout.take = take.name;
  layout.rate = take.rate;
  layout.timecode = take.timecode;
  layout.timecode_offset_s = take.timecode_offset_s;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.heads.resize(take.frames.size());
  for (std::size_t f = 0; f < take.heads.size(); ++f) animation.heads[f] = RotationBy(take.heads[f]);
  animation.eyes = take.eyes;
  return animation;
}

/// The columns of a take of templates, in the order of all templates; 0 for those that it lacks.
std::vector<double> OwnTemplates(const WeightTake& take) {
  const std::vector<std::string> templates = AnimationLayout().WeightNames(WeightKind::Templates);
  std::vector<double> weights(take.frames.size() * templates.size());
  for (std::size_t n = 0; n < take.names.size(); ++n) {
    const auto found = std::find(templates.begin(), templates.end(), take.names[n]);
    const auto column = static_cast<std::size_t>(found - templates.begin());
    for (std::size_t f = 0; f < take.frames.size(); ++f)
      weights[f * templates.size() + column] = take.Weight(f, n);
  }
  return weights;
}

void Clean(const RetargetJob& job, RetargetResult& result) {
  WeightTake& take = result.take;
  if (job.smooth_weights_hz && *job.smooth_weights_hz >= take.rate.Hz() / 2)
    throw UsageError("smooth-weights", fmt::format("{} Hz is not below half the rate of {} Hz",
                                                   *job.smooth_weights_hz, ToText(take.rate)));
  if (job.swap_sides) SwapSides(take);
  result.missing_frames = FillMissing(take, job.fade_s);
  if (job.smooth_weights_hz)
    SmoothWeights(take.weights, take.names.size(), take.frames, take.rate, *job.smooth_weights_hz);
  result.eyes_of_shapes = SetEyesOfShapes(take);
  if (job.output_rate) Resample(take, *job.output_rate);
}

} // namespace

RetargetResult Run(const RetargetJob& job, const JobProgress& progress) {
  CheckPlaces(job);
  AnimationChoice choice = {.output = job.output,
                            .csv_style = job.csv_style,
                            .onto = job.onto,
                            .head_node = job.head_node,
                            .eye_nodes = job.eye_nodes,
                            .has_shapes = true};
  FormatOf(choice);
  if (job.character.empty() && !job.expressions.empty())
    throw UsageError("expression", "this is for --character");
  if (job.character.empty() && job.map != "arkit52") throw UsageError("map", "this is for --character");
  CheckWritable(job.output);

  std::optional<Character> character;
  if (!job.character.empty()) character = LoadCharacter(job.character);
  const MappedFile file(job.weights, ReadingProgress(progress));
  RetargetResult result;
  result.take = ReadWeights(file.Bytes(), InputName(job.weights), job.reading);
  if (progress) progress(JobStage::Preparing, 0, 0);
  const bool are_templates = result.take.HasTemplates();
  if (are_templates && !character && FormatOf(choice) == AnimationFormat::Vrma)
    character = LoadCharacter("vrm1");
  Clean(job, result);

  Animation animation = WithoutWeights(result.take);
  if (are_templates) {
    animation.weights = OwnTemplates(result.take);
    choice.has_shapes = character.has_value();
    if (!character && job.csv_style == CsvStyle::LiveLink)
      throw UsageError("csv-style", "the file has weights of templates; name a --character for livelink");
  } else if (character) {
    animation.weights = TemplatesOf(result.take, LoadWeightMap(job.map), result.unused);
    if (!animation.eyes.empty()) // they turn the character's eyes
      std::erase_if(result.unused, [](const std::string& name) { return name.starts_with("eyeLook"); });
  } else {
    animation.layout.templates.clear();
    animation.layout.shapes = result.take.names;
    animation.shape_weights = result.take.weights;
  }
  if (character) {
    result.character = character->name;
    SolveCharacter(animation, *character, job.expressions);
  }
  animation.CheckFinite(InputName(job.weights));
  AnimationOutput output = OutputOf(choice);
  // The simple head has the shapes of a character.
  if (!character && !are_templates && output.format == AnimationFormat::Glb && !output.onto)
    character = LoadCharacter("arkit52");
  result.written = WriteAnimation(animation, character ? &*character : nullptr, std::move(output), progress);
  return result;
}

} // namespace mien
