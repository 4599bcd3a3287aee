#include "mien/character/weighted_sum.h"

#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using namespace tests;
using mien::detail::AddWeightedRows, mien::detail::WeightedSum, mien::detail::WeightedSums;

namespace {

/// Rows and sums that start at any address, so that no vector is aligned by luck, and that end with their memory, so
/// that AddressSanitizer sees a step beyond the last column.
struct Sheet {
  Sheet(int column_count, int row_count, int shifted_by, HardNumbers& numbers)
      : columns(column_count), count(row_count), shift(shifted_by) {
    const auto Fill = [&](std::vector<double>& row) {
      row.resize(static_cast<std::size_t>(columns + shift));
      row.shrink_to_fit();
      for (double& weight : row) weight = numbers.Weight();
    };
    Fill(start);
    rows.resize(static_cast<std::size_t>(count));
    for (auto& row : rows) Fill(row), row_starts.push_back(row.data() + shift);
    for (int k = 0; k < count; ++k) weights.push_back(numbers.Weight());
  }

  std::vector<double> Sum(WeightedSum& add) const {
    std::vector<double> sum(start);
    add(sum.data() + shift, columns, row_starts.data(), weights.data(), count);
    return sum;
  }

  int columns, count, shift;
  std::vector<double> start, weights;
  std::vector<std::vector<double>> rows;
  std::vector<const double*> row_starts;
};

void AddPlainly(double* sum, int columns, const double* const* rows, const double* weights, int count) {
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

TEST(WeightedSum, ThereIsOneForThisProcessorBesideColumnByColumn) {
  EXPECT_GE(WeightedSums().size(), 2U);
#if defined(__x86_64__)
  EXPECT_EQ(WeightedSums().size(),
            2U + (__builtin_cpu_supports("avx") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#endif
}

// All widths from below one vector to beyond a block of eight of the widest, and what the longest part has.
TEST(WeightedSum, EveryWidthGivesTheBitsOfTheStatedOrder) {
  HardNumbers numbers(31, 0);
  std::vector<int> columns{149, 150, 151, 255, 256, 257, 498, 499, 500};
  for (int n = 0; n <= 140; ++n) columns.push_back(n);
  for (const int n : columns)
    for (const int count : {0, 1, 2, 25}) {
      const Sheet sheet(n, count, n % 3, numbers);
      const std::vector<double> expected = sheet.Sum(AddPlainly);
      for (std::size_t i = 0; i < WeightedSums().size(); ++i)
        ASSERT_TRUE(SameBits(sheet.Sum(*WeightedSums()[i]), expected))
            << "sum " << i << ", " << n << " columns, " << count << " rows";
      ASSERT_TRUE(SameBits(sheet.Sum(AddWeightedRows), expected)) << n << " columns, " << count << " rows";
    }
}

// Infinities, NaNs, zeros of either sign, denormals, and sums that cancel or overflow.
TEST(WeightedSum, EveryWidthGivesTheSameBitsForHardNumbers) {
  HardNumbers numbers(32, 3);
  for (int round = 0; round < 300; ++round) {
    const Sheet sheet(numbers.Below(160), numbers.Below(40), numbers.Below(8), numbers);
    const std::vector<double> expected = sheet.Sum(AddPlainly);
    for (std::size_t i = 0; i < WeightedSums().size(); ++i)
      ASSERT_TRUE(SameBits(sheet.Sum(*WeightedSums()[i]), expected)) << "sum " << i << ", round " << round;
  }
}

// A fused multiply-add would round (1 + e)(1 - e) - 1 once and give -e^2 instead of 0.
TEST(WeightedSum, ProductsAreRoundedBeforeTheyAreAdded) {
  const double e = 0x1p-30;
  const std::vector<double> row(200, 1 + e);
  const double* const rows[1] = {row.data()};
  const double weight = 1 - e;
  for (WeightedSum* const add : WeightedSums()) {
    std::vector<double> sum(200, -1.0);
    add(sum.data(), 200, rows, &weight, 1);
    for (const double total : sum) EXPECT_EQ(total, 0);
  }
}

TEST(WeightedSum, ColumnsBeyondAreNeitherReadNorWritten) {
  for (WeightedSum* const add : WeightedSums())
    for (int columns = 0; columns <= 130; ++columns) {
      std::vector<double> row(200, kNaN), sum(200, 0.5);
      for (int s = 0; s < columns; ++s) row[static_cast<std::size_t>(s)] = 2;
      const double* const rows[2] = {row.data(), row.data()};
      const double weights[2] = {1, 0.125};
      add(sum.data(), columns, rows, weights, 2);
      for (int s = 0; s < 200; ++s) ASSERT_EQ(sum[static_cast<std::size_t>(s)], s < columns ? 2.75 : 0.5);
    }
}
