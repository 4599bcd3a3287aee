#include "host/solve/residuals.h"

#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mien {

Residuals::Residuals(const Take& face, const FaceSolver& solver, SolveReport& report)
    : face_(face), solver_(solver), report_(report) {
  for (std::size_t p = 0; p < report.parts.size(); ++p) {
    report.parts[p].name = GetGlobalFace()->mParts[p].mName;
    report.parts[p].markers = solver.MarkersOf(p).size();
  }
}

void Residuals::Add(std::size_t frame, const std::array<double, 9>& residual_mm) {
  const std::span<const Origin> origins = face_.OriginsOf(frame);
  SolveReport::Frame worst = {.frame = frame};
  for (std::size_t p = 0; p < report_.parts.size(); ++p) {
    SolveReport::Part& part = report_.parts[p];
    const std::size_t gone = Gaps(origins, p);
    if (gone == part.markers) {
      if (gone > 0) ++part.rest_frames;
      continue; // at rest there is no residual
    }
    if (gone > 0) ++part.partial_frames;
    const double residual = residual_mm[p];
    squares_[p] += residual * residual;
    if (residual > part.worst_mm) part.worst_mm = residual, part.worst_frame = frame;
    if (residual > worst.residual_mm) worst.residual_mm = residual, worst.part = p;
  }
  if (worst.residual_mm > 0) frames_.push_back(worst);
}

std::size_t Residuals::Gaps(std::span<const Origin> origins, std::size_t part) const {
  const std::vector<std::size_t>& markers = solver_.MarkersOf(part);
  return static_cast<std::size_t>(std::count_if(markers.begin(), markers.end(),
                                                [&](std::size_t m) { return origins[m] == Origin::None; }));
}

SolveReport::FrameQuality Residuals::QualityOf(std::size_t frame,
                                               const std::array<double, 9>& residual_mm) const {
  const std::span<const Origin> origins = face_.OriginsOf(frame);
  SolveReport::FrameQuality quality;
  for (std::size_t p = 0; p < quality.residual_mm.size(); ++p)
    quality.residual_mm[p] = Gaps(origins, p) == report_.parts[p].markers
                                 ? std::numeric_limits<double>::quiet_NaN()
                                 : residual_mm[p];
  quality.filled_markers =
      static_cast<std::size_t>(std::count(origins.begin(), origins.end(), Origin::Filled));
  return quality;
}

void Residuals::Finish() {
  for (std::size_t p = 0; p < report_.parts.size(); ++p) {
    SolveReport::Part& part = report_.parts[p];
    const std::size_t counted = part.markers > 0 ? face_.FrameCount() - part.rest_frames : 0;
    if (counted > 0) part.rms_mm = std::sqrt(squares_[p] / static_cast<double>(counted));
  }
  // One frame of each moment: its neighbours are nearly as bad and say nothing new.
  constexpr std::size_t kShown = 10;
  constexpr double kApart_s = 0.5;
  std::stable_sort(frames_.begin(), frames_.end(),
                   [](const auto& a, const auto& b) { return a.residual_mm > b.residual_mm; });
  for (const SolveReport::Frame& frame : frames_) {
    if (report_.worst_frames.size() == kShown) break;
    const double time = face_.times[frame.frame];
    if (std::all_of(report_.worst_frames.begin(), report_.worst_frames.end(),
                    [&](const auto& other) { return std::abs(face_.times[other.frame] - time) >= kApart_s; }))
      report_.worst_frames.push_back(frame);
  }
}

} // namespace mien
