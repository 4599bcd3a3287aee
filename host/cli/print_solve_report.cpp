#include "host/cli/print_solve_report.h"

#include "host/base/text.h"
#include "host/cli/output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string>
#include <vector>

namespace mien {

namespace {

void PrintHead(const SolveOptions& options, const SolveReport& report, const Output& output) {
  if (!report.head_motion_removed)
    output.Line("head", "fewer than 3 head markers, or all on a line: the head's motion was NOT removed");
  else if (report.frames_without_head == 0)
    output.Line("head", "found in every frame");
  else
    output.Line("head", fmt::format("not found in {} of {} frames, where it is interpolated and the face's "
                                    "markers count as missing",
                                    report.frames_without_head, report.frames));
  for (const SlippedMarker& marker : report.slipped.markers)
    output.Line("", fmt::format("{} left its place by up to {:.1f} mm and was left out in {}, first in {}",
                                marker.marker, marker.furthest_mm, Count(marker.frames, "frame"),
                                marker.first_frame));
  if (report.slipped.doubtful_frames > 0)
    output.Line("",
                fmt::format("in {} the head markers disagree by more than {} mm, and nothing shows which of "
                            "them are wrong",
                            Count(report.slipped.doubtful_frames, "frame"), *options.head_tolerance_mm));
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
                                 plan.empty() ? "none asked for" : ToText(plan)));
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

} // namespace

void PrintSolveReport(const SolveJob& job, const SolveResult& result, Output& output) {
  const Take& take = result.take;
  const SolveReport& report = result.report;
  output.Line("take", fmt::format("{}: {} at {} Hz, {}", take.name, Count(take.FrameCount(), "frame"),
                                  ToText(take.rate), Count(take.MarkerCount(), "marker")));
  output.Remark(take.notes, take.file);
  output.Line("performer", result.performer);
  output.Line("neutral", result.neutral.how);
  output.Remark(result.neutral.notes, take.file);
  for (const std::string& marker : report.left_out)
    output.Remark({Code::Unmatched, "",
                   fmt::format("the marker {} is not in the neutral pose and was left out", marker)},
                  take.file);
  PrintHead(job.solve, report, output);
  if (std::any_of(report.head_fills.begin(), report.head_fills.end(),
                  [](const FilledMarker& fill) { return fill.gap_frames > 0; }))
    PrintGaps("head gaps", job.solve.head_fill, report.head_fills, output);
  PrintGaps("gaps", job.solve.face_fill, report.face_fills, output);
  PrintRest(job.solve, report, output);
  if (job.solve.smooth_positions_hz)
    output.Line("smoothed", fmt::format("positions, below {} Hz", *job.solve.smooth_positions_hz));
  if (job.solve.smooth_weights_hz)
    output.Line("smoothed", fmt::format("template weights, below {} Hz", *job.solve.smooth_weights_hz));
  PrintResiduals(take, report, output);
}

} // namespace mien
