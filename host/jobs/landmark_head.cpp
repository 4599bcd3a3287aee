#include "host/jobs/landmark_head.h"

#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/jobs/output_place.h"
#include "host/jobs/read_points.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/performer/rigid_head.h"
#include "host/solve/solve_gaze.h"
#include "host/solve/solve_take.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace mien {

namespace {

/// Of each frame of an animation, its place among those of another.
using Places = std::vector<std::optional<std::size_t>>;

double HalfAFrame(const Animation& animation) { return 0.5 / animation.layout.rate.Hz(); }

Places PlacesByNumber(const Animation& animation, const Animation& other) {
  Places places(animation.frames.size());
  for (std::size_t f = 0; f < places.size(); ++f) {
    const auto found = std::lower_bound(other.frames.begin(), other.frames.end(), animation.frames[f]);
    if (found == other.frames.end() || *found != animation.frames[f]) continue;
    const auto place = static_cast<std::size_t>(found - other.frames.begin());
    if (std::fabs(other.times[place] - animation.times[f]) <= HalfAFrame(animation)) places[f] = place;
  }
  return places;
}

/// To each the first that is near enough, and to no two the same.
Places PlacesByTime(const Animation& animation, const Animation& other) {
  Places places(animation.frames.size());
  std::size_t next = 0;
  for (std::size_t f = 0; f < places.size(); ++f) {
    while (next < other.times.size() && other.times[next] < animation.times[f] - HalfAFrame(animation))
      ++next;
    if (next < other.times.size() && other.times[next] <= animation.times[f] + HalfAFrame(animation))
      places[f] = next++;
  }
  return places;
}

std::size_t CountOf(const Places& places) {
  return static_cast<std::size_t>(
      std::count_if(places.begin(), places.end(), [](const auto& place) { return place.has_value(); }));
}

} // namespace

LandmarkHead SolveLandmarkHead(const std::string& path, const ReadOptions& reading,
                               const std::optional<double>& smooth_gaze_hz, const JobProgress& progress,
                               FileAccess access) {
  const MappedFile file(path, ReadingProgress(progress), access);
  const std::string name = InputName(path);
  const Take take = ReadPoints(file.Bytes(), name, reading);
  const std::size_t landmarks = LandmarkCount(take.markers);
  if (landmarks == 0)
    throw InputError(Code::Unsupported, name, "",
                     "the file has neither the 68 nor the 478 landmarks of a face",
                     "name a file of face landmarks, or solve the markers with mien solve");
  if (progress) progress(JobStage::Preparing, 0, 0);
  Performer performer = LoadPerformer(fmt::format("landmarks{}", landmarks));
  CheckMarkers(performer, take);
  LeaveOutMissingIrises(performer, take);
  SolveOptions options;
  options.smooth_gaze_hz = smooth_gaze_hz;
  if (smooth_gaze_hz && *smooth_gaze_hz >= take.rate.Hz() / 2)
    throw UsageError("smooth-gaze", fmt::format("{} Hz is not below half the landmarks' rate of {} Hz",
                                                *smooth_gaze_hz, ToText(take.rate)));
  const std::optional<RigidHead> rigid = LearnRigidHead(take, performer);
  const RigidHead* const learnt = rigid ? &*rigid : nullptr;
  const Neutral neutral = FindNeutral(take, performer, std::nullopt, learnt);
  SolvedTake solved =
      SolveTake(take, performer, neutral.pose, options, learnt, [&](std::size_t frame, std::size_t frames) {
        if (progress) progress(JobStage::Solving, frame, frames);
      });
  SolveGaze(solved, take, performer, neutral, options);
  return {.file = name,
          .format = std::string(take.format),
          .notes = take.notes,
          .animation = std::move(solved.animation),
          .gaze = solved.report.gaze.source};
}

JoinedFrames JoinHead(const LandmarkHead& head, const std::string& file, Animation& animation) {
  const Animation& from = head.animation;
  JoinedFrames joined;
  Places places = PlacesByNumber(animation, from);
  if (CountOf(places) == 0) {
    joined.by_time = true;
    places = PlacesByTime(animation, from);
  }
  joined.matched = CountOf(places);
  if (joined.matched == 0)
    throw InputError(
        Code::Contradiction, head.file, "",
        fmt::format("no frame has the time of one in {}: {:.6g} to {:.6g} s, and {:.6g} to {:.6g} s there",
                    file, from.times.front(), from.times.back(), animation.times.front(),
                    animation.times.back()),
        "name the landmarks and the weights of one recording");
  joined.without = places.size() - joined.matched;
  joined.unused = from.frames.size() - joined.matched;

  std::size_t last =
      **std::find_if(places.begin(), places.end(), [](const auto& place) { return place.has_value(); });
  animation.layout.neutral_head = from.layout.neutral_head;
  animation.eyes.resize(from.eyes.empty() ? animation.eyes.size() : places.size());
  for (std::size_t f = 0; f < places.size(); ++f) {
    last = places[f].value_or(last);
    animation.heads[f] = from.heads[last];
    if (!from.eyes.empty()) animation.eyes[f] = from.eyes[last];
  }
  return joined;
}

} // namespace mien
