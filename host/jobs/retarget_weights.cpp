#include "host/jobs/retarget_weights.h"

#include "host/animation/resample.h"
#include "host/base/long_vector.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/output_place.h"
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

void SetTimecode(const RetargetJob& job, WeightTake& take) {
  if (!job.timecode) return;
  take.timecode = RequireTimecode(*job.timecode, take.rate);
  take.timecode_offset_s = 0;
}

void Clean(const RetargetJob& job, RetargetResult& result) {
  WeightTake& take = result.take;
  CheckFilters(job, take.rate);
  SetTimecode(job, take);
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
    result.joined = JoinHead(*result.landmarks, result.take.file, animation);
  }
  if (!are_templates && character) {
    animation.layout.templates = TemplateColumns();
    animation.weights = TemplatesOf(result.take, LoadWeightMap(job.map), result.unused);
    animation.shape_weights.clear();
    animation.layout.shapes.clear();
    if (!animation.eyes.empty()) // they turn the character's eyes
      std::erase_if(result.unused, [](const std::string& name) { return name.starts_with("eyeLook"); });
  }
  if (job.output_rate) Resample(animation, *job.output_rate, result.take.file);
  return animation;
}

/// The weights solved frame by frame, with the shapes of a character, if there is one.
Animation SolveStream(const RetargetJob& job, const Character* character, RetargetResult& result,
                      const JobProgress& progress) {
  WeightTake& take = result.take;
  SetTimecode(job, take);
  std::vector<Range> ranges;
  if (!job.ranges.empty()) {
    ranges = ReadRanges(ReadFile(job.ranges), InputName(job.ranges)).ranges;
    WeightTake names; // what becomes of the ranges
    names.names = take.names;
    result.ranges = ApplyRanges(ranges, names);
  }
  CausallySolved solved = SolveCausally(job, take, ranges, character, progress);
  result.causal = {solved.learning_frames, solved.lost_frames, solved.unknown_heads};
  if (solved.animation.layout.shapes.empty() && !character && job.csv_style == CsvStyle::LiveLink)
    throw UsageError("csv-style", "the file has weights of templates; name a --character for livelink");
  return std::move(solved.animation);
}

} // namespace

void CheckRetarget(const RetargetJob& job) {
  CheckCausal(job);
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

Animation RetargetWeights(const RetargetJob& job, const Character* character, RetargetResult& result,
                          const JobProgress& progress) {
  if (character) result.character = character->name;
  Animation animation;
  if (job.causal.on) {
    animation = SolveStream(job, character, result, progress);
  } else {
    Clean(job, result);
    animation = AnimationOf(job, character, result, progress);
    if (character) SolveCharacter(animation, *character, job.expressions, nullptr, job.threads);
  }
  animation.CheckFinite(result.take.file, job.threads);
  return animation;
}

} // namespace mien
