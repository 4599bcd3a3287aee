#include "host/performer/neutral.h"

#include "host/base/error.h"
#include "host/base/face_parts.h"
#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/performer/local_anchors.h"
#include "host/performer/neutral_head.h"
#include "host/performer/rest_frames.h"
#include "host/performer/stabilised_markers.h"
#include "host/takes/frame_range.h"
#include "host/takes/frame_span.h"
#include "host/takes/marker_indices.h"
#include "host/takes/one_place.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace mien {

namespace {

std::ptrdiff_t Count(const std::vector<bool>& frames) {
  return std::count(frames.begin(), frames.end(), true);
}

/// Which frames the pose was taken from, of those that `markers` has, and how far each part strays from it in
/// them.
void NoteFrames(Neutral& neutral, const Take& take, const Performer& performer,
                const StabilisedMarkers& markers, const std::vector<bool>& use) {
  const std::vector<std::size_t> frames = FramesOf(use);
  for (const std::size_t f : frames)
    if (markers.HeadIsFound(f)) neutral.frames.push_back(markers.Number(f));
  std::vector<std::size_t> indices, parts;
  std::vector<VgeTVector> places;
  for (std::size_t part = 0; part < performer.holders.size(); ++part)
    for (const auto& holder : performer.holders[part])
      for (const std::string& name : holder) {
        const auto place = neutral.pose.find(name);
        if (place == neutral.pose.end()) continue;
        indices.push_back(*take.FindMarker(name));
        parts.push_back(part);
        places.push_back({place->second.x, place->second.y, place->second.z});
      }
  std::vector<std::vector<double>> squares(indices.size());
  markers.ForEachPlace(indices, frames, [&](std::size_t i, std::size_t, const VgeTVector& p) {
    const VgeTVector off = Difference(p, places[i]);
    squares[i].push_back(Dot(off, off));
  });
  // One marker after another, although threads walk over several at once: so the sum is always the same.
  std::array<double, 9> sums{}, counts{};
  for (std::size_t i = 0; i < indices.size(); ++i)
    for (const double square : squares[i]) sums[parts[i]] += square, ++counts[parts[i]];
  for (std::size_t part = 0; part < sums.size(); ++part)
    if (counts[part] > 0) neutral.spread_mm[part] = std::sqrt(sums[part] / counts[part]);
}

/// `file` and `place` state where the range was given.
Neutral AverageOf(const Take& take, const Performer& performer, const FrameRange& range,
                  const RigidHead* rigid, const std::string& file, std::string_view place,
                  std::size_t threads) {
  const FrameSpan frames = FramesIn(range, take.frames);
  if (frames.Count() == 0)
    throw InputError(
        Code::NotFound, file, place,
        fmt::format("there are no frames {} to {} for the neutral pose", range.first, range.last),
        fmt::format("the take goes from frame {} to {}", take.frames.front(), take.frames.back()));
  Neutral neutral;
  neutral.how = frames.Count() == 1 ? fmt::format("frame {}", take.frames[frames.first])
                                    : fmt::format("the average of frames {} to {}", take.frames[frames.first],
                                                  take.frames[frames.end - 1]);
  const StabilisedMarkers markers(take, performer, frames, rigid, threads);
  if (markers.HeadIsNeverFound() && markers.AnyIsSeen())
    throw InputError(
        Code::Unsolvable, file, place,
        fmt::format("too few head markers are visible in frames {} to {} to remove the head's motion",
                    range.first, range.last),
        "name other frames, or a single one");
  const std::vector<bool> all(frames.Count(), true);
  neutral.pose = markers.Pose(all, Mean);
  NoteFrames(neutral, take, performer, markers, all);
  return neutral;
}

/// Gives the eyes the places that they have over all frames with the eyes at ease, whatever the mouth does in
/// them. Each frame is measured against the eye's own anchors, as it is when it is solved.
void UseEyesAtEase(NeutralPose& pose, const Take& take, const StabilisedMarkers& markers,
                   const std::vector<bool>& eyes_at_ease, const Performer& performer,
                   const RigidHead& rigid) {
  const std::vector<std::size_t> at_ease = FramesOf(eyes_at_ease);
  const VgeAMatrix head = NeutralHead(performer, pose), to_head = InverseOfOrthogonalAxes(head);
  const NeutralPose common = pose;
  for (const std::size_t part : {kLeftEye, kRightEye}) {
    const std::vector<std::string> anchors = AnchorsOf(part, performer, common, rigid);
    std::vector<Point> rest;
    for (const std::string& anchor : anchors) {
      const Point& p = common.at(anchor);
      const VgeTVector q = TransformPoint(to_head, {p.x, p.y, p.z});
      rest.push_back({q.x, q.y, q.z});
    }
    std::optional<LocalAnchors> local;
    if (!anchors.empty()) local.emplace(markers.Carried(anchors, to_head), rest);
    std::vector<std::string> names;
    for (const auto& holder : performer.holders[part])
      names.insert(names.end(), holder.begin(), holder.end());
    const std::vector<std::string>& iris = performer.irises[part - kLeftEye];
    names.insert(names.end(), iris.begin(), iris.end());
    const std::vector<std::size_t> lids = MarkerIndices(take, names);
    struct Column {
      std::vector<double> x, y, z;
    };
    std::vector<Column> columns(names.size());
    markers.ForEachPlace(lids, at_ease, [&](std::size_t i, std::size_t f, const VgeTVector& place) {
      const VgeTVector p = TransformPoint(to_head, place);
      const Point q = local ? local->Measure({p.x, p.y, p.z}, f) : Point{p.x, p.y, p.z};
      columns[i].x.push_back(q.x), columns[i].y.push_back(q.y), columns[i].z.push_back(q.z);
    });
    for (std::size_t i = 0; i < names.size(); ++i) {
      auto& [x, y, z] = columns[i];
      if (x.empty()) continue;
      const VgeTVector q = TransformPoint(head, {Median(x), Median(y), Median(z)});
      pose[names[i]] = {q.x, q.y, q.z};
    }
  }
}

Neutral Found(const Take& take, const Performer& performer, const RigidHead* rigid, std::size_t threads) {
  const StabilisedMarkers markers(take, performer, {0, take.FrameCount()}, rigid, threads);

  const std::vector<bool> all(take.FrameCount(), true);
  Neutral neutral;
  neutral.pose = markers.Pose(all, Median);
  neutral.how = fmt::format("the median of all {} frames", take.FrameCount());
  if (neutral.pose.empty()) return neutral;

  const RestFrames at_rest(markers, take, performer, Column(NeutralHead(performer, neutral.pose), 1),
                           threads);
  constexpr std::ptrdiff_t kFewest = 5; // a median of fewer would have the noise of one or two frames
  if (Count(at_rest.whole) < kFewest) {
    neutral.notes.push_back(
        {Code::Assumed, "",
         fmt::format("frames with the eyes open and the lips together: only {}, so all frames were used; "
                     "name better ones with --neutral",
                     Count(at_rest.whole))});
    NoteFrames(neutral, take, performer, markers, all);
    return neutral;
  }
  const auto pose_of = [&](const std::vector<bool>& frames) {
    NeutralPose pose = markers.Pose(frames, Median);
    pose.insert(neutral.pose.begin(),
                neutral.pose.end()); // a marker that is hidden in all of them keeps its place
    return pose;
  };
  if (Count(at_rest.stricter) >= kFewest) neutral.stricter = pose_of(at_rest.stricter);
  neutral.pose = pose_of(at_rest.whole);
  if (rigid) UseEyesAtEase(neutral.pose, take, markers, at_rest.eyes, performer, *rigid);
  neutral.how = fmt::format("the median of {} rest frames", Count(at_rest.whole));
  NoteFrames(neutral, take, performer, markers, at_rest.whole);
  return neutral;
}

/// A take whose unit is not the declared one can be solved, but tolerances and residuals are in millimetres.
void NoteStrangeSize(Neutral& neutral) {
  Point low = neutral.pose.begin()->second, high = low;
  for (const auto& [name, p] : neutral.pose) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  const double across = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
  constexpr double kSmallest = 20, kLargest = 2000; // mm; faces with head markers measure 100 to 400
  if (across > 0 && (across < kSmallest || across > kLargest))
    neutral.notes.push_back({Code::Doubtful, "",
                             fmt::format("the neutral face is {:.3g} mm across: the take is probably in "
                                         "another unit, and slipped head markers are then not found",
                                         across)});
}

} // namespace

