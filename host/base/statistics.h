#pragma once

#include <cstddef>
#include <vector>

namespace mien {

/// There must be a value.
double Mean(const std::vector<double>& values);

/// The value that so large a fraction of the others, 0 to 1, are not above; the lower one where it falls
/// between two. There must be a value, and no NaN. May change their order.
double Quantile(std::vector<double>& values, double fraction);

/// As Quantile, but interpolated where it falls between two values.
double Percentile(std::vector<double>& values, double fraction);

/// The middle value; of an even number of them the mean of the middle two. There must be a value, and no NaN.
/// May change their order.
double Median(std::vector<double>& values);

} // namespace mien
