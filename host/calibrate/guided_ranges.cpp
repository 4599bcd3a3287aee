#include "host/calibrate/guided_ranges.h"

#include "host/base/error.h"
#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/fit/landmark_scheme.h"
#include "host/performer/guided_poses.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace mien {

namespace {

/// A recording of a pose, by one weight.
struct Recording {
  std::string pose;
  double level = 0;
  double drift = 0;                    ///< from its first half to its second
  std::vector<double> from_level = {}; ///< of each frame
};

/// One weight over a take.
using Curve = std::vector<double>;

Curve CurveOf(const Animation& take, WeightKind kind, std::size_t column) {
  Curve curve;
  for (std::size_t f = 0; f < take.frames.size(); ++f) curve.push_back(take.WeightOf(kind, f, column));
  return curve;
}

Curve Part(const Curve& curve, const FrameSpan& frames) {
  const auto at = [&](std::size_t f) { return curve.begin() + static_cast<std::ptrdiff_t>(f); };
  return {at(frames.first), at(frames.end)};
}

double MedianIn(const Curve& curve, const FrameSpan& frames) {
  Curve weights = Part(curve, frames);
  return Median(weights);
}

Recording RecordingOf(const Curve& curve, const PoseMark& mark) {
  Recording recording{.pose = mark.pose, .level = MedianIn(curve, mark.frames)};
  recording.from_level = Part(curve, mark.frames);
  for (double& weight : recording.from_level) weight -= recording.level;
  if (const std::size_t half = mark.frames.Count() / 2; half > 0)
    recording.drift = std::fabs(MedianIn(curve, {mark.frames.first, mark.frames.first + half}) -
                                MedianIn(curve, {mark.frames.end - half, mark.frames.end}));
  return recording;
}

/// The standard error of a level, from the deviations of the frames from it. A recording may have five
/// frames: their median deviation says too little.
double LevelError(const std::vector<double>& from_level) {
  constexpr double kOfMean = 1.2533; // the error of a median / that of a mean: the root of pi / 2
  double squares = 0;
  for (const double deviation : from_level) squares += deviation * deviation;
  const auto count = static_cast<double>(from_level.size());
  return kOfMean * std::sqrt(squares / (count - 1) / count);
}

std::string Doubt(const Range& range, const std::vector<Recording>& used) {
  constexpr double kLeastTravel = 0.1, kMostDrift = 0.3, kMostError = 0.15;
  constexpr std::size_t kFewestFrames = 5;
  const double width = range.high - range.low;
  if (!(width >= kLeastTravel)) return fmt::format("it moves by {:.2f} only in {}", width, used[0].pose);
  std::vector<double> scatter;
  for (const Recording& recording : used)
    scatter.insert(scatter.end(), recording.from_level.begin(), recording.from_level.end());
  if (scatter.size() < kFewestFrames)
    return fmt::format("{} of {}, and {} are needed", Count(scatter.size(), "frame"), used[0].pose,
                       kFewestFrames);
  if (const double error = LevelError(scatter); error > kMostError * width)
    return fmt::format("noise leaves it uncertain by {:.0f} %", 100 * error / width);
  for (const Recording& recording : used)
    if (recording.drift > kMostDrift * width) return fmt::format("{} is not held", recording.pose);
  return "";
}

/// The range of a weight that these recordings show.
Range RangeOf(const std::string& name, double low, std::vector<Recording> recordings) {
  double strongest = low;
  for (const Recording& recording : recordings) strongest = std::max(strongest, recording.level);
  std::erase_if(recordings, [&](const Recording& r) { return r.level - low < (strongest - low) / 2; });
  std::vector<double> levels;
  for (const Recording& recording : recordings) levels.push_back(recording.level);
  Range range{.name = name, .low = low, .high = levels.empty() ? low : Median(levels)};
  if (recordings.empty()) return range.why = "it does not move in its poses", range;
  range.seen = static_cast<int>(recordings.size());
  range.why = Doubt(range, recordings);
  range.trusted = range.why.empty();
  if (range.trusted)
    range.why = recordings.size() == 1
                    ? recordings[0].pose
                    : fmt::format("{} of {}", Count(recordings.size(), "recording"), recordings[0].pose);
  return range;
}

Point MedianPoint(std::array<std::vector<double>, 3>& axes) {
  return {Median(axes[0]), Median(axes[1]), Median(axes[2])};
}

/// Where a face's markers are in the head's frame, as medians over frames; without those that are not seen.
std::map<std::string, Point> PlacesIn(const Take& take, const Animation& animation,
                                      const std::vector<std::string>& markers,
                                      const std::vector<FrameSpan>& spans) {
  std::map<std::string, Point> places;
  for (const std::string& marker : markers) {
    const std::optional<std::size_t> m = take.FindMarker(marker);
    if (!m) continue;
    std::array<std::vector<double>, 3> axes;
    for (const FrameSpan& span : spans)
      for (std::size_t f = span.first; f < span.end; ++f)
        if (const Point* const p = take.At(f, *m)) {
          const VgeTVector p_head =
              TransformPoint(InverseOfOrthogonalAxes(animation.heads[f]), {p->x, p->y, p->z});
          axes[0].push_back(p_head.x);
          axes[1].push_back(p_head.y);
          axes[2].push_back(p_head.z);
        }
    if (!axes[0].empty()) places[marker] = MedianPoint(axes);
  }
  return places;
}

double LargestDistance(const std::map<std::string, Point>& a, const std::map<std::string, Point>& b) {
  double most = 0;
  for (const auto& [marker, p] : a)
    if (const auto q = b.find(marker); q != b.end())
      most = std::max(most, std::hypot(p.x - q->second.x, p.y - q->second.y, p.z - q->second.z));
  return most;
}

} // namespace

