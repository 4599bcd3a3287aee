#pragma once

// The one loop in which characters spend their time. Not installed.

namespace mien::detail {

/// sum[s] += rows[0][s] * weights[0], then rows[1][s] * weights[1], and so on up to `count`, for each s below
/// `columns`. Each sum is added in that order and rounded after each step, however wide the processor's vectors are:
/// they run across the columns. `sum` must not overlap a row.
void AddWeightedRows(double* sum, int columns, const double* const* rows, const double* weights, int count);

} // namespace mien::detail