Neutral FindNeutral(const Take& take, const Performer& performer, const std::optional<FrameRange>& asked,
                    const RigidHead* rigid, std::size_t threads) {
  if (IsOnePlace(take))
    throw InputError(Code::Unsolvable, take.file, "", "all markers are in one place in every frame",
                     "export the take again");
  Neutral neutral;
  if (asked) {
    neutral = AverageOf(take, performer, *asked, rigid, take.file, "", threads);
  } else if (const auto* range = std::get_if<FrameRange>(&performer.neutral)) {
    neutral = AverageOf(take, performer, *range, rigid, performer.file, "/neutral/frames", threads);
  } else if (const auto* pose = std::get_if<NeutralPose>(&performer.neutral)) {
    const std::vector<std::string> names = performer.Markers();
    if (std::none_of(names.begin(), names.end(),
                     [&](const std::string& name) { return pose->contains(name); }))
      throw InputError(Code::Unmatched, performer.file, "/neutral/positions",
                       "it has none of the performer's markers",
                       "write the pose again with `mien performer`");
    neutral = {.pose = *pose, .how = "the performer file's", .notes = {}};
  } else {
    neutral = Found(take, performer, rigid, threads);
  }

  if (neutral.pose.empty())
    throw InputError(Code::Unsolvable, take.file, "",
                     "no marker of the performer is visible in the neutral pose",
                     "name other frames with --neutral, or check the take with `mien info`");
  NoteStrangeSize(neutral);
  return neutral;
}

} // namespace mien
