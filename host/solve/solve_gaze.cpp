#include "host/solve/solve_gaze.h"

#include "host/base/face_parts.h"
#include "host/base/long_vector.h"
#include "host/base/statistics.h"
#include "host/cleaning/fill_gaps.h"
#include "host/cleaning/low_pass.h"
#include "host/cleaning/rest_in_gaps.h"
#include "host/solve/gaze_limits.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>
#include <vector>

namespace mien {

namespace {

constexpr double kDegree = std::numbers::pi / 180;

/// Of both eyes in one frame; nothing for one that does not show where it looks.
using SeenEyes = std::array<std::optional<EyeAngles>, 2>;

/// Of each frame and eye the weight of Close.
class Closing {
public:
  explicit Closing(const Animation& animation) : animation_(animation) {
    for (std::size_t c = 0; c < animation.layout.templates.size(); ++c) {
      if (animation.layout.templates[c].name == "LeftEye.Close") columns_[0] = c;
      if (animation.layout.templates[c].name == "RightEye.Close") columns_[1] = c;
    }
  }
  double At(std::size_t frame, std::size_t eye) const { return animation_.Weight(frame, columns_[eye]); }
  bool IsClosed(std::size_t frame, std::size_t eye) const { return At(frame, eye) >= kClosedEye; }

private:
  const Animation& animation_;
  std::array<std::size_t, 2> columns_ = {};
};

std::vector<SeenEyes> ByDirections(const Take& take, const SolvedTake& solved) {
  std::vector<SeenEyes> seen(take.FrameCount());
  for (std::size_t f = 0; f < seen.size(); ++f) {
    if (take.gaze_axes == GazeAxes::Take && !solved.head_known[f]) continue;
    const std::optional<Point> directions[] = {take.gaze[f].left, take.gaze[f].right};
    for (std::size_t eye = 0; eye < 2; ++eye) {
      if (!directions[eye]) continue;
      VgeTVector direction = {directions[eye]->x, directions[eye]->y, directions[eye]->z};
      if (take.gaze_axes == GazeAxes::Take) {
        VgeAMatrix turn = solved.animation.heads[f];
        std::fill_n(turn.m[3], 3, 0.0);
        direction = TransformPoint(InverseOfOrthogonalAxes(turn), direction);
      }
      seen[f][eye] = AnglesOf(direction);
    }
  }
  return seen;
}

std::vector<SeenEyes> ByIrises(const SolvedTake& solved, const Performer& performer,
                               const NeutralPose& neutral) {
  const Take& irises = solved.irises;
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(solved.animation.layout.neutral_head);
  struct Marker {
    std::size_t index, eye;
    VgeTVector rest; // in the head's frame
  };
  std::vector<Marker> markers;
  for (std::size_t m = 0; m < irises.MarkerCount(); ++m)
    for (std::size_t eye = 0; eye < 2; ++eye) {
      const std::vector<std::string>& of_eye = performer.irises[eye];
      const auto rest = neutral.find(irises.markers[m]);
      if (std::find(of_eye.begin(), of_eye.end(), irises.markers[m]) != of_eye.end() && rest != neutral.end())
        markers.push_back(
            {m, eye, TransformPoint(to_head, {rest->second.x, rest->second.y, rest->second.z})});
    }
  std::vector<SeenEyes> seen(irises.FrameCount());
  for (std::size_t f = 0; f < seen.size(); ++f)
    for (std::size_t eye = 0; eye < 2; ++eye) {
      double x = 0, y = 0, count = 0;
      for (const Marker& marker : markers)
        if (const Point* const p = marker.eye == eye ? irises.At(f, marker.index) : nullptr) {
          x += p->x - marker.rest.x;
          y += p->y - marker.rest.y;
          ++count;
        }
      const auto angle = [&](double mm) {
        return std::asin(std::clamp(mm / count / kIrisRadius_mm, -1.0, 1.0));
      };
      if (count > 0) seen[f][eye] = EyeAngles{.yaw = angle(x), .pitch = angle(-y)};
    }
  return seen;
}

EyeAngles MeanOf(const EyeAngles& a, const EyeAngles& b) {
  return {.yaw = (a.yaw + b.yaw) / 2, .pitch = (a.pitch + b.pitch) / 2};
}

/// Leaves out closed eyes, and gives both the direction that the open ones have together.
void JoinOpenEyes(std::vector<SeenEyes>& seen, const Closing& closing, GazeReport& report) {
  for (std::size_t f = 0; f < seen.size(); ++f) {
    auto& [left, right] = seen[f];
    const bool any = left || right;
    if (closing.IsClosed(f, 0)) left.reset();
    if (closing.IsClosed(f, 1)) right.reset();
    if (left && right) left = right = MeanOf(*left, *right);
    if (!left) left = right;
    if (!right) right = left;
    if (any && !left) ++report.closed_frames;
  }
}

/// Makes what the neutral face looks at straight ahead.
void SubtractNeutral(std::vector<SeenEyes>& seen, const Take& take, const Neutral& neutral,
                     GazeReport& report) {
  Eyes straight;
  for (std::size_t eye = 0; eye < 2; ++eye) {
    std::vector<double> yaws, pitches;
    const auto collect = [&](bool only_neutral) {
      for (std::size_t f = 0; f < seen.size(); ++f) {
        if (!seen[f][eye]) continue;
        if (only_neutral && !std::binary_search(neutral.frames.begin(), neutral.frames.end(), take.frames[f]))
          continue;
        yaws.push_back(seen[f][eye]->yaw);
        pitches.push_back(seen[f][eye]->pitch);
      }
    };
    collect(true);
    if (yaws.empty()) collect(false);
    if (yaws.empty()) continue;
    straight[eye] = {.yaw = Median(yaws), .pitch = Median(pitches)};
    const VgeAMatrix to_straight = InverseOfOrthogonalAxes(RotationBy(straight[eye]));
    for (SeenEyes& eyes : seen)
      if (eyes[eye]) eyes[eye] = AnglesOf(TransformPoint(to_straight, Column(RotationBy(*eyes[eye]), 2)));
  }
  report.straight = MeanOf(straight[0], straight[1]);
}

void Limit(std::vector<SeenEyes>& seen, GazeReport& report) {
  for (SeenEyes& eyes : seen) {
    bool clipped = false;
    for (auto& eye : eyes) {
      if (!eye) continue;
      const EyeAngles limited = {.yaw = std::clamp(eye->yaw, -kMostEyeAngle, kMostEyeAngle),
                                 .pitch = std::clamp(eye->pitch, -kMostEyeAngle, kMostEyeAngle)};
      clipped |= limited != *eye;
      eye = limited;
    }
    report.clipped_frames += clipped;
  }
}

/// The angles of every frame: gaps are filled or at rest, as those of markers are. The eyes are two markers
/// whose x is the yaw and whose y is the pitch.
LongVector<Eyes> Complete(const std::vector<SeenEyes>& seen, const Take& take, const SolveOptions& options,
                          GazeReport& report) {
  Take angles({"left", "right"});
  angles.rate = take.rate;
  for (std::size_t f = 0; f < seen.size(); ++f) {
    angles.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t eye = 0; eye < 2; ++eye)
      if (seen[f][eye]) angles.Set(f, eye, {seen[f][eye]->yaw, seen[f][eye]->pitch, 0});
    report.measured_frames += seen[f][0] || seen[f][1];
  }
  FillGaps(angles, {0, 1}, {{FillMethod::Linear, kBlinkGap_s}});
  if (options.smooth_gaze_hz) SmoothPositions(angles, {0, 1}, *options.smooth_gaze_hz);
  const std::vector<Point> rest(2, {0, 0, 0});
  const RestInGaps places(angles, rest, options.fade_s, options.threads);
  LongVector<Eyes> eyes(seen.size());
  for (std::size_t f = 0; f < seen.size(); ++f) {
    for (std::size_t eye = 0; eye < 2; ++eye) {
      const Point p = places.At(f, eye);
      eyes[f][eye] = {.yaw = p.x, .pitch = p.y};
    }
    if (seen[f][0] || seen[f][1]) continue;
    ++(angles.At(f, 0) || angles.At(f, 1) ? report.filled_frames : report.rest_frames);
  }
  return eyes;
}

void ReportRange(const LongVector<Eyes>& all, GazeReport& report) {
  std::vector<double> yaws, pitches;
  for (const Eyes& eyes : all)
    for (const auto& [yaw, pitch] : eyes) {
      yaws.push_back(yaw);
      pitches.push_back(pitch);
    }
  report.low = {.yaw = Quantile(yaws, 0.05), .pitch = Quantile(pitches, 0.05)};
  report.high = {.yaw = Quantile(yaws, 0.95), .pitch = Quantile(pitches, 0.95)};
}

void ReportLids(const LongVector<Eyes>& all, const Closing& closing, GazeReport& report) {
  constexpr double kStraight = 3.5 * kDegree, kDown = 10.5 * kDegree; // eyeLookDown up to 0.1, from 0.3
  constexpr std::size_t kFewest = 10;
  double down = 0, straight = 0;
  std::size_t down_frames = 0, straight_frames = 0;
  for (std::size_t f = 0; f < all.size(); ++f) {
    if (closing.IsClosed(f, 0) || closing.IsClosed(f, 1)) continue;
    const double close = (closing.At(f, 0) + closing.At(f, 1)) / 2;
    const double pitch = (all[f][0].pitch + all[f][1].pitch) / 2;
    if (pitch >= kDown) down += close, ++down_frames;
    if (std::abs(pitch) <= kStraight) straight += close, ++straight_frames;
  }
  if (down_frames < kFewest || straight_frames < kFewest) return;
  report.lids = {.close_down = down / static_cast<double>(down_frames),
                 .close_straight = straight / static_cast<double>(straight_frames),
                 .down_frames = down_frames};
}

} // namespace