std::vector<Range> GuidedRanges(const Animation& take, const std::vector<PoseMark>& marks, WeightKind kind) {
  std::vector<Range> ranges;
  const std::vector<std::string> names = take.layout.WeightNames(kind);
  for (std::size_t column = 0; column < names.size(); ++column) {
    const std::string& name = names[column];
    const Curve curve = CurveOf(take, kind, column);
    std::vector<double> at_rest;
    std::vector<Recording> recordings;
    for (const PoseMark& mark : marks) {
      const GuidedPose& pose = *FindGuidedPose(mark.pose);
      if (pose.name == kRestPose) {
        const Curve weights = Part(curve, mark.frames);
        at_rest.insert(at_rest.end(), weights.begin(), weights.end());
      }
      const std::vector<std::string_view>& shown =
          kind == WeightKind::Templates ? pose.templates : pose.shapes;
      if (std::find(shown.begin(), shown.end(), name) != shown.end())
        recordings.push_back(RecordingOf(curve, mark));
    }
    if (!recordings.empty())
      ranges.push_back(RangeOf(name, at_rest.empty() ? 0 : Median(at_rest), std::move(recordings)));
  }
  return ranges;
}

std::vector<CalibrationRecord::Pose> RecordPoses(const Take& take, const Animation& animation,
                                                 const Performer& performer, const NeutralPose& neutral,
                                                 const std::vector<PoseMark>& marks,
                                                 const std::string& file) {
  constexpr double kLeastMotion_mm = 1;
  const std::vector<std::string> markers = FitMarkers(take, performer);
  std::vector<FrameSpan> rest_spans;
  for (const PoseMark& mark : marks)
    if (mark.pose == kRestPose) rest_spans.push_back(mark.frames);
  std::map<std::string, Point> rest = PlacesIn(take, animation, markers, rest_spans);
  if (rest_spans.empty()) {
    const VgeAMatrix to_head = InverseOfOrthogonalAxes(animation.layout.neutral_head);
    for (const auto& [marker, p] : neutral) {
      const VgeTVector p_head = TransformPoint(to_head, {p.x, p.y, p.z});
      rest[marker] = {p_head.x, p_head.y, p_head.z};
    }
  }
  std::vector<CalibrationRecord::Pose> poses;
  for (const PoseMark& mark : marks) {
    CalibrationRecord::Pose pose{.name = mark.pose,
                                 .frames = {take.frames[mark.frames.first], take.frames[mark.frames.end - 1]},
                                 .points = PlacesIn(take, animation, markers, {mark.frames})};
    if (const double most = LargestDistance(pose.points, rest);
        mark.pose != kRestPose && most < kLeastMotion_mm)
      throw InputError(
          Code::Unsolvable, file, fmt::format("{}", mark.line),
          fmt::format("nothing moves in {}: in frames {} to {} every marker is within {} mm of its "
                      "place at rest",
                      mark.pose, pose.frames.first, pose.frames.last, kLeastMotion_mm),
          "correct the frames, or leave the pose out");
    poses.push_back(std::move(pose));
  }
  return poses;
}

} // namespace mien
