#include "mien/character/weighted_sum.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

namespace mien::detail {

namespace {

void SumByOne(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  for (int s = 0; s < columns; ++s) {
    double total = 0;
    for (int k = 0; k < count; ++k) total += rows[k][s] * weights[k];
    sum[s] = total;
  }
}

#if defined(__GNUC__)

template <class Vector>
[[gnu::always_inline]] inline void AddProduct(Vector& total, const double* row, double weight) {
  Vector columns;
  std::memcpy(&columns, row, sizeof columns); // the compiler would split a longer copy into narrower pieces
  total += columns * weight;
}

/// Sums `Blocks` vectors of columns, which stay in registers while all rows are added to them. They are
/// consecutive from column `at` on, except that the first and the last are moved inwards if they would extend
/// beyond the columns: a column that two of them cover then gets the same sum twice.
template <class Vector, std::size_t Blocks>
[[gnu::always_inline]] inline void SumTile(double* sum, std::ptrdiff_t at, int columns,
                                           const double* const* rows, const double* weights, int count) {
  constexpr std::size_t kWidth = sizeof(Vector) / sizeof(double), kLast = Blocks - 1;
  const auto inside = [most = columns - static_cast<std::ptrdiff_t>(kWidth)](std::ptrdiff_t column) {
    return std::clamp<std::ptrdiff_t>(column, 0, most);
  };
  const auto first = inside(at), last = inside(at + static_cast<std::ptrdiff_t>(kLast * kWidth));
  const auto second = inside(at + static_cast<std::ptrdiff_t>(kWidth));

  Vector total[Blocks] = {};
  for (int k = 0; k < count; ++k) {
    const double* row = rows[k] + second;
    asm("" : "+r"(row)); // one address for all; separate indices, the compiler's choice, are slower
    AddProduct(total[0], rows[k] + first, weights[k]);
    for (std::size_t b = 1; b < kLast; ++b) AddProduct(total[b], row + (b - 1) * kWidth, weights[k]);
    if (Blocks > 1) AddProduct(total[kLast], rows[k] + last, weights[k]);
  }
  std::memcpy(sum + first, &total[0], sizeof(Vector));
  for (std::size_t b = 1; b < kLast; ++b)
    std::memcpy(sum + second + (b - 1) * kWidth, &total[b], sizeof(Vector));
  std::memcpy(sum + last, &total[kLast], sizeof(Vector));
}

template <class Vector, std::size_t... Indices>
[[gnu::always_inline]] inline void SumTile(std::size_t blocks, std::index_sequence<Indices...>, double* sum,
                                           std::ptrdiff_t at, int columns, const double* const* rows,
                                           const double* weights, int count) {
  (void)((blocks == Indices + 1 &&
          (SumTile<Vector, Indices + 1>(sum, at, columns, rows, weights, count), true)) ||
         ...);
}

/// Sums at least one vector of columns, in as few tiles as the registers allow, since every row is in other
/// memory pages. The tiles are as equal as possible: a tile of one vector would wait for each of its
/// additions.
template <class Vector, std::size_t MostBlocks>
[[gnu::always_inline]] inline void SumVectors(double* sum, int columns, const double* const* rows,
                                              const double* weights, int count) {
  constexpr std::ptrdiff_t kWidth = sizeof(Vector) / sizeof(double);
  // From this column on, the vectors of the first row, and of rows aligned like it, cross no cache line
  // boundary.
  const auto beyond_border = count > 0 ? reinterpret_cast<std::uintptr_t>(rows[0]) % sizeof(Vector) : 0;
  std::ptrdiff_t at = -static_cast<std::ptrdiff_t>(beyond_border / sizeof(double));
  auto left = static_cast<std::size_t>((columns - at + kWidth - 1) / kWidth);
  for (std::size_t tiles = (left + MostBlocks - 1) / MostBlocks; tiles > 0; --tiles) {
    const std::size_t blocks = (left + tiles - 1) / tiles;
    SumTile<Vector>(blocks, std::make_index_sequence<MostBlocks>(), sum, at, columns, rows, weights, count);
    at += static_cast<std::ptrdiff_t>(blocks) * kWidth;
    left -= blocks;
  }
}

using TwoDoubles [[gnu::vector_size(16)]] = double;

void SumByTwo(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  if (columns < 2) return SumByOne(sum, columns, rows, weights, count);
  SumVectors<TwoDoubles, 12>(sum, columns, rows, weights, count); // of 16 registers
}

#if defined(__x86_64__)

using FourDoubles [[gnu::vector_size(32)]] = double;
using EightDoubles [[gnu::vector_size(64)]] = double;

[[gnu::target("avx")]] void SumByFour(double* sum, int columns, const double* const* rows,
                                      const double* weights, int count) {
  if (columns < 4) return SumByTwo(sum, columns, rows, weights, count);
  SumVectors<FourDoubles, 12>(sum, columns, rows, weights, count);
}

[[gnu::target("avx512f")]] void SumByEight(double* sum, int columns, const double* const* rows,
                                           const double* weights, int count) {
  if (columns < 8) return SumByFour(sum, columns, rows, weights, count);
  SumVectors<EightDoubles, 16>(sum, columns, rows, weights, count); // of 32 registers
}

#endif
#endif

} // namespace

std::span<WeightedSum* const> WeightedSums() {
  static constexpr WeightedSum* kSums[] = {
    SumByOne,
#if defined(__GNUC__)
    SumByTwo,
#if defined(__x86_64__)
    SumByFour,
    SumByEight,
#endif
#endif
  };
  std::size_t runnable = std::size(kSums);
#if defined(__GNUC__) && defined(__x86_64__)
  __builtin_cpu_init(); // static constructors may call this before the runtime does
  if (!__builtin_cpu_supports("avx512f")) --runnable;
  if (!__builtin_cpu_supports("avx")) --runnable;
#endif
  return {kSums, runnable};
}

void SumWeightedRows(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  static WeightedSum* const widest = WeightedSums().back();
  widest(sum, columns, rows, weights, count);
}

} // namespace mien::detail
