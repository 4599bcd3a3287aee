#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstddef>
#include <span>
#include <vector>

namespace mien {

/// A low-pass filter that shifts nothing in time: a Butterworth of second order, run forwards and then backwards.
///
/// At the cutoff frequency it lets 0.707 of a wave through (both runs together), far above it a fourth-order filter's
/// share. A constant and a straight line come through as they are. The values go on beyond their ends, turned about
/// the end point again and again, for as long as the filter takes to settle.
///
/// The coefficients are those of the bilinear transform of 1 / (1 + sqrt(2) s + s^2), at a cutoff that is raised by
/// (sqrt(2) - 1)^(-1/4), for the two runs: D. Winter, "Biomechanics and Motor Control of Human Movement".
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

/// Filters these markers' ways (indices), each stretch without a gap or a missing frame number by itself.
void SmoothPositions(Take& take, const std::vector<std::size_t>& markers, double cutoff_hz);

} // namespace mien
