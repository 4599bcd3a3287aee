#include "host/cli/print_solve_report.h"

#include "host/base/text.h"
#include "host/cli/output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mien {

namespace {

/// "12-40, 55, 60-72 and 9 more": numbers that follow each other as one stretch.
std::string Stretches(const std::vector<std::int64_t>& frames) {
  std::vector<std::string> stretches;
  for (std::size_t first = 0, end; first < frames.size(); first = end) {
    for (end = first + 1; end < frames.size() && frames[end] == frames[end - 1] + 1;) ++end;
    stretches.push_back(end == first + 1 ? std::to_string(frames[first])
                                         : fmt::format("{}-{}", frames[first], frames[end - 1]));
  }
  constexpr std::size_t kShown = 5;
  return Some(stretches, kShown);
}

/// Where the neutral face comes from, and whether another choice of frames would give other results.
void PrintNeutral(const Take& take, const Neutral& neutral, const SolveReport& report, Output& output) {
  output.Line("neutral", neutral.how);
  if (neutral.frames.size() > 1) {
    output.Line("", "frames " + Stretches(neutral.frames));
    std::vector<std::string> spreads;
    for (std::size_t p = 0; p < neutral.spread_mm.size(); ++p)
      if (neutral.spread_mm[p] > 0)
        spreads.push_back(fmt::format("{} {:.2f}", report.parts[p].name, neutral.spread_mm[p]));
    if (!spreads.empty()) output.Line("", fmt::format("spread in these, mm: {}", fmt::join(spreads, ", ")));
  }
  output.Remark(neutral.notes, take.file);
  std::vector<std::string> doubts;
  for (const NeutralDoubt& doubt : report.neutral_doubts)
    doubts.push_back(fmt::format("{} {:.2f}", doubt.name, doubt.difference));
  if (!doubts.empty())
    output.Remark({Code::Doubtful, "",
                   fmt::format("with the mouth more closed and the eyes more open in the neutral frames, "
                               "weights would change: {}; name "
                               "frames with a face at rest with --neutral",
                               Some(doubts))},
                  take.file);
}

void PrintHead(const SolveOptions& options, const SolveReport& report, const Output& output) {
  const std::string fitted =
      report.rigid.empty() ? "" : fmt::format(", by {}", Count(report.rigid.size(), "rigid marker"));
  if (!report.head_motion_removed)
    output.Line("head", "fewer than 3 head markers, or all on a line: the head's motion was NOT removed");
  else if (report.frames_without_head == 0)
    output.Line("head", "found in every frame" + fitted);
  else
    output.Line("head",
                fmt::format("not found in {} of {} frames{}: it is interpolated there, and the face's "
                            "markers count as missing",
                            report.frames_without_head, report.frames, fitted));
  if (report.head_motion_removed && options.head_fit == HeadFit::Take && report.rigid.empty())
    output.Line("", "fewer than four rigid markers, or three in the neutral pose: the head is found from its "
                    "head markers alone, as with --head-fit markers");
  for (const SlippedMarker& marker : report.slipped.markers)
    output.Line("",
                fmt::format("{} was up to {:.1f} mm away from its place and was ignored in {}, first in {}",
                            marker.marker, marker.furthest_mm, Count(marker.frames, "frame"),
                            marker.first_frame));
  if (report.slipped.doubtful_frames > 0)
    output.Line(
        "", fmt::format("in {} the head markers are not within {} mm of their places, and which of them are "
                        "wrong is unclear",
                        Count(report.slipped.doubtful_frames, "frame"), *options.head_tolerance_mm));
}

/// "2 degrees right to 7 left"; `low` and `high` count towards `positive`.
std::string Between(double low, double high, std::string_view negative, std::string_view positive,
                    std::string_view unit) {
  const auto side = [&](double degrees) { return std::lround(degrees) < 0 ? negative : positive; };
  return fmt::format("{:.0f}{} {} to {:.0f} {}", std::abs(low), unit, side(low), std::abs(high), side(high));
}

void PrintGaze(const GazeReport& gaze, const Output& output) {
  if (gaze.source == GazeSource::None) return;
  constexpr double kDegrees = 180 / std::numbers::pi;
  output.Line(
      "gaze",
      fmt::format("from the take's {}: {}, {} in nine tenths of the frames", ToText(gaze.source),
                  Between(gaze.low.yaw * kDegrees, gaze.high.yaw * kDegrees, "right", "left", " degrees"),
                  Between(-gaze.high.pitch * kDegrees, -gaze.low.pitch * kDegrees, "down", "up", "")));
  if (gaze.closed_frames + gaze.filled_frames + gaze.rest_frames > 0)
    output.Line("", fmt::format("the eyes were closed in {}; of all frames without gaze {} were filled, and "
                                "in {} the eyes look straight ahead",
                                Count(gaze.closed_frames, "frame"), gaze.filled_frames, gaze.rest_frames));
  if (gaze.clipped_frames > 0)
    output.Line("", fmt::format("limited to 50 degrees in {}", Count(gaze.clipped_frames, "frame")));
  if (gaze.lids)
    output.Line("",
                fmt::format("looking down lowers the lids: Close is {:.2f} on average in {} with the eyes "
                            "down, {:.2f} with the eyes straight",
                            gaze.lids->close_down, Count(gaze.lids->down_frames, "frame"),
                            gaze.lids->close_straight));
}

/// "90 positions missing, 12 filled (cubic:0.15)", and in which markers.
void PrintGaps(std::string_view title, const FillPlan& plan, const std::vector<FilledMarker>& fills,
               const Output& output) {
  std::size_t missing = 0, filled = 0;
  std::vector<const FilledMarker*> gappy;
  for (const FilledMarker& fill : fills) {
    missing += fill.gap_frames;
    filled += fill.FilledFrames();
    if (fill.gap_frames > 0) gappy.push_back(&fill);
  }
  if (gappy.empty()) {
    output.Line(title, "none");
    return;
  }
  std::stable_sort(gappy.begin(), gappy.end(),
                   [](const auto* a, const auto* b) { return a->gap_frames > b->gap_frames; });
  std::vector<std::string> names;
  for (const FilledMarker* fill : gappy) {
    const std::size_t frames = fill->FilledFrames();
    names.push_back(fmt::format("{} ({}{})", fill->marker, fill->gap_frames,
                                frames == 0                  ? ""
                                : frames == fill->gap_frames ? ", filled"
                                                             : fmt::format(", {} filled", frames)));
  }
  output.Line(title, fmt::format("{} missing, {} filled ({})", Count(missing, "position"), filled,
                                 plan.empty() ? "filling is off" : ToText(plan)));
  output.Line("", "in " + Some(names));
}

void PrintRest(const SolveOptions& options, const SolveReport& report, const Output& output) {
  if (const auto resting = report.RestingParts(); !resting.empty())
    output.Line("at rest", fmt::format("{} (no markers)", fmt::join(resting, ", ")));
  std::vector<std::string> parts;
  for (const SolveReport::Part& part : report.parts) {
    if (part.rest_frames == 0 && part.partial_frames == 0) continue;
    std::vector<std::string> how;
    if (part.rest_frames > 0) how.push_back(Count(part.rest_frames, "frame"));
    if (part.partial_frames > 0) how.push_back(fmt::format("{} in part", part.partial_frames));
    parts.push_back(fmt::format("{} ({})", part.name, fmt::join(how, ", ")));
  }
  if (!parts.empty())
    output.Line("rested", fmt::format("{}: markers were missing; faded over {} s", fmt::join(parts, ", "),
                                      options.fade_s));
}

/// Which of a calibrated performer's ranges were applied, and which were not.
void PrintRanges(const SolveJob& job, const SolveResult& result, const Output& output) {
  if (result.ranges.empty()) return;
  if (!job.ranges) {
    output.Line("ranges", fmt::format("{} not applied: --no-ranges", Count(result.ranges.size(), "range")));
    return;
  }
  std::vector<std::string> applied, doubted;
  for (const Range& range : result.report.ranges)
    applied.push_back(fmt::format("{} {:.2f} to {:.2f}", range.name, range.low, range.high));
  for (const Range& range : result.ranges)
    if (!range.trusted) doubted.push_back(range.name);
  output.Line("ranges", applied.empty() ? "none applied" : fmt::format("{}", fmt::join(applied, ", ")));
  if (!doubted.empty())
    output.Line("", fmt::format("not trusted, and not applied: {}", fmt::join(doubted, ", ")));
}

void PrintResiduals(const Take& take, const SolveReport& report, const Output& output) {
  std::vector<std::string> parts;
  for (const SolveReport::Part& part : report.parts)
    if (part.markers > 0) parts.push_back(fmt::format("{} {:.2f}", part.name, part.rms_mm));
  if (parts.empty()) return;
  output.Line("residual", fmt::format("mm: {}", fmt::join(parts, ", ")));
  constexpr std::size_t kShown = 3;
  std::vector<std::string> worst;
  for (const SolveReport::Frame& frame : report.worst_frames) {
    if (worst.size() == kShown || frame.residual_mm < 0.05) break; // it would be shown as 0.0
    worst.push_back(fmt::format("{} ({} {:.1f} mm)", take.frames[frame.frame], report.parts[frame.part].name,
                                frame.residual_mm));
  }
  if (!worst.empty()) output.Line("", fmt::format("the worst frames are {}", fmt::join(worst, ", ")));
}

/// What the fit of all shapes is based on, and what it cannot determine.
void PrintFit(const FitReport& fit, Output& output) {
  if (fit.basis.empty()) return;
  output.Line("fit",
              fmt::format("{} by {} on {}, which is {:.1f} mm away from them on average; residual {:.2f} mm",
                          Count(fit.fitted.size(), "shape"), Count(fit.markers, "marker"), fit.basis,
                          fit.distance_mm, fit.residual_mm));
  if (!fit.own_poses.empty())
    output.Line("", fmt::format("by the performer's own poses: {}", Count(fit.own_poses.size(), "shape")));
  if (!fit.from_parts.empty()) output.Line("", "from the parts' templates: " + Some(fit.from_parts));
  std::vector<std::string> left_out;
  for (const auto& [shape, uncertainty] : fit.left_out) left_out.push_back(shape);
  if (!left_out.empty()) output.Line("", "left out, since the markers do not show them: " + Some(left_out));
  if (!fit.unmeasured.empty())
    output.Line("", "fitted, but never measured against known answers: " + Some(fit.unmeasured));
  output.Remark(fit.notes, fit.basis);
}

/// The parts that have the take's grade, the worst first.
void PrintGrade(const SolveReport& report, const Output& output) {
  const Quality& quality = report.quality;
  if (quality.grade == Grade::None) return;
  std::vector<std::size_t> parts;
  for (std::size_t p = 0; p < report.parts.size(); ++p)
    if (quality.grades[p] == quality.grade) parts.push_back(p);
  std::stable_sort(parts.begin(), parts.end(),
                   [&](std::size_t a, std::size_t b) { return quality.share[a] > quality.share[b]; });
  std::vector<std::string> shares;
  for (const std::size_t p : parts)
    shares.push_back(fmt::format("{} {:.1f} %", report.parts[p].name, 100 * *quality.share[p]));
  output.Line("grade", fmt::format("{}: {} of {:.3g} mm between the outer eye corners", ToText(quality.grade),
                                   fmt::join(shares, ", "), *quality.eye_corners_mm));
}

/// A line for each statement, with all its frames; what is wrong for certain comes first.
void PrintFlags(const Take& take, const SolveReport& report, const Output& output) {
  constexpr std::size_t kShownLines = 10, kShownStretches = 5;
  struct Line {
    std::string statement;
    std::vector<std::string> stretches; // empty after those that are shown
  };
  std::vector<Line> lines;
  std::unordered_map<std::string, std::size_t> of_statements;
  for (const FlagKind kind : {FlagKind::Swap, FlagKind::Mislabel, FlagKind::Jump, FlagKind::Limit})
    for (const QualityFlag& flag : report.quality.flags) {
      if (flag.kind != kind) continue;
      const auto [found, is_new] = of_statements.try_emplace(StatementOf(flag), lines.size());
      if (is_new) lines.push_back({found->first, {}});
      if (found->second >= kShownLines) continue;
      std::string& stretch = lines[found->second].stretches.emplace_back();
      if (lines[found->second].stretches.size() > kShownStretches) continue;
      const std::int64_t first = take.frames[flag.first], last = take.frames[flag.last];
      stretch = flag.kind == FlagKind::Jump ? fmt::format("{} ({:+.2f})", last, flag.size)
                : first == last             ? std::to_string(first)
                                            : fmt::format("{}-{}", first, last);
    }
  for (std::size_t i = 0; i < lines.size() && i < kShownLines; ++i)
    output.Line(i == 0 ? "flags" : "",
                fmt::format("{}, frames {}", lines[i].statement, Some(lines[i].stretches, kShownStretches)));
  if (lines.empty()) output.Line("flags", "none");
  if (lines.size() > kShownLines) output.Line("", fmt::format("and {} more", lines.size() - kShownLines));
}

} // namespace

