#pragma once

/// @file
/// The sum of weighted_sum.h for many frames at once. Not installed.

#include <cstddef>
#include <span>

namespace mien::detail {

/// Rows, and the weights with which they are to be summed in several frames.
struct WeightedFrames {
  const double* const* rows;   ///< Each readable up to the next multiple of eight columns.
  const std::size_t* elements; ///< By row: its weight among a frame's weights.
  std::size_t count;           ///< Of rows.
  std::size_t columns;
  const double* weights;      ///< Of the first frame.
  std::size_t weights_stride; ///< From a frame's weights to the next ones.
  std::size_t frames;
};

/// For each frame and column: 0.0 + rows[0][column] * its weight + rows[1][column] * its weight and so on, with
/// the bits of SumWeightedRows. The sums of a frame are consecutive and those of the next frame follow
/// `stride` later. If `add`, each is added to what is there, otherwise it replaces that; it is never -0.0.
/// `sums` must overlap neither rows nor weights.
using FramesSum = void(double* sums, std::size_t stride, const WeightedFrames& terms, bool add);

/// All variants that this processor can run, from one column at a time to its widest vectors. They give the
/// same bits, except for the choice among several NaNs.
std::span<FramesSum* const> FramesSums();

/// Runs the widest of them.
FramesSum SumFrames;

} // namespace mien::detail
