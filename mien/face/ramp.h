#pragma once

// How weights are limited and how one coordinate becomes a weight. Not installed.

namespace mien {

/// x limited to [0, 1]; a NaN becomes 1.
inline double Clamp01(double x) {
  const double at_most_one = x < 1.0 ? x : 1.0;
  return at_most_one > 0.0 ? at_most_one : 0.0;
}

/// How far `s` has gone from `rest` up to `full`, limited to [0, 1]; 0 at or below `rest`.
inline double RampUp(double s, double rest, double full) {
  if (!(s > rest)) return 0.0;
  return s > full ? 1.0 : Clamp01((s - rest) / (full - rest));
}

} // namespace mien
