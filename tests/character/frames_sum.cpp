#include "mien/character/frames_sum.h"

#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using namespace tests;
using mien::detail::FramesSum, mien::detail::FramesSums, mien::detail::SumFrames,
    mien::detail::WeightedFrames;

namespace {

/// Rows and weights of some frames. The rows are NaN beyond their columns, up to the next multiple of eight.
struct Film {
  Film(std::size_t column_count, std::size_t row_count, std::size_t frame_count, HardNumbers& numbers)
      : columns(column_count), frames(frame_count) {
    for (std::size_t k = 0; k < row_count; ++k) {
      auto& row = rows.emplace_back((columns + 7) / 8 * 8, kNaN);
      for (std::size_t s = 0; s < columns; ++s) row[s] = numbers.Weight();
      elements.push_back((5 * k) % kWeights);
    }
    for (const auto& row : rows) row_starts.push_back(row.data());
    for (std::size_t i = 0; i < frames * kWeights; ++i) weights.push_back(numbers.Weight());
  }

  /// Sums with a number after each frame's, which stay as they are, as do those after the last.
  std::vector<double> Sum(FramesSum& sum, double before, bool add) const {
    std::vector<double> sums((columns + 1) * frames + 8, before);
    sum(sums.data(), columns + 1,
        {row_starts.data(), elements.data(), rows.size(), columns, weights.data(), kWeights, frames}, add);
    return sums;
  }

  static constexpr std::size_t kWeights = 31; // of a frame
  std::size_t columns, frames;
  std::vector<std::vector<double>> rows;
  std::vector<const double*> row_starts;
  std::vector<std::size_t> elements;
  std::vector<double> weights;
};

void SumPlainly(double* sums, std::size_t stride, const WeightedFrames& terms, bool add) {
  for (std::size_t f = 0; f < terms.frames; ++f)
    for (std::size_t s = 0; s < terms.columns; ++s) {
      double sum = 0;
      for (std::size_t k = 0; k < terms.count; ++k)
        sum += terms.rows[k][s] * terms.weights[f * terms.weights_stride + terms.elements[k]];
      double& to = sums[f * stride + s];
      to = add ? to + sum : sum;
    }
}

void ExpectTheStatedOrder(const Film& film) {
  for (const bool add : {false, true}) {
    const std::vector<double> expected = film.Sum(SumPlainly, 0.1, add);
    const auto expect_same = [&](FramesSum& sum, std::size_t variant) {
      const std::vector<double> actual = film.Sum(sum, 0.1, add);
      for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_TRUE(SameBits(actual[i], expected[i]))
            << "sum " << variant << ", " << film.columns << " columns, " << film.rows.size() << " rows, "
            << film.frames << " frames, element " << i;
    };
    for (std::size_t i = 0; i < FramesSums().size(); ++i) expect_same(*FramesSums()[i], i);
    expect_same(SumFrames, FramesSums().size());
  }
}

} // namespace

TEST(FramesSum, HasAVariantForEveryWidthOfThisProcessor) {
#if defined(__x86_64__)
  EXPECT_EQ(FramesSums().size(),
            2U + (__builtin_cpu_supports("avx2") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#else
  EXPECT_GE(FramesSums().size(), 1U);
#endif
}

// All widths from none to beyond the largest tile of one frame, and every count of frames to beyond two tiles.
TEST(FramesSum, EveryWidthGivesTheBitsOfTheStatedOrder) {
  HardNumbers numbers(41, 0);
  for (std::size_t columns = 0; columns <= 110; ++columns)
    for (const std::size_t rows : {std::size_t{23}, columns % 3})
      ExpectTheStatedOrder(Film(columns, rows, columns % 21, numbers));
  for (std::size_t frames = 0; frames <= 20; ++frames) ExpectTheStatedOrder(Film(52, 23, frames, numbers));
  ExpectTheStatedOrder(Film(7500, 3, 9, numbers));
}

// Infinities, NaNs, zeros of either sign, denormals, and sums that cancel or overflow.
TEST(FramesSum, EveryWidthGivesTheSameBitsForHardNumbers) {
  HardNumbers numbers(42, 3);
  for (int round = 0; round < 200; ++round) {
    const auto below = [&](int limit) { return static_cast<std::size_t>(numbers.Below(limit)); };
    const std::size_t columns = below(70), rows = below(40), frames = below(21);
    ExpectTheStatedOrder(Film(columns, rows, frames, numbers));
  }
}

// A fused multiply-add would round (1 + e)(1 - e) - 1 once and give -e^2 instead of 0.
TEST(FramesSum, ProductsAreRoundedBeforeTheyAreAdded) {
  const double e = 0x1p-30;
  const std::vector<double> minus_one(200, -1), row(200, 1 + e);
  const double* const rows[2] = {minus_one.data(), row.data()};
  const std::size_t elements[2] = {0, 1};
  std::vector<double> weights;
  for (int f = 0; f < 20; ++f) weights.insert(weights.end(), {1, 1 - e});
  for (FramesSum* const sum : FramesSums()) {
    std::vector<double> sums(20 * 200, kNaN);
    sum(sums.data(), 200, {rows, elements, 2, 200, weights.data(), 2, 20}, false);
    for (const double total : sums) EXPECT_EQ(total, 0);
  }
}
