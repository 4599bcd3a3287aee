#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstddef>
#include <span>
#include <vector>

namespace mien {

/// A low-pass filter without delay: a second-order Butterworth, run forwards and then backwards.
///
/// Both runs together pass 0.707 of the amplitude at the cutoff frequency, and fall like a fourth-order
/// filter far above it. A constant and a straight line are unchanged. The values are continued beyond their
/// ends, by repeated rotation about the end point, for as long as the filter takes to settle.
///
/// The coefficients are those of the bilinear transform of 1 / (1 + sqrt(2) s + s^2). The cutoff is raised by
/// a factor of (sqrt(2) - 1)^(-1/4) to compensate for the two runs; see D. Winter, "Biomechanics and Motor
/// Control of Human Movement".
class LowPass {
public:
  /// `cutoff_hz` must be above 0 and below half the rate.
  LowPass(double cutoff_hz, const FrameRate& rate);

  /// Filters equally spaced values in place.
  void Filter(std::span<double> values);

private:
  void Run();

  double b_ = 0, a1_ = 0, a2_ = 0; // y = b (x + 2 x' + x'') + a1 y' + a2 y''
  std::size_t settling_ = 0;       // frames
  std::vector<double> extended_;
};

/// Filters the positions of these markers (indices). Each stretch without a gap or a missing frame number is
/// filtered separately. The filter overshoots where a marker leaps: a position that would lie beyond a kilometre
/// stays as it is.
void SmoothPositions(Take& take, const std::vector<std::size_t>& markers, double cutoff_hz);

} // namespace mien
