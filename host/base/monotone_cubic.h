#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace mien {

/// The curve of Fritsch and Butland (1984) through a value at each of the times: it keeps within its two
/// neighbours, so that nothing overshoots, and a straight line stays one. Where a value is NaN, so is the
/// curve up to the values beside it.
class MonotoneCubic {
public:
  /// `times` rise and must outlive this (sizes: equal).
  MonotoneCubic(std::span<const double> times, std::vector<double> values);

  /// `i` is the interval that the time is in: times[i] <= time < times[i + 1], or the last time's index.
  double At(double time, std::size_t i) const;

private:
  const std::span<const double> times_;
  std::vector<double> values_, slopes_;
};

/// The slopes of a MonotoneCubic at each of the times (size: times), from the slopes of the straight lines between
/// them (size: one less, or none).
std::vector<double> MonotoneSlopes(std::span<const double> times, const std::vector<double>& secants);

} // namespace mien
