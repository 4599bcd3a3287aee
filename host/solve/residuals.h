#pragma once

#include "host/solve/face_solver.h"
#include "host/solve/solve_report.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace mien {

/// Gathers, frame by frame, how well a take's parts are solved and in which frames they rest, into the
/// report's `parts` and `worst_frames`.
class Residuals {
public:
  /// `face`: the markers of the solver in the head's frame, their gaps filled as far as they are. All must
  /// outlive this.
  Residuals(const Take& face, const FaceSolver& solver, SolveReport& report);

  /// Each frame once, in order. `residual_mm`: as in FaceSolver::Frame.
  void Add(std::size_t frame, const std::array<double, 9>& residual_mm);

  /// The same of one frame, for a caller that keeps all of them; `head_known` is left out.
  SolveReport::FrameQuality QualityOf(std::size_t frame, const std::array<double, 9>& residual_mm) const;

  /// After the last frame.
  void Finish();

private:
  /// Of a part's markers, those that are gaps in a frame with these origins.
  std::size_t Gaps(std::span<const Origin> origins, std::size_t part) const;

  const Take& face_;
  const FaceSolver& solver_;
  SolveReport& report_;
  std::array<double, 9> squares_ = {};
  std::vector<SolveReport::Frame> frames_; // with their worst part; those without a residual are left out
};

} // namespace mien
