#pragma once

/// @file
/// How weights are limited, and how one coordinate becomes a weight. Not installed.

namespace mien::detail {

/// x limited to [0, 1]. The upper limit is tested first, so a NaN becomes 1.
inline double Clamp01NanToOne(double x) {
  const double at_most_one = x < 1.0 ? x : 1.0;
  return at_most_one > 0.0 ? at_most_one : 0.0;
}

/// x limited to [0, 1]. The lower limit is tested first, so a NaN becomes 0.
inline double Clamp01NanToZero(double x) {
  const double at_least_zero = x > 0.0 ? x : 0.0;
  return at_least_zero < 1.0 ? at_least_zero : 1.0;
}

/// How far `s` is on the way from `rest` up to `full`, limited to [0, 1]; 0 at or below `rest`.
inline double RampUp(double s, double rest, double full) {
  if (!(s > rest)) return 0.0;
  return s > full ? 1.0 : Clamp01NanToOne((s - rest) / (full - rest));
}

} // namespace mien::detail
