#include "host/performer/neutral.h"

#include "host/base/error.h"
#include "host/base/face_parts.h"
#include "host/base/text.h"
#include "host/cleaning/rigid_motion.h"
#include "host/performer/neutral_head.h"
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

double Median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 == 1) return *middle;
  return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

double Mean(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) sum += value;
  return sum / static_cast<double>(values.size());
}

/// The value below which the given fraction of the sorted values is, interpolated between neighbours.
double Percentile(const std::vector<double>& sorted, double fraction) {
  const double at = fraction * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (at - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

/// The performer's markers over some frames of a take, with the head's motion removed.
class StabilisedMarkers {
public:
  StabilisedMarkers(const Take& take, const Performer& performer, const FrameSpan& frames)
      : take_(take), names_(performer.Markers()), indices_(MarkerIndices(take, names_)),
        head_(MarkerIndices(take, performer.head)), frames_(frames), heads_(frames.Count(), VgeAMatrix()) {
    if (head_.size() >= 3 && frames_.Count() > 1) RemoveHeadMotion(); // one frame has none
  }

  std::size_t FrameCount() const { return frames_.Count(); }
  bool AnyIsSeen() const {
    for (std::size_t f = frames_.first; f < frames_.end; ++f)
      for (const std::size_t m : indices_)
        if (take_.At(f, m)) return true;
    return false;
  }
  bool HeadIsNeverFound() const {
    return std::none_of(heads_.begin(), heads_.end(), [](const auto& h) { return h; });
  }

  /// A marker's position in the head's frame; nothing for a gap, and in frames in which the head was not
  /// found.
  std::optional<VgeTVector> At(std::size_t f, std::size_t marker_index) const {
    const Point* p = take_.At(frames_.first + f, marker_index);
    if (!p || !heads_[f]) return std::nullopt;
    return TransformPoint(*heads_[f], {p->x, p->y, p->z});
  }

  /// Each marker's position over the frames for which `use` is true: per axis, `middle_of` of all values.
  template <class Use, class MiddleOf>
  NeutralPose Pose(Use use, MiddleOf middle_of) const {
    NeutralPose pose;
    for (std::size_t m = 0; m < names_.size(); ++m)
      if (const auto p = Place(indices_[m], use, middle_of)) pose[names_[m]] = *p;
    return pose;
  }

private:
  template <class Use, class MiddleOf>
  std::optional<Point> Place(std::size_t marker_index, Use use, MiddleOf middle_of) const {
    std::vector<double> x, y, z;
    for (std::size_t f = 0; f < frames_.Count(); ++f) {
      if (!use(f)) continue;
      if (const auto p = At(f, marker_index)) x.push_back(p->x), y.push_back(p->y), z.push_back(p->z);
    }
    if (x.empty()) return std::nullopt;
    return Point{middle_of(x), middle_of(y), middle_of(z)};
  }

  RigidMotion::Markers HeadMarkers(std::size_t f) const {
    RigidMotion::Markers markers;
    for (std::size_t slot = 0; slot < head_.size(); ++slot)
      if (const Point* p = take_.At(frames_.first + f, head_[slot])) markers[slot] = *p;
    return markers;
  }

  void SolveHeads(const RigidMotion::Markers& reference) {
    RigidMotion motion(reference);
    for (std::size_t f = 0; f < frames_.Count(); ++f) {
      const auto head = motion.Solve(HeadMarkers(f));
      heads_[f] = head ? std::optional(InverseOfOrthogonalAxes(*head)) : std::nullopt;
    }
  }

  // The noise of a single reference frame would be in every head frame; two rounds with the median remove it.
  // More rounds do not converge: each drifts by a tenth of a millimetre.
  void RemoveHeadMotion() {
    const auto seen = [](const RigidMotion::Markers& markers) {
      return std::count_if(markers.begin(), markers.end(),
                           [](const auto& marker) { return marker.has_value(); });
    };
    RigidMotion::Markers reference;
    for (std::size_t f = 0; f < frames_.Count(); ++f)
      if (const auto markers = HeadMarkers(f); seen(markers) > seen(reference)) reference = markers;

    SolveHeads(reference);
    for (int round = 0; round < 2; ++round) {
      for (std::size_t slot = 0; slot < head_.size(); ++slot)
        reference[slot] = Place(
            head_[slot], [](std::size_t) { return true; }, Median);
      SolveHeads(reference);
    }
  }

  const Take& take_;
  std::vector<std::string> names_;
  std::vector<std::size_t> indices_; // of names_
  std::vector<std::size_t> head_;
  FrameSpan frames_;
  std::vector<std::optional<VgeAMatrix>> heads_; // from the take to the head's frame (size: frames)
};

/// Whether each frame's opening is between two percentiles of all.
class Usual {
public:
  explicit Usual(std::vector<std::optional<double>> openings) : openings_(std::move(openings)) {
    for (const auto& opening : openings_)
      if (opening) sorted_.push_back(*opening);
    std::sort(sorted_.begin(), sorted_.end());
  }

  /// Always true if the opening is measured in no frame.
  bool Between(double low, double high, std::size_t f) const {
    if (sorted_.empty()) return true;
    return openings_[f] && *openings_[f] >= Percentile(sorted_, low) &&
           *openings_[f] <= Percentile(sorted_, high);
  }

private:
  std::vector<std::optional<double>> openings_;
  std::vector<double> sorted_;
};

class RestFrames {
public:
  RestFrames(const StabilisedMarkers& markers, const Take& take, const Performer& performer,
             const VgeTVector& up) {
    const auto holder = [&](std::size_t part, std::size_t h) {
      return MarkerIndices(take, performer.holders[part][h]);
    };
    const auto height = [&](std::size_t f, const std::vector<std::size_t>& of) -> std::optional<double> {
      std::vector<double> heights;
      for (const std::size_t m : of)
        if (const auto p = markers.At(f, m)) heights.push_back(Dot(*p, up));
      if (heights.empty()) return std::nullopt;
      return Mean(heights);
    };
    // Without markers on the lower lid, the height of the upper one is used.
    const auto opening = [&](std::size_t f, const auto& upper, const auto& lower) -> std::optional<double> {
      const auto top = height(f, upper),
                 bottom = lower.empty() ? std::optional<double>(0.0) : height(f, lower);
      if (!top || !bottom) return std::nullopt;
      return *top - *bottom;
    };

    struct Opening {
      std::vector<std::size_t> upper, lower;
    };
    const Opening lids[2] = {{holder(kLeftEye, kUpperEyeHolder), holder(kLeftEye, kLowerEyeHolder)},
                             {holder(kRightEye, kUpperEyeHolder), holder(kRightEye, kLowerEyeHolder)}};
    const Opening lips = {holder(kMouth, kUpperMouthHolder), holder(kMouth, kLowerMouthHolder)};
    std::vector<std::optional<double>> eyes(markers.FrameCount()), mouth(markers.FrameCount());
    for (std::size_t f = 0; f < markers.FrameCount(); ++f) {
      std::vector<double> openings;
      for (const Opening& eye : lids)
        if (const auto measured = opening(f, eye.upper, eye.lower)) openings.push_back(*measured);
      if (!openings.empty()) eyes[f] = Mean(openings);
      mouth[f] = opening(f, lips.upper, lips.lower);
    }

    const Usual usual_eyes(std::move(eyes)), usual_mouth(std::move(mouth));
    for (std::size_t f = 0; f < markers.FrameCount(); ++f)
      at_rest_.push_back(usual_eyes.Between(0.3, 0.8, f) && usual_mouth.Between(0.0, 0.5, f));
  }

  std::ptrdiff_t Count() const { return std::count(at_rest_.begin(), at_rest_.end(), true); }
  bool operator()(std::size_t f) const { return at_rest_[f]; }

private:
  std::vector<bool> at_rest_;
};

const auto kAllFrames = [](std::size_t) { return true; };

/// `file` and `place` state where the range was given.
Neutral AverageOf(const Take& take, const Performer& performer, const FrameRange& range,
                  const std::string& file, std::string_view place) {
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
  const StabilisedMarkers markers(take, performer, frames);
  if (markers.HeadIsNeverFound() && markers.AnyIsSeen())
    throw InputError(
        Code::Unsolvable, file, place,
        fmt::format("too few head markers are visible in frames {} to {} to remove the head's motion",
                    range.first, range.last),
        "name other frames, or a single one");
  neutral.pose = markers.Pose(kAllFrames, Mean);
  return neutral;
}

Neutral Found(const Take& take, const Performer& performer) {
  const StabilisedMarkers markers(take, performer, {0, take.FrameCount()});

  Neutral neutral;
  neutral.pose = markers.Pose(kAllFrames, Median);
  neutral.how = fmt::format("the median of all {} frames", take.FrameCount());
  if (neutral.pose.empty()) return neutral;

  const RestFrames at_rest(markers, take, performer, Column(NeutralHead(performer, neutral.pose), 1));
  constexpr std::ptrdiff_t kFewest = 5; // a median of fewer would have the noise of one or two frames
  if (at_rest.Count() < kFewest) {
    neutral.notes.push_back(
        {Code::Assumed, "",
         fmt::format("frames with the eyes open and the lips together: only {}, so all frames were used; "
                     "name better ones with --neutral",
                     at_rest.Count())});
    return neutral;
  }
  NeutralPose rest = markers.Pose(at_rest, Median);
  rest.merge(neutral.pose); // a marker that is hidden in all rest frames keeps its position from the others
  neutral.pose = std::move(rest);
  neutral.how = fmt::format("the median of {} rest frames", at_rest.Count());
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

Neutral FindNeutral(const Take& take, const Performer& performer, const std::optional<FrameRange>& asked) {
  if (IsOnePlace(take))
    throw InputError(Code::Unsolvable, take.file, "", "all markers are in one place in every frame",
                     "export the take again");
  Neutral neutral;
  if (asked) {
    neutral = AverageOf(take, performer, *asked, take.file, "");
  } else if (const auto* range = std::get_if<FrameRange>(&performer.neutral)) {
    neutral = AverageOf(take, performer, *range, performer.file, "/neutral/frames");
  } else if (const auto* pose = std::get_if<NeutralPose>(&performer.neutral)) {
    const std::vector<std::string> names = performer.Markers();
    if (std::none_of(names.begin(), names.end(),
                     [&](const std::string& name) { return pose->contains(name); }))
      throw InputError(Code::Unmatched, performer.file, "/neutral/positions",
                       "it has none of the performer's markers",
                       "write the pose again with `mien performer`");
    neutral = {.pose = *pose, .how = "the performer file's", .notes = {}};
  } else {
    neutral = Found(take, performer);
  }

  if (neutral.pose.empty())
    throw InputError(Code::Unsolvable, take.file, "",
                     "no marker of the performer is visible in the neutral pose",
                     "name other frames with --neutral, or check the take with `mien info`");
  NoteStrangeSize(neutral);
  return neutral;
}

} // namespace mien
