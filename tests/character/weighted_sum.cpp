#include "mien/character/weighted_sum.h"

#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using namespace tests;
using mien::detail::SumWeightedRows, mien::detail::WeightedSum, mien::detail::WeightedSums;

namespace {

/// Rows and sums at arbitrary addresses, each row at a different one, that end with their memory, so that
/// AddressSanitizer detects any access beyond the last column.
struct Sheet {
  Sheet(int column_count, int row_count, int shifted_by, HardNumbers& numbers)
      : columns(column_count), shift(shifted_by) {
    for (int k = 0; k < row_count; ++k) {
      const int row_shift = (shift + 3 * k) % 8;
      auto& row = rows.emplace_back(static_cast<std::size_t>(row_shift + columns), kNaN);
      for (int s = 0; s < columns; ++s) row[static_cast<std::size_t>(row_shift + s)] = numbers.Weight();
      row_starts.push_back(row.data() + row_shift);
      weights.push_back(numbers.Weight());
    }
  }

  /// Including the memory before the sums.
  std::vector<double> Sum(WeightedSum& sum_rows) const {
    std::vector<double> sum(static_cast<std::size_t>(shift + columns), 0.5);
    sum_rows(sum.data() + shift, columns, row_starts.data(), weights.data(), static_cast<int>(rows.size()));
    return sum;
  }

  int columns, shift;
  std::vector<double> weights;
  std::vector<std::vector<double>> rows;
  std::vector<const double*> row_starts;
};

void SumPlainly(double* sum, int columns, const double* const* rows, const double* weights, int count) {
  for (int s = 0; s < columns; ++s) sum[s] = 0;
  for (int k = 0; k < count; ++k)
    for (int s = 0; s < columns; ++s) sum[s] = sum[s] + rows[k][s] * weights[k];
}

testing::AssertionResult SameBits(const std::vector<double>& actual, const std::vector<double>& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i)
    if (!tests::SameBits(actual[i], expected[i]))
      return testing::AssertionFailure()
             << "element " << i << ": " << actual[i] << " instead of " << expected[i];
  return testing::AssertionSuccess();
}

} // namespace

TEST(WeightedSum, HasAVectorVariantForThisProcessor) {
  EXPECT_GE(WeightedSums().size(), 2U);
#if defined(__x86_64__)
  EXPECT_EQ(WeightedSums().size(),
            2U + (__builtin_cpu_supports("avx") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#endif
}

// All widths from below one vector to beyond two tiles of the widest, and the width of the longest part.
TEST(WeightedSum, EveryWidthGivesTheBitsOfTheStatedOrder) {
  HardNumbers numbers(31, 0);
  std::vector<int> columns{383, 384, 385, 498, 499, 500};
  for (int n = 0; n <= 280; ++n) columns.push_back(n);
  for (const int n : columns)
    for (int shift = 0; shift < 8; ++shift) {
      constexpr int kCounts[] = {25, 0, 2, 1};
      const Sheet sheet(n, kCounts[(n + shift) % 4], shift, numbers);
      const std::vector<double> expected = sheet.Sum(SumPlainly);
      for (std::size_t i = 0; i < WeightedSums().size(); ++i)
        ASSERT_TRUE(SameBits(sheet.Sum(*WeightedSums()[i]), expected))
            << "sum " << i << ", " << n << " columns, " << sheet.rows.size() << " rows, shifted by " << shift;
      ASSERT_TRUE(SameBits(sheet.Sum(SumWeightedRows), expected)) << n << " columns, shifted by " << shift;
    }
}

// Infinities, NaNs, zeros of either sign, denormals, and sums that cancel or overflow.
TEST(WeightedSum, EveryWidthGivesTheSameBitsForHardNumbers) {
  HardNumbers numbers(32, 3);
  for (int round = 0; round < 300; ++round) {
    const Sheet sheet(numbers.Below(160), numbers.Below(40), numbers.Below(8), numbers);
    const std::vector<double> expected = sheet.Sum(SumPlainly);
    for (std::size_t i = 0; i < WeightedSums().size(); ++i)
      ASSERT_TRUE(SameBits(sheet.Sum(*WeightedSums()[i]), expected)) << "sum " << i << ", round " << round;
  }
}

// A fused multiply-add would round (1 + e)(1 - e) - 1 once and give -e^2 instead of 0.
TEST(WeightedSum, ProductsAreRoundedBeforeTheyAreAdded) {
  const double e = 0x1p-30;
  const std::vector<double> minus_one(200, -1), row(200, 1 + e);
  const double* const rows[2] = {minus_one.data(), row.data()};
  const double weights[2] = {1, 1 - e};
  for (WeightedSum* const sum_rows : WeightedSums()) {
    std::vector<double> sum(200, kNaN);
    sum_rows(sum.data(), 200, rows, weights, 2);
    for (const double total : sum) EXPECT_EQ(total, 0);
  }
}

// Callers rely on it when they leave out additions of 0.0.
TEST(WeightedSum, StartsFromZeroAndNeverBecomesMinusZero) {
  const std::vector<double> zero(200, -0.0), tiny(200, 5e-324);
  const double* const rows[3] = {zero.data(), zero.data(), tiny.data()};
  const double weights[3] = {1, 0, -0.5};
  for (WeightedSum* const sum_rows : WeightedSums())
    for (int count = 0; count <= 3; ++count) {
      std::vector<double> sum(200, kNaN);
      sum_rows(sum.data(), 200, rows, weights, count);
      ASSERT_TRUE(SameBits(sum, std::vector<double>(200, 0.0))) << count << " rows";
    }
}

TEST(WeightedSum, ColumnsBeyondAreNeitherReadNorWritten) {
  for (WeightedSum* const sum_rows : WeightedSums())
    for (int columns = 0; columns <= 130; ++columns) {
      std::vector<double> row(200, kNaN), sum(200, 0.5);
      for (int s = 0; s < columns; ++s) row[static_cast<std::size_t>(s)] = 2;
      const double* const rows[2] = {row.data(), row.data()};
      const double weights[2] = {1, 0.125};
      sum_rows(sum.data(), columns, rows, weights, 2);
      for (int s = 0; s < 200; ++s) ASSERT_EQ(sum[static_cast<std::size_t>(s)], s < columns ? 2.25 : 0.5);
    }
}
