#include "host/solve/solve_take.h"

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/parallel.h"
#include "host/cleaning/low_pass.h"
#include "host/cleaning/rest_in_gaps.h"
#include "host/performer/local_anchors.h"
#include "host/solve/face_solver.h"
#include "host/solve/head_solver.h"
#include "host/solve/head_track.h"
#include "host/solve/level_lids.h"
#include "host/solve/quality.h"
#include "host/solve/residuals.h"
#include "host/solve/smooth_weights.h"
#include "host/solve/template_ranges.h"
#include "host/takes/marker_indices.h"
#include "host/takes/pick_markers.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

namespace {

/// The markers of both irises.
std::vector<std::string> Irises(const Performer& performer) {
  std::vector<std::string> irises = performer.irises[0];
  irises.insert(irises.end(), performer.irises[1].begin(), performer.irises[1].end());
  return irises;
}

/// Subtracts from brows and eyes, and from their irises, how far their anchors deviate from the head.
std::vector<SolveReport::AnchoredPart>
MeasureAgainstAnchors(Take& face, Take& irises, const Take& take, const HeadTrack& track,
                      const Performer& performer, const NeutralPose& neutral, const RigidHead& rigid,
                      const FaceSolver& solver, std::size_t threads) {
  std::vector<SolveReport::AnchoredPart> anchored;
  std::vector<std::string> all; // the anchors of any part
  for (const std::size_t part : kAnchoredParts) {
    const std::vector<std::string> anchors = AnchorsOf(part, performer, neutral, rigid);
    if (anchors.empty()) continue;
    anchored.push_back({part, anchors, {}});
    for (const std::string& anchor : anchors)
      if (std::find(all.begin(), all.end(), anchor) == all.end()) all.push_back(anchor);
  }
  const Take stable = Stabilise(take, track, all, threads);
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(solver.NeutralHead());
  std::vector<std::optional<LocalAnchors>> locals(anchored.size());
  OnThreads(threads, anchored.size(), [&](std::size_t, std::size_t i) {
    std::vector<Point> rest;
    for (const std::string& anchor : anchored[i].anchors) {
      const Point& p = neutral.at(anchor);
      const VgeTVector p_head = TransformPoint(to_head, {p.x, p.y, p.z});
      rest.push_back({p_head.x, p_head.y, p_head.z});
    }
    locals[i].emplace(PickMarkers(stable, MarkerIndices(stable, anchored[i].anchors)), rest);
    anchored[i].gain = locals[i]->Gain();
  });
  for (std::size_t i = 0; i < anchored.size(); ++i) {
    const auto measure = [&](Take& markers, const std::vector<std::size_t>& of_part) {
      ForRanges(threads, markers.FrameCount(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
        for (std::size_t f = first; f < end; ++f)
          for (const std::size_t m : of_part)
            if (const Point* const p = markers.At(f, m))
              markers.Set(f, m, locals[i]->Measure(*p, f), markers.OriginAt(f, m));
      });
    };
    const std::size_t part = anchored[i].part;
    measure(face, solver.MarkersOf(part));
    if (part == kLeftEye || part == kRightEye)
      measure(irises, MarkerIndices(irises, performer.irises[part - kLeftEye]));
  }
  return anchored;
}

/// Positions are within a kilometre of each other. A larger length, or one that is infinite or NaN, comes
/// from a face without extent; no report may show it.
void CheckLength(double mm, const Take& take, std::int64_t frame, const std::string& name) {
  constexpr double kBeyondAnyTake_mm = 1e9;
  if (!(mm < kBeyondAnyTake_mm))
    throw InputError(Code::InvalidValue, take.file, fmt::format("frame {}", frame),
                     fmt::format("{} is off by a thousand kilometres or more", name),
                     "check the unit of the take's positions, and the neutral pose");
}

/// Solves all frames, some of them at once, and writes their weights. Returns each frame's residuals. `progress`
/// as by SolveTake.
LongVector<std::array<double, 9>> SolveFaces(const FaceSolver& solver, const RestInGaps& places,
                                             const Take& take, std::size_t markers, Animation& animation,
                                             std::size_t threads,
                                             const std::function<void(std::size_t, std::size_t)>& progress) {
  constexpr std::size_t kAtOnce = 64;
  const std::size_t frames = take.FrameCount(), templates = animation.layout.templates.size();
  LongVector<std::array<double, 9>> residual_mm;
  residual_mm.extend(frames);
  animation.weights.extend(frames * templates);
  struct Scratch {
    FaceSolver solver;
    std::vector<Point> places_head;
  };
  std::vector<std::optional<Scratch>> of_threads(std::max<std::size_t>(threads, 1));
  std::atomic<std::size_t> done = 0; // frames, by all threads
  if (progress && frames > 0) progress(0, frames);
  OnThreads(threads, (frames + kAtOnce - 1) / kAtOnce, [&](std::size_t thread, std::size_t block) {
    std::optional<Scratch>& scratch = of_threads[thread];
    if (!scratch) scratch.emplace(Scratch{solver, std::vector<Point>(kAtOnce * markers)});
    const std::size_t first = block * kAtOnce, count = std::min(kAtOnce, frames - first);
    const std::size_t done_before = done;
    for (std::size_t i = 0; i < count; ++i) {
      if (progress && thread == 0 && done_before + i > 0) progress(done_before + i, frames);
      for (std::size_t m = 0; m < markers; ++m)
        scratch->places_head[i * markers + m] = places.At(first + i, m);
    }
    scratch->solver.SolveFrames(std::span(scratch->places_head).first(count * markers),
                                animation.weights.subspan(first * templates, count * templates),
                                residual_mm.subspan(first, count));
    done += count;
  });
  return residual_mm;
}

} // namespace

SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const SolveOptions& options, const RigidHead* rigid,
                     const std::function<void(std::size_t, std::size_t)>& progress) {
  const FaceSolver solver(performer, neutral, options.brows);
  const HeadSolver head(performer, neutral, solver.NeutralHead(), rigid);
  SolvedTake solved;
  SolveReport& report = solved.report;

  HeadTrack track = TrackHead(take, head, options);
  report.head_motion_removed = head.RemovesMotion();
  report.frames_without_head = track.UnknownFrames();
  if (const RigidFit* const fit = head.Fit())
    for (std::size_t m = 0; m < rigid->markers.size(); ++m)
      report.rigid.push_back({rigid->markers[m], fit->Body().spread_mm[m]});
  report.head_calmed = track.calmed;
  report.slipped = std::move(track.slipped);
  for (const SlippedMarker& marker : report.slipped.markers)
    CheckLength(marker.furthest_mm, take, marker.first_frame, marker.marker);
  report.head_fills = std::move(track.fills);
  report.left_out = solver.LeftOut();
  report.left_out.insert(report.left_out.end(), head.LeftOut().begin(), head.LeftOut().end());

  Take face = Stabilise(take, track, solver.Markers(), options.threads);
  solved.irises = Stabilise(take, track, Irises(performer), options.threads);
  if (head.Fit())
    report.anchored = MeasureAgainstAnchors(face, solved.irises, take, track, performer, neutral, *rigid,
                                            solver, options.threads);
  std::vector<std::size_t> all(face.MarkerCount());
  std::iota(all.begin(), all.end(), std::size_t{0});
  report.face_fills = FillGaps(face, all, options.face_fill, options.threads);
  if (options.smooth_positions_hz) SmoothPositions(face, all, *options.smooth_positions_hz);
  const RestInGaps places(face, solver.RestPlaces(), options.fade_s, options.threads);

  Animation& animation = solved.animation;
  animation.layout.take = take.name;
  animation.layout.performer = performer.name;
  animation.layout.neutral_head = solver.NeutralHead();
  animation.layout.rate = take.rate;
  animation.layout.timecode = take.timecode;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.heads = std::move(track.heads);
  solved.head_known = std::move(track.known);

  Residuals residuals(face, solver, report);
  const LongVector<std::array<double, 9>> of_frames =
      SolveFaces(solver, places, take, face.MarkerCount(), animation, options.threads, progress);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    for (std::size_t p = 0; p < report.parts.size(); ++p)
      CheckLength(of_frames[f][p], take, take.frames[f], report.parts[p].name);
    residuals.Add(f, of_frames[f]);
    if (!options.keep_frames) continue;
    report.per_frame.push_back(residuals.QualityOf(f, of_frames[f]));
    report.per_frame.back().head_known = solved.head_known[f];
  }
  report.frames = take.FrameCount();
  residuals.Finish();
  std::array<double, 9> residual_mm{};
  for (std::size_t p = 0; p < residual_mm.size(); ++p) residual_mm[p] = report.parts[p].rms_mm;
  report.quality =
      AssessQuality(animation, face, report.head_motion_removed, solver, residual_mm, options.threads);
  const TemplateRanges ranges(performer.ranges);
  ranges.Apply(animation);
  report.ranges = ranges.Applied();
  if (options.level_lids) LevelLids(animation);
  if (options.smooth_weights_hz)
    SmoothWeights(animation.weights, animation.layout.templates.size(), animation.frames, take.rate,
                  *options.smooth_weights_hz);
  solved.face = std::move(face);
  return solved;
}

} // namespace mien
