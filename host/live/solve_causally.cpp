#include "host/live/solve_causally.h"

#include "host/base/error.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <span>

namespace mien {

namespace {

/// Feeds all frames of a recording to a face, and collects what comes out. `fill(frame, input)` fills in a
/// frame.
template <class Fill>
CausallySolved Solve(LiveFace& face, std::span<const std::int64_t> numbers, std::span<const double> times,
                     const std::function<void(std::size_t, std::size_t)>& progress, Fill fill) {
  CausallySolved solved;
  Animation& animation = solved.animation;
  LiveInput input;
  bool any_eyes = false;
  const std::function<void(const LiveOutput&)> collect = [&](const LiveOutput& output) {
    animation.frames.push_back(output.frame);
    animation.times.push_back(output.time_s);
    animation.weights.append(std::span<const double>(output.weights));
    animation.shape_weights.append(std::span<const double>(output.shapes));
    animation.heads.push_back(output.head);
    animation.eyes.push_back(output.eyes.value_or(Eyes{}));
    any_eyes |= output.eyes.has_value();
    animation.local_clusters.append(std::span<const ClusterTransform>(output.local));
    animation.global_clusters.append(std::span<const ClusterTransform>(output.global));
    solved.learning_frames += output.learning;
    solved.unknown_heads += output.face_seen && !output.head_known && !output.learning;
  };
  for (std::size_t f = 0; f < numbers.size(); ++f) {
    if (progress) progress(f, numbers.size());
    fill(f, input);
    solved.lost_frames += face.Receive(input).lost;
    face.Solve(numbers[f], times[f], collect);
  }
  animation.layout = face.Layout();
  for (std::size_t f = 0; f < solved.learning_frames; ++f) animation.heads[f] = animation.layout.neutral_head;
  if (!any_eyes) animation.eyes.clear();
  return solved;
}

} // namespace

CausallySolved SolveCausally(const Take& take, const LiveSetup& setup,
                             const std::function<void(std::size_t, std::size_t)>& progress) {
  LiveFace face({.name = take.name, .kind = LiveKind::Markers, .names = take.markers}, setup);
  face.SetTimecode(take.timecode);
  CausallySolved solved =
      Solve(face, take.frames, take.times, progress, [&](std::size_t f, LiveInput& input) {
        input.markers.resize(take.MarkerCount());
        for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
          const Point* const p = take.At(f, m);
          input.markers[m] = p ? std::optional(*p) : std::nullopt;
        }
      });
  if (face.IsLearning())
    throw InputError(Code::Unsolvable, take.file, "",
                     fmt::format("the first {} s do not show the neutral face", setup.causal.learn_s),
                     "name a take that shows it with --neutral-take, or set fewer seconds with --learn");
  solved.animation.layout.rate = setup.causal.output_rate.value_or(take.rate);
  return solved;
}

CausallySolved SolveCausally(const WeightTake& take, const LiveSetup& setup,
                             const std::function<void(std::size_t, std::size_t)>& progress) {
  LiveFace face({.name = take.name, .kind = LiveKind::Weights, .names = take.names}, setup);
  face.SetTimecode(take.timecode);
  const std::size_t names = take.names.size();
  CausallySolved solved =
      Solve(face, take.frames, take.times, progress, [&](std::size_t f, LiveInput& input) {
        const auto weights = take.weights.subspan(f * names, names);
        input.weights.assign(weights.begin(), weights.end());
        input.head.reset(), input.eyes.reset(), input.head_place.reset();
        if (f < take.heads.size()) {
          const HeadAngles& head = take.heads[f];
          if (!std::isnan(head.yaw) && !std::isnan(head.pitch) && !std::isnan(head.roll)) input.head = head;
        }
        if (f < take.head_places.size() && !std::isnan(take.head_places[f].x))
          input.head_place = take.head_places[f];
        if (f < take.eyes.size()) {
          const Eyes& eyes = take.eyes[f];
          if (!std::isnan(eyes[0].yaw + eyes[0].pitch + eyes[1].yaw + eyes[1].pitch)) input.eyes = eyes;
        }
      });
  solved.animation.layout.rate = setup.causal.output_rate.value_or(take.rate);
  solved.animation.layout.timecode_offset_s = take.timecode_offset_s;
  return solved;
}

} // namespace mien
