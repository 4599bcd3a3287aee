#include "host/solve/solve_take.h"

#include "host/solve/face_solver.h"
#include "host/solve/head_track.h"
#include "host/solve/rest_in_gaps.h"
#include "host/takes/low_pass.h"
#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace mien {

namespace {

/// Gathers how well the frames are solved.
class Residuals {
public:
  void Add(std::size_t frame, const FaceSolver::Frame& solved, SolveReport& report) {
    SolveReport::Frame worst = {.frame = frame};
    for (std::size_t p = 0; p < report.parts.size(); ++p) {
      const double residual = solved.residual_mm[p];
      SolveReport::Part& part = report.parts[p];
      squares_[p] += residual * residual;
      if (residual > part.worst_mm) part.worst_mm = residual, part.worst_frame = frame;
      if (residual > worst.residual_mm) worst.residual_mm = residual, worst.part = p;
    }
    constexpr std::size_t kShown = 10;
    auto& list = report.worst_frames;
    const auto place = std::upper_bound(list.begin(), list.end(), worst, [](const auto& a, const auto& b) {
      return a.residual_mm > b.residual_mm;
    });
    list.insert(place, worst);
    if (list.size() > kShown) list.pop_back();
    ++frames_;
  }

  void Finish(SolveReport& report) const {
    for (std::size_t p = 0; p < report.parts.size(); ++p)
      if (frames_ > 0) report.parts[p].rms_mm = std::sqrt(squares_[p] / static_cast<double>(frames_));
  }

private:
  std::array<double, 9> squares_ = {};
  std::size_t frames_ = 0;
};

void CountRestingFrames(const Take& face, const FaceSolver& solver, SolveReport& report) {
  for (std::size_t p = 0; p < report.parts.size(); ++p) {
    const std::vector<std::size_t>& markers = solver.MarkersOf(p);
    report.parts[p].name = GetGlobalFace()->mParts[p].mName;
    report.parts[p].markers = markers.size();
    if (markers.empty()) continue;
    for (std::size_t f = 0; f < face.FrameCount(); ++f) {
      const auto gone = static_cast<std::size_t>(
          std::count_if(markers.begin(), markers.end(), [&](std::size_t m) { return !face.At(f, m); }));
      if (gone == markers.size())
        ++report.parts[p].rest_frames;
      else if (gone > 0)
        ++report.parts[p].partial_frames;
    }
  }
}

void SmoothWeights(Animation& animation, double cutoff_hz) {
  LowPass filter(cutoff_hz, animation.rate);
  std::vector<double> values;
  const std::size_t columns = animation.templates.size();
  for (std::size_t t = 0; t < columns; ++t)
    ForRuns(animation.frames, [&](std::size_t first, std::size_t end) {
      values.clear();
      for (std::size_t f = first; f < end; ++f) values.push_back(animation.weights[f * columns + t]);
      filter.Filter(values);
      for (std::size_t f = first; f < end; ++f) animation.weights[f * columns + t] = values[f - first];
    });
}

} // namespace

std::vector<std::string> SolveReport::RestingParts() const {
  std::vector<std::string> names;
  for (const Part& part : parts)
    if (part.markers == 0) names.push_back(part.name);
  return names;
}

SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const SolveOptions& options,
                     const std::function<void(std::size_t, std::size_t)>& progress) {
  FaceSolver solver(performer, neutral);
  SolvedTake solved;
  SolveReport& report = solved.report;

  HeadTrack track = TrackHead(take, performer, neutral, solver.NeutralHead(), options);
  report.head_motion_removed = track.motion_removed;
  report.frames_without_head = track.UnknownFrames();
  report.slipped = std::move(track.slipped);
  report.head_fills = std::move(track.fills);
  report.left_out = solver.LeftOut();
  report.left_out.insert(report.left_out.end(), track.left_out.begin(), track.left_out.end());

  Take face = Stabilise(take, track, solver.Markers());
  std::vector<std::size_t> all(face.MarkerCount());
  std::iota(all.begin(), all.end(), std::size_t{0});
  report.face_fills = FillGaps(face, all, options.face_fill);
  if (options.smooth_positions_hz) SmoothPositions(face, all, *options.smooth_positions_hz);
  CountRestingFrames(face, solver, report);
  const RestInGaps markers(face, solver.RestPlaces(), options.fade_s);

  Animation& animation = solved.animation;
  animation.take = take.name;
  animation.performer = performer.name;
  animation.neutral_head = solver.NeutralHead();
  animation.rate = take.rate;
  animation.timecode = take.timecode;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.weights.reserve(take.FrameCount() * animation.templates.size());
  animation.heads = std::move(track.heads);
  Residuals residuals;
  std::vector<Point> places(face.MarkerCount());
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    if (progress) progress(f, take.FrameCount());
    for (std::size_t m = 0; m < places.size(); ++m) places[m] = markers.At(f, m);
    const FaceSolver::Frame& frame = solver.Solve(places);
    for (const auto& [part, slot, name] : animation.templates)
      animation.weights.push_back(frame.weights.mParts[part].mWeights[slot]);
    residuals.Add(f, frame, report);
  }
  report.frames = take.FrameCount();
  residuals.Finish(report);
  if (options.smooth_weights_hz) SmoothWeights(animation, *options.smooth_weights_hz);
  return solved;
}

} // namespace mien
