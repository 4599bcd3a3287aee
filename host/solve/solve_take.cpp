#include "host/solve/solve_take.h"

#include "host/cleaning/low_pass.h"
#include "host/cleaning/rest_in_gaps.h"
#include "host/solve/face_solver.h"
#include "host/solve/head_track.h"
#include "host/takes/frame_span.h"
#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace mien {

namespace {

/// Counts the frames in which a part rests, and gathers how well the others are solved.
class Residuals {
public:
  Residuals(const Take& face, const FaceSolver& solver, SolveReport& report)
      : face_(face), solver_(solver), report_(report) {
    for (std::size_t p = 0; p < report.parts.size(); ++p) {
      report.parts[p].name = GetGlobalFace()->mParts[p].mName;
      report.parts[p].markers = solver.MarkersOf(p).size();
    }
  }

  void Add(std::size_t frame, const FaceSolver::Frame& solved) {
    SolveReport::Frame worst = {.frame = frame};
    for (std::size_t p = 0; p < report_.parts.size(); ++p) {
      SolveReport::Part& part = report_.parts[p];
      const std::vector<std::size_t>& markers = solver_.MarkersOf(p);
      const auto gone = static_cast<std::size_t>(
          std::count_if(markers.begin(), markers.end(), [&](std::size_t m) { return !face_.At(frame, m); }));
      if (gone == markers.size()) {
        if (gone > 0) ++part.rest_frames;
        continue; // at rest there is nothing to tell
      }
      if (gone > 0) ++part.partial_frames;
      const double residual = solved.residual_mm[p];
      squares_[p] += residual * residual;
      if (residual > part.worst_mm) part.worst_mm = residual, part.worst_frame = frame;
      if (residual > worst.residual_mm) worst.residual_mm = residual, worst.part = p;
    }
    if (worst.residual_mm > 0) frames_.push_back(worst);
  }

  void Finish() {
    for (std::size_t p = 0; p < report_.parts.size(); ++p) {
      SolveReport::Part& part = report_.parts[p];
      const std::size_t told = part.markers > 0 ? face_.FrameCount() - part.rest_frames : 0;
      if (told > 0) part.rms_mm = std::sqrt(squares_[p] / static_cast<double>(told));
    }
    // One frame of each moment: its neighbours are nearly as bad and tell nothing new.
    constexpr std::size_t kShown = 10;
    constexpr double kApart_s = 0.5;
    std::stable_sort(frames_.begin(), frames_.end(),
                     [](const auto& a, const auto& b) { return a.residual_mm > b.residual_mm; });
    for (const SolveReport::Frame& frame : frames_) {
      if (report_.worst_frames.size() == kShown) break;
      const double time = face_.times[frame.frame];
      if (std::all_of(report_.worst_frames.begin(), report_.worst_frames.end(), [&](const auto& other) {
            return std::abs(face_.times[other.frame] - time) >= kApart_s;
          }))
        report_.worst_frames.push_back(frame);
    }
  }

private:
  const Take& face_; // in the head's frame, its gaps filled as far as they are
  const FaceSolver& solver_;
  SolveReport& report_;
  std::array<double, 9> squares_ = {};
  std::vector<SolveReport::Frame> frames_;
};

void SmoothWeights(Animation& animation, double cutoff_hz) {
  LowPass filter(cutoff_hz, animation.layout.rate);
  const std::vector<FrameSpan> unbroken = UnbrokenSpans(animation.frames);
  std::vector<double> values;
  const std::size_t columns = animation.layout.templates.size();
  for (std::size_t t = 0; t < columns; ++t)
    for (const auto& [first, end] : unbroken) {
      values.clear();
      for (std::size_t f = first; f < end; ++f) values.push_back(animation.weights[f * columns + t]);
      filter.Filter(values);
      for (std::size_t f = first; f < end; ++f) animation.weights[f * columns + t] = values[f - first];
    }
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
  const RestInGaps markers(face, solver.RestPlaces(), options.fade_s);

  Animation& animation = solved.animation;
  animation.layout.take = take.name;
  animation.layout.performer = performer.name;
  animation.layout.neutral_head = solver.NeutralHead();
  animation.layout.rate = take.rate;
  animation.layout.timecode = take.timecode;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.weights.reserve(take.FrameCount() * animation.layout.templates.size());
  animation.heads = std::move(track.heads);
  Residuals residuals(face, solver, report);
  std::vector<Point> places(face.MarkerCount());
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    if (progress) progress(f, take.FrameCount());
    for (std::size_t m = 0; m < places.size(); ++m) places[m] = markers.At(f, m);
    const FaceSolver::Frame& frame = solver.Solve(places);
    for (const auto& [part, slot, name] : animation.layout.templates)
      animation.weights.push_back(frame.weights.mParts[part].mWeights[slot]);
    residuals.Add(f, frame);
  }
  report.frames = take.FrameCount();
  residuals.Finish();
  if (options.smooth_weights_hz) SmoothWeights(animation, *options.smooth_weights_hz);
  return solved;
}

} // namespace mien
