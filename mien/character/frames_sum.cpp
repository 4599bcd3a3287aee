#include "mien/character/frames_sum.h"

#include "mien/base/lanes.h"

#include <algorithm>
#include <utility>

namespace mien::detail {

namespace {

/// Sums `Blocks` vectors of columns for `Frames` frames, which stay in registers while all rows are added to
/// them: every vector of a row is read once for all frames. The last vector may extend beyond the columns;
/// what is beyond them is not written.
template <class Real, std::size_t Frames, std::size_t Blocks>
MIEN_IN_LANES void SumTile(double* sums, std::size_t stride, const WeightedFrames& terms, bool add,
                           std::size_t frame, std::size_t column) {
  constexpr std::size_t kWidth = kLanes<Real>;
  Real total[Frames][Blocks];
  for (auto& of_frame : total)
    for (Real& of_block : of_frame) of_block = 0.0;
  const double* const weights = terms.weights + frame * terms.weights_stride;
  for (std::size_t k = 0; k < terms.count; ++k) {
    const double* const row = terms.rows[k] + column;
    Real columns[Blocks];
    for (std::size_t b = 0; b < Blocks; ++b) columns[b] = Load<Real>(row + b * kWidth);
    for (std::size_t f = 0; f < Frames; ++f) {
      const Real weight(weights[f * terms.weights_stride + terms.elements[k]]);
      for (std::size_t b = 0; b < Blocks; ++b) total[f][b] = total[f][b] + columns[b] * weight;
    }
  }
  const std::size_t last = std::min(terms.columns - column - (Blocks - 1) * kWidth, kWidth);
  for (std::size_t f = 0; f < Frames; ++f)
    for (std::size_t b = 0; b < Blocks; ++b) {
      double* const to = sums + (frame + f) * stride + column + b * kWidth;
      if (b < Blocks - 1 || last == kWidth) {
        Store(to, add ? Load<Real>(to) + total[f][b] : total[f][b]);
      } else {
        double sum[kWidth];
        Store(sum, total[f][b]);
        for (std::size_t s = 0; s < last; ++s) to[s] = add ? to[s] + sum[s] : sum[s];
      }
    }
}

template <class Real, std::size_t Frames, std::size_t... Fewer>
MIEN_IN_LANES void SumTile(std::size_t blocks, std::index_sequence<Fewer...>, double* sums,
                           std::size_t stride, const WeightedFrames& terms, bool add, std::size_t frame,
                           std::size_t column) {
  (void)((blocks == Fewer + 1 &&
          (SumTile<Real, Frames, Fewer + 1>(sums, stride, terms, add, frame, column), true)) ||
         ...);
}

/// Sums frames from `first` up to `end`, `Frames` at a time, in tiles of up to `MostBlocks` vectors, as equal
/// as possible. The rows of a tile stay in the cache for all frames.
template <class Real, std::size_t Frames, std::size_t MostBlocks>
MIEN_IN_LANES void SumTiles(double* sums, std::size_t stride, const WeightedFrames& terms, bool add,
                            std::size_t first, std::size_t end) {
  constexpr std::size_t kWidth = kLanes<Real>;
  std::size_t left = (terms.columns + kWidth - 1) / kWidth, column = 0;
  for (std::size_t tiles = (left + MostBlocks - 1) / MostBlocks; tiles > 0; --tiles) {
    const std::size_t blocks = (left + tiles - 1) / tiles;
    for (std::size_t frame = first; frame < end; frame += Frames)
      SumTile<Real, Frames>(blocks, std::make_index_sequence<MostBlocks>(), sums, stride, terms, add, frame,
                            column);
    column += blocks * kWidth;
    left -= blocks;
  }
}

/// `Frames` x `Blocks` vectors at a time; for the remaining frames, 1 x `Blocks` x `Frames` / 2.
template <class Real, std::size_t Frames, std::size_t Blocks>
MIEN_IN_LANES void Sum(double* sums, std::size_t stride, const WeightedFrames& terms, bool add) {
  const std::size_t whole = terms.frames - terms.frames % Frames;
  SumTiles<Real, Frames, Blocks>(sums, stride, terms, add, 0, whole);
  SumTiles<Real, 1, Blocks * Frames / 2>(sums, stride, terms, add, whole, terms.frames);
}

void SumByOne(double* sums, std::size_t stride, const WeightedFrames& terms, bool add) {
  Sum<double, 4, 2>(sums, stride, terms, add);
}

#if defined(__GNUC__)

void SumByTwo(double* sums, std::size_t stride, const WeightedFrames& terms, bool add) {
  Sum<Lanes<2>, 4, 2>(sums, stride, terms, add); // of 16 registers
}

#if defined(__x86_64__)

[[gnu::target("avx2")]] void SumByFour(double* sums, std::size_t stride, const WeightedFrames& terms,
                                       bool add) {
  Sum<Lanes<4>, 4, 2>(sums, stride, terms, add);
}

[[gnu::target("avx512f")]] void SumByEight(double* sums, std::size_t stride, const WeightedFrames& terms,
                                           bool add) {
  Sum<Lanes<8>, 8, 3>(sums, stride, terms, add); // of 32 registers
}

#endif
#endif

} // namespace

std::span<FramesSum* const> FramesSums() {
  static constexpr FramesSum* kSums[] = {
    SumByOne,
#if defined(__GNUC__)
    SumByTwo,
#if defined(__x86_64__)
    SumByFour,
    SumByEight,
#endif
#endif
  };
  return Runnable(kSums);
}

void SumFrames(double* sums, std::size_t stride, const WeightedFrames& terms, bool add) {
  static FramesSum* const widest = FramesSums().back();
  widest(sums, stride, terms, add);
}

} // namespace mien::detail