std::string_view ToText(GazeSource source) {
  switch (source) {
  case GazeSource::None:
    return "none";
  case GazeSource::Columns:
    return "gaze columns";
  case GazeSource::EyeAngles:
    return "eye angles";
  case GazeSource::Irises:
    return "irises";
  }
  return "";
}

void SolveGaze(SolvedTake& solved, const Take& take, const Performer& performer, const Neutral& neutral,
               const SolveOptions& options) {
  if (!options.gaze || take.FrameCount() == 0) return;
  GazeReport& report = solved.report.gaze;
  const Closing closing(solved.animation);
  std::vector<SeenEyes> seen =
      take.gaze_axes ? ByDirections(take, solved) : ByIrises(solved, performer, neutral.pose);
  const bool any =
      std::any_of(seen.begin(), seen.end(), [](const SeenEyes& eyes) { return eyes[0] || eyes[1]; });
  if (!any) return;
  report.source = !take.gaze_axes                     ? GazeSource::Irises
                  : *take.gaze_axes == GazeAxes::Take ? GazeSource::Columns
                                                      : GazeSource::EyeAngles;
  if (report.source != GazeSource::EyeAngles) JoinOpenEyes(seen, closing, report);
  if (report.source != GazeSource::Irises) SubtractNeutral(seen, take, neutral, report);
  Limit(seen, report);
  solved.animation.eyes = Complete(seen, take, options, report);
  ReportRange(solved.animation.eyes, report);
  ReportLids(solved.animation.eyes, closing, report);
}

} // namespace mien
