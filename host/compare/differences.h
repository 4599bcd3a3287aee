#pragma once

#include "host/compare/recording.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mien {

/// How two curves of the same frames differ.
struct CurveDifference {
  std::size_t compared = 0;           ///< frames in which both have a value; 0 leaves the rest empty
  std::size_t only_a = 0, only_b = 0; ///< frames in which one of them has

  /// Largest distance of the two values, or of a marker's two positions, and its first frame, by index; root
  /// mean square of all. In the curve's unit. Angles differ by at most half a turn.
  double largest = 0;
  std::size_t largest_frame = 0;
  double rms = 0;

  /// Of weights and angles: Pearson's, -1 to 1; nothing where either curve is constant.
  std::optional<double> correlation;

  /// Of weights and angles: frames by which B is later, within half a second, at the largest correlation.
  /// Nothing without a clear peak: one of at least 0.5, from which the correlation falls by 0.01 or more on
  /// both sides, and no other peak as high within 0.02.
  std::optional<double> lag_frames;
};

/// `a` and `b` have the same frames, with these numbers, at `rate`.
CurveDifference Difference(const Curve& a, const Curve& b, const LongVector<std::int64_t>& frames,
                           const FrameRate& rate);

/// A difference on one scale for all units, for sorting and for limits: of a weight the difference itself, of
/// an angle in radians, of a marker in millimetres.
double Size(const Curve& curve, double difference);

} // namespace mien
