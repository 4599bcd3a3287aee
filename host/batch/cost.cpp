#include "host/batch/cost.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <numeric>
#include <queue>
#include <system_error>
#include <utility>

namespace mien {

namespace {

/// Of a take of no length: starting, and writing two files to the disk.
constexpr std::uint64_t kEachTake = 100'000;

/// Indices of the lines, the most costly first, and equal ones as they stand.
std::vector<std::size_t> ByCost(const std::vector<BatchLine>& lines) {
  std::vector<std::size_t> order(lines.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return lines[a].cost > lines[b].cost; });
  return order;
}

} // namespace

void SetCosts(std::vector<BatchLine>& lines) {
  for (BatchLine& line : lines) {
    std::error_code missing;
    const std::uintmax_t size = std::filesystem::file_size(line.take, missing);
    line.cost = kEachTake + (missing ? 0 : size);
  }
}

void SortByCost(std::vector<BatchLine>& lines) {
  std::vector<BatchLine> sorted;
  sorted.reserve(lines.size());
  for (const std::size_t i : ByCost(lines)) sorted.push_back(std::move(lines[i]));
  lines = std::move(sorted);
}

std::vector<BatchLine> ShardOf(std::vector<BatchLine> lines, std::size_t index, std::size_t count) {
  // The cost of each shard so far and its number: the least comes first, and of equal ones the first.
  using Load = std::pair<std::uint64_t, std::size_t>;
  std::priority_queue<Load, std::vector<Load>, std::greater<>> loads;
  for (std::size_t shard = 1; shard <= count; ++shard) loads.push({0, shard});
  std::vector<bool> is_ours(lines.size(), false);
  for (const std::size_t i : ByCost(lines)) {
    const auto [load, shard] = loads.top();
    loads.pop();
    loads.push({load + lines[i].cost, shard});
    is_ours[i] = shard == index;
  }
  std::vector<BatchLine> ours;
  for (std::size_t i = 0; i < lines.size(); ++i)
    if (is_ours[i]) ours.push_back(std::move(lines[i]));
  return ours;
}

} // namespace mien
