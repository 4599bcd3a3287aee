#include "host/batch/cost.h"

#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

using mien::BatchLine;
using testing::ElementsAre;

namespace {

std::vector<BatchLine> LinesWithCosts(const std::vector<std::uint64_t>& costs) {
  std::vector<BatchLine> lines;
  for (const std::uint64_t cost : costs) lines.push_back({.number = lines.size() + 1, .cost = cost});
  return lines;
}

std::vector<std::size_t> Numbers(const std::vector<BatchLine>& lines) {
  std::vector<std::size_t> numbers;
  for (const BatchLine& line : lines) numbers.push_back(line.number);
  return numbers;
}

std::uint64_t CostOf(const std::vector<BatchLine>& lines) {
  return std::accumulate(lines.begin(), lines.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const BatchLine& line) { return sum + line.cost; });
}

class CostTest : public TemporaryFolder {};

} // namespace

TEST_F(CostTest, GrowsWithTheTakesSizeAndAMissingTakeCostsLittle) {
  std::vector<BatchLine> lines(3);
  lines[0].take = Write("a", std::string(5000, 'a'));
  lines[1].take = Write("b", std::string(2000, 'b'));
  lines[2].take = folder_ / "none";
  mien::SetCosts(lines);
  EXPECT_EQ(lines[0].cost - lines[1].cost, 3000u);
  EXPECT_EQ(lines[1].cost - lines[2].cost, 2000u);
  EXPECT_GT(lines[2].cost, 0u);
}

TEST_F(CostTest, TheMostCostlyIsBegunFirstAndEqualOnesStayInOrder) {
  std::vector<BatchLine> lines = LinesWithCosts({5, 7, 5, 9});
  mien::SortByCost(lines);
  EXPECT_THAT(Numbers(lines), ElementsAre(4, 2, 1, 3));
}

TEST_F(CostTest, EveryLineIsInExactlyOneShard) {
  std::vector<std::uint64_t> costs;
  for (std::uint64_t i = 0; i < 200; ++i) costs.push_back(1 + (i * 7919) % 1000);
  for (const std::size_t count : {1u, 2u, 3u, 7u, 200u, 500u}) {
    std::vector<std::size_t> all;
    for (std::size_t shard = 1; shard <= count; ++shard) {
      const std::vector<std::size_t> numbers = Numbers(mien::ShardOf(LinesWithCosts(costs), shard, count));
      EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << "in the manifest's order";
      all.insert(all.end(), numbers.begin(), numbers.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, Numbers(LinesWithCosts(costs))) << count;
  }
}

// Giving each line to the shard with the least leaves no two shards further apart than the last line.
TEST_F(CostTest, ShardsCostNearlyTheSame) {
  std::vector<std::uint64_t> costs;
  for (std::uint64_t i = 0; i < 200; ++i) costs.push_back(1000 + (i * 7919) % 1000);
  std::vector<std::uint64_t> shards;
  for (std::size_t shard = 1; shard <= 7; ++shard)
    shards.push_back(CostOf(mien::ShardOf(LinesWithCosts(costs), shard, 7)));
  const auto [least, most] = std::minmax_element(shards.begin(), shards.end());
  EXPECT_LT(*most - *least, 2000u);
  EXPECT_GT(*least, 0u);
}

TEST_F(CostTest, OneLargeTakeIsAShardOfItsOwn) {
  EXPECT_THAT(Numbers(mien::ShardOf(LinesWithCosts({1, 1, 100, 1}), 1, 2)), ElementsAre(3));
  EXPECT_THAT(Numbers(mien::ShardOf(LinesWithCosts({1, 1, 100, 1}), 2, 2)), ElementsAre(1, 2, 4));
}
