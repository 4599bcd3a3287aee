#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace mien {

/// There must be a value.
inline double Mean(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) sum += value;
  return sum / static_cast<double>(values.size());
}

/// The value that so large a fraction of the others, 0 to 1, are not above; the lower one where it falls
/// between two. There must be a value. Changes their order.
inline double Quantile(std::vector<double>& values, double fraction) {
  const auto at =
      values.begin() + static_cast<std::ptrdiff_t>(fraction * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

/// The middle value; of an even number of them the mean of the middle two. There must be a value. Changes
/// their order.
inline double Median(std::vector<double>& values) {
  const double low = Quantile(values, 0.5);
  if (values.size() % 2 == 1) return low;
  const auto upper_half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  return (low + *std::min_element(upper_half, values.end())) / 2;
}

} // namespace mien