void PrintSolveReport(const SolveJob& job, const SolveResult& result, Output& output) {
  const Take& take = result.take;
  const SolveReport& report = result.report;
  output.Line("take", fmt::format("{}: {} at {} Hz, {}", take.name, Count(take.FrameCount(), "frame"),
                                  ToText(take.rate), Count(take.MarkerCount(), "marker")));
  output.Remark(take.notes, take.file);
  output.Line("performer", result.performer);
  PrintNeutral(take, result.neutral, report, output);
  for (const std::string& marker : report.left_out)
    output.Remark({Code::Unmatched, "",
                   fmt::format("the marker {} is missing from the neutral pose and was left out", marker)},
                  take.file);
  PrintHead(job.solve, report, output);
  PrintGaze(report.gaze, output);
  if (std::any_of(report.head_fills.begin(), report.head_fills.end(),
                  [](const FilledMarker& fill) { return fill.gap_frames > 0; }))
    PrintGaps("head gaps", job.solve.head_fill, report.head_fills, output);
  PrintGaps("gaps", job.solve.face_fill, report.face_fills, output);
  PrintRest(job.solve, report, output);
  if (job.solve.smooth_positions_hz)
    output.Line("smoothed", fmt::format("positions, below {} Hz", *job.solve.smooth_positions_hz));
  PrintRanges(job, result, output);
  if (job.solve.level_lids) output.Line("lids", "the slow part of Eye.Close is taken out");
  if (job.solve.smooth_weights_hz)
    output.Line("smoothed", fmt::format("template weights, below {} Hz", *job.solve.smooth_weights_hz));
  PrintResiduals(take, report, output);
  PrintFit(report.fit, output);
  PrintGrade(report, output);
  PrintFlags(take, report, output);
}

} // namespace mien
