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
                const StabilisedMarkers& markers, const std::vector<bool>& frames) {
  for (std::size_t f = 0; f < frames.size(); ++f)
    if (frames[f] && markers.HeadIsFound(f)) neutral.frames.push_back(markers.Number(f));
  for (std::size_t part = 0; part < performer.holders.size(); ++part) {
    double squares = 0, count = 0;
    for (const auto& holder : performer.holders[part])
      for (const std::string& name : holder) {
        const auto place = neutral.pose.find(name);
        if (place == neutral.pose.end()) continue;
        const std::size_t marker = *take.FindMarker(name);
        const auto& [x, y, z] = place->second;
        for (std::size_t f = 0; f < frames.size(); ++f) {
          const auto p = frames[f] ? markers.At(f, marker) : std::nullopt;
          if (!p) continue;
          const VgeTVector off = Difference(*p, {x, y, z});
          squares += Dot(off, off);
          ++count;
        }
      }
    if (count > 0) neutral.spread_mm[part] = std::sqrt(squares / count);
  }
}

/// `file` and `place` state where the range was given.
Neutral AverageOf(const Take& take, const Performer& performer, const FrameRange& range,
                  const RigidHead* rigid, const std::string& file, std::string_view place) {
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
  const StabilisedMarkers markers(take, performer, frames, rigid);
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
void UseEyesAtEase(NeutralPose& pose, const StabilisedMarkers& markers, const std::vector<bool>& eyes_at_ease,
                   const Performer& performer, const RigidHead& rigid) {
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
    const Take lids = markers.Carried(names, to_head);
    for (std::size_t m = 0; m < names.size(); ++m) {
      std::vector<double> x, y, z;
      for (std::size_t f = 0; f < lids.FrameCount(); ++f) {
        const Point* const p = lids.At(f, m);
        if (!p || !eyes_at_ease[f]) continue;
        const Point q = local ? local->Measure(*p, f) : *p;
        x.push_back(q.x), y.push_back(q.y), z.push_back(q.z);
      }
      if (x.empty()) continue;
      const VgeTVector q = TransformPoint(head, {Median(x), Median(y), Median(z)});
      pose[names[m]] = {q.x, q.y, q.z};
    }
  }
}

Neutral Found(const Take& take, const Performer& performer, const RigidHead* rigid) {
  const StabilisedMarkers markers(take, performer, {0, take.FrameCount()}, rigid);

  const std::vector<bool> all(take.FrameCount(), true);
  Neutral neutral;
  neutral.pose = markers.Pose(all, Median);
  neutral.how = fmt::format("the median of all {} frames", take.FrameCount());
  if (neutral.pose.empty()) return neutral;

  const RestFrames at_rest(markers, take, performer, Column(NeutralHead(performer, neutral.pose), 1));
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
  if (rigid) UseEyesAtEase(neutral.pose, markers, at_rest.eyes, performer, *rigid);
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
                    const RigidHead* rigid) {
  if (IsOnePlace(take))
    throw InputError(Code::Unsolvable, take.file, "", "all markers are in one place in every frame",
                     "export the take again");
  Neutral neutral;
  if (asked) {
    neutral = AverageOf(take, performer, *asked, rigid, take.file, "");
  } else if (const auto* range = std::get_if<FrameRange>(&performer.neutral)) {
    neutral = AverageOf(take, performer, *range, rigid, performer.file, "/neutral/frames");
  } else if (const auto* pose = std::get_if<NeutralPose>(&performer.neutral)) {
    const std::vector<std::string> names = performer.Markers();
    if (std::none_of(names.begin(), names.end(),
                     [&](const std::string& name) { return pose->contains(name); }))
      throw InputError(Code::Unmatched, performer.file, "/neutral/positions",
                       "it has none of the performer's markers",
                       "write the pose again with `mien performer`");
    neutral = {.pose = *pose, .how = "the performer file's", .notes = {}};
  } else {
    neutral = Found(take, performer, rigid);
  }

  if (neutral.pose.empty())
    throw InputError(Code::Unsolvable, take.file, "",
                     "no marker of the performer is visible in the neutral pose",
                     "name other frames with --neutral, or check the take with `mien info`");
  NoteStrangeSize(neutral);
  return neutral;
}

} // namespace mien
