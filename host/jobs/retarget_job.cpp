#include "host/jobs/retarget_job.h"

#include "host/animation/resample.h"
#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
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

namespace mien {

namespace {

void CheckPlaces(const RetargetJob& job) {
  const std::string map = job.character.empty() ? "" : job.map;
  RefuseReadingTwice({{"weights", job.weights},
                      {"character", job.character},
                      {"map", map},
                      {"onto", job.onto},
                      {"ranges", job.ranges}});
  RefuseOverwriting(job.output, job.weights, "the weights");
  RefuseOverwriting(job.output, job.character, "the character file");
  RefuseOverwriting(job.output, map, "the map");
  RefuseOverwriting(job.output, job.onto, "the head");
  RefuseOverwriting(job.output, job.ranges, "the ranges");
}

void Clean(const RetargetJob& job, RetargetResult& result) {
  WeightTake& take = result.take;
  if (job.smooth_weights_hz && *job.smooth_weights_hz >= take.rate.Hz() / 2)
    throw UsageError("smooth-weights", fmt::format("{} Hz is not below half the rate of {} Hz",
                                                   *job.smooth_weights_hz, ToText(take.rate)));
  if (!job.ranges.empty()) {
    const WeightRanges ranges = ReadRanges(ReadFile(job.ranges), InputName(job.ranges));
    result.ranges = ApplyRanges(ranges.ranges, take);
  }
  if (job.swap_sides) SwapSides(take);
  result.missing_frames = FillMissing(take, job.fade_s);
  if (job.smooth_weights_hz)
    SmoothWeights(take.weights, take.names.size(), take.frames, take.rate, *job.smooth_weights_hz);
  result.eyes_of_shapes = SetEyesOfShapes(take);
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
  Clean(job, result);

  Animation animation = ToAnimation(result.take);
  const bool are_templates = animation.layout.shapes.empty();
  if (are_templates) {
    choice.has_shapes = character.has_value();
    if (!character && job.csv_style == CsvStyle::LiveLink)
      throw UsageError("csv-style", "the file has weights of templates; name a --character for livelink");
  } else if (character) {
    animation.layout.templates = TemplateColumns();
    animation.weights = TemplatesOf(result.take, LoadWeightMap(job.map), result.unused);
    animation.shape_weights.clear();
    if (!animation.eyes.empty()) // they turn the character's eyes
      std::erase_if(result.unused, [](const std::string& name) { return name.starts_with("eyeLook"); });
  }
  if (job.output_rate) Resample(animation, *job.output_rate, InputName(job.weights));
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
