#include "mien/character/weighted_sum.h"

#include <cstddef>
#include <cstring>
#include <iterator>

namespace mien::detail {

namespace {

void AddColumns(double* sum, int first, int columns, const double* const* rows, const double* weights,
                int count) {
  for (int s = first; s < columns; ++s) {
    double total = sum[s];
    for (int k = 0; k < count; ++k) total += rows[k][s] * weights[k];
    sum[s] = total;
  }
}

void AddByOne(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  AddColumns(sum, 0, columns, rows, weights, count);
}

#if defined(__GNUC__)

/// `Blocks` vectors of columns stay in registers while all rows are added to them. Answers the first column that is
/// left over.
template <class Vector, std::size_t Blocks>
[[gnu::always_inline]] inline int AddBlocks(double* sum, int first, int columns, const double* const* rows,
                                            const double* weights, int count) {
  constexpr int kColumns = static_cast<int>(Blocks * sizeof(Vector) / sizeof(double));
  int s = first;
  for (; s + kColumns <= columns; s += kColumns) {
    Vector total[Blocks];
    std::memcpy(total, &sum[s], sizeof total);
    for (int k = 0; k < count; ++k) {
      Vector row[Blocks];
      std::memcpy(row, &rows[k][s], sizeof row);
      for (std::size_t b = 0; b < Blocks; ++b) total[b] += row[b] * weights[k];
    }
    std::memcpy(&sum[s], total, sizeof total);
  }
  return s;
}

template <class Vector>
[[gnu::always_inline]] inline void AddVectors(double* sum, int columns, const double* const* rows,
                                              const double* weights, int count) {
  int s = AddBlocks<Vector, 8>(sum, 0, columns, rows, weights, count);
  s = AddBlocks<Vector, 1>(sum, s, columns, rows, weights, count);
  AddColumns(sum, s, columns, rows, weights, count);
}

using TwoDoubles [[gnu::vector_size(16)]] = double;

void AddByTwo(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  AddVectors<TwoDoubles>(sum, columns, rows, weights, count);
}

#if defined(__x86_64__)

using FourDoubles [[gnu::vector_size(32)]] = double;
using EightDoubles [[gnu::vector_size(64)]] = double;

[[gnu::target("avx")]] void AddByFour(double* sum, int columns, const double* const* rows,
                                      const double* weights, int count) {
  AddVectors<FourDoubles>(sum, columns, rows, weights, count);
}

[[gnu::target("avx512f")]] void AddByEight(double* sum, int columns, const double* const* rows,
                                           const double* weights, int count) {
  AddVectors<EightDoubles>(sum, columns, rows, weights, count);
}

#endif
#endif

} // namespace

std::span<WeightedSum* const> WeightedSums() {
  static constexpr WeightedSum* kSums[] = {
    AddByOne,
#if defined(__GNUC__)
    AddByTwo,
#if defined(__x86_64__)
    AddByFour,
    AddByEight,
#endif
#endif
  };
  std::size_t runnable = std::size(kSums);
#if defined(__GNUC__) && defined(__x86_64__)
  __builtin_cpu_init(); // static constructors may come here before the runtime has
  if (!__builtin_cpu_supports("avx512f")) --runnable;
  if (!__builtin_cpu_supports("avx")) --runnable;
#endif
  return {kSums, runnable};
}

void AddWeightedRows(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  static WeightedSum* const widest = WeightedSums().back();
  widest(sum, columns, rows, weights, count);
}

} // namespace mien::detail
