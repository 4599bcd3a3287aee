#pragma once

#include "host/base/statistics.h"

#include <cmath>
#include <vector>

namespace mien {

/// The standard error of the median of values that scatter as a normal distribution does, from their median
/// deviation, which a few outliers do not change. There must be a value.
inline double MedianError(std::vector<double> values) {
  constexpr double kDeviation = 1.4826; // of a normal distribution / its median deviation
  constexpr double kOfMean = 1.2533;    // the error of a median / that of a mean: the root of pi / 2
  const double median = Median(values);
  for (double& value : values) value = std::fabs(value - median);
  return kOfMean * kDeviation * Median(values) / std::sqrt(static_cast<double>(values.size()));
}

} // namespace mien
