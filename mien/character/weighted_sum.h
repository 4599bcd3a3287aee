#pragma once

/// @file
/// The loop that takes most of a character's time. Not installed.

#include <span>

namespace mien::detail {

/// sum[s] = 0.0 + rows[0][s] * weights[0] + rows[1][s] * weights[1] and so on up to `count`, for each s below
/// `columns`. Each sum is added in that order and rounded after each step, however wide the processor's
/// vectors are: they run across the columns. A sum is never -0.0. `sum` must not overlap a row.
using WeightedSum = void(double* sum, int columns, const double* const* rows, const double* weights,
                         int count);

/// All variants that this processor can run, from one column at a time to its widest vectors. They give the
/// same bits, except for the choice among several NaNs.
std::span<WeightedSum* const> WeightedSums();

/// Runs the widest of them.
WeightedSum SumWeightedRows;

} // namespace mien::detail
