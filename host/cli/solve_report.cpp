#include "host/cli/solve_report.h"

#include "host/base/text.h"
#include "host/cli/report.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string>
#include <vector>

namespace mien {

namespace {

void ReportOnHead(const SolveOptions& options, const SolveReport& report) {
  if (!report.head_motion_removed)
    ReportLine("head", "fewer than 3 head markers, or all on a line: the head's motion was NOT removed");
  else if (report.frames_without_head == 0)
    ReportLine("head", "found in every frame");
  else
    ReportLine("head", fmt::format("not found in {} of {} frames: there it is put between the others, and "
                                   "the face's markers count as missing",
                                   report.frames_without_head, report.frames));
  for (const SlippedMarker& marker : report.slipped.markers)
    ReportLine("", fmt::format("{} left its place by up to {:.1f} mm and was left out in {}, first in {}",
                               marker.marker, marker.furthest_mm, Count(marker.frames, "frame"),
                               marker.first_frame));
  if (report.slipped.doubtful_frames > 0)
    ReportLine("", fmt::format("in {} the head markers do not keep their places within {} mm, and it cannot "
                               "be told which are wrong",
                               Count(report.slipped.doubtful_frames, "frame"), *options.head_tolerance_mm));
}

/// "90 positions missing, 12 filled (cubic:0.15)", and in which markers.
void ReportOnGaps(std::string_view title, const FillPlan& plan, const std::vector<FilledMarker>& fills) {
  std::size_t missing = 0, filled = 0;
  std::vector<const FilledMarker*> gappy;
  for (const FilledMarker& fill : fills) {
    missing += fill.gap_frames;
    filled += fill.FilledFrames();
    if (fill.gap_frames > 0) gappy.push_back(&fill);
  }
  if (gappy.empty()) {
    ReportLine(title, "none");
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
  ReportLine(title, fmt::format("{} missing, {} filled ({})", Count(missing, "position"), filled,
                                plan.empty() ? "none asked for" : ToText(plan)));
  ReportLine("", "in " + Some(names));
}

void ReportOnRest(const SolveOptions& options, const SolveReport& report) {
  if (const auto resting = report.RestingParts(); !resting.empty())
    ReportLine("at rest", fmt::format("{} (no markers)", fmt::join(resting, ", ")));
  std::vector<std::string> parts;
  for (const SolveReport::Part& part : report.parts) {
    if (part.rest_frames == 0 && part.partial_frames == 0) continue;
    std::vector<std::string> how;
    if (part.rest_frames > 0) how.push_back(Count(part.rest_frames, "frame"));
    if (part.partial_frames > 0) how.push_back(fmt::format("{} in part", part.partial_frames));
    parts.push_back(fmt::format("{} ({})", part.name, fmt::join(how, ", ")));
  }
  if (!parts.empty())
    ReportLine("rested", fmt::format("{}: markers were missing; faded over {} s", fmt::join(parts, ", "),
                                     options.fade_s));
}

void ReportOnResiduals(const Take& take, const SolveReport& report) {
  std::vector<std::string> parts;
  for (const SolveReport::Part& part : report.parts)
    if (part.markers > 0) parts.push_back(fmt::format("{} {:.2f}", part.name, part.rms_mm));
  if (parts.empty()) return;
  ReportLine("residual", fmt::format("mm: {}", fmt::join(parts, ", ")));
  constexpr std::size_t kShown = 3;
  std::vector<std::string> worst;
  for (const SolveReport::Frame& frame : report.worst_frames) {
    if (worst.size() == kShown || frame.residual_mm < 0.05) break; // it would be told as 0.0
    worst.push_back(fmt::format("{} ({} {:.1f} mm)", take.frames[frame.frame], report.parts[frame.part].name,
                                frame.residual_mm));
  }
  if (!worst.empty()) ReportLine("", fmt::format("the worst frames are {}", fmt::join(worst, ", ")));
}

} // namespace

void ReportOnSolve(const Take& take, const Performer& performer, const Neutral& neutral,
                   const SolveOptions& options, const SolveReport& report) {
  ReportLine("take", fmt::format("{}: {} at {} Hz, {}", take.name, Count(take.FrameCount(), "frame"),
                                 ToText(take.rate), Count(take.MarkerCount(), "marker")));
  for (const Note& note : take.notes) ReportLine("", Message(note));
  ReportLine("performer", performer.name);
  ReportLine("neutral", neutral.how);
  for (const std::string& note : neutral.notes) ReportLine("", note);
  for (const std::string& marker : report.left_out)
    ReportLine("", fmt::format("the marker {} is not in the neutral pose and was left out", marker));
  ReportOnHead(options, report);
  if (std::any_of(report.head_fills.begin(), report.head_fills.end(),
                  [](const FilledMarker& fill) { return fill.gap_frames > 0; }))
    ReportOnGaps("head gaps", options.head_fill, report.head_fills);
  ReportOnGaps("gaps", options.face_fill, report.face_fills);
  ReportOnRest(options, report);
  if (options.smooth_positions_hz)
    ReportLine("smoothed", fmt::format("positions, below {} Hz", *options.smooth_positions_hz));
  if (options.smooth_weights_hz)
    ReportLine("smoothed", fmt::format("template weights, below {} Hz", *options.smooth_weights_hz));
  ReportOnResiduals(take, report);
}

} // namespace mien
