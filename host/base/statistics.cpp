#include "host/base/statistics.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace mien {

namespace {

constexpr std::size_t kLong = 4096; // from which bounds save time

/// Two values that follow each other in the sorted order. The last value follows itself.
struct Neighbours {
  double at, next;
};

Neighbours Select(std::vector<double>& values, std::size_t rank) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values.begin(), at, values.end());
  return {*at, at + 1 == values.end() ? *at : *std::min_element(at + 1, values.end())};
}

/// The same for a long list, and without changing it: a sample gives two bounds around the rank, and only the
/// values between the bounds are selected from. Nothing if too few or too many of them are.
std::optional<Neighbours> SelectBetweenBounds(const std::vector<double>& values, std::size_t rank) {
  constexpr std::size_t kSample = 1024;
  constexpr std::size_t kReach = 48; // in the sample: three standard deviations of a median's rank
  std::array<double, kSample> sample;
  std::uint64_t random = 1; // evenly spaced samples would miss most of a motion that repeats itself
  for (double& value : sample) {
    random = random * 6364136223846793005U + 1442695040888963407U;
    value = values[(random >> 32) % values.size()];
  }
  const std::size_t middle = rank * kSample / values.size();
  const auto low_at = sample.begin() + static_cast<std::ptrdiff_t>(middle < kReach ? 0 : middle - kReach);
  const auto high_at = sample.begin() + static_cast<std::ptrdiff_t>(std::min(middle + kReach, kSample - 1));
  std::nth_element(sample.begin(), low_at, sample.end());
  const double low = *low_at;
  std::nth_element(low_at, high_at, sample.end());
  const double high = *high_at;

  const std::size_t most = values.size() / 4;
  std::vector<double> between(most + 1);
  std::size_t below = 0, count = 0;
  for (const double value : values) { // without a branch, which a processor would mostly predict wrongly
    between[count] = value;
    below += value < low ? 1 : 0;
    count += ((value < low) | (high < value)) ? 0 : 1;
    count = std::min(count, most);
  }
  if (count == most || rank < below || rank + 1 >= below + count) return std::nullopt;
  between.resize(count);
  return Select(between, rank - below);
}

Neighbours AtRank(std::vector<double>& values, std::size_t rank) {
  if (values.size() >= kLong)
    if (const auto found = SelectBetweenBounds(values, rank); found && found->at != 0 && found->next != 0)
      return *found; // among zeros of both signs, the order of the list decides which one comes out
  return Select(values, rank);
}

} // namespace

double Mean(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) sum += value;
  return sum / static_cast<double>(values.size());
}

double Quantile(std::vector<double>& values, double fraction) {
  const auto rank = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1));
  if (values.size() >= kLong) return AtRank(values, rank).at;
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

double Percentile(std::vector<double>& values, double fraction) {
  const double rank = fraction * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(rank);
  const auto [at, next] = AtRank(values, below);
  return at + (rank - static_cast<double>(below)) * (next - at);
}

double Median(std::vector<double>& values) {
  const auto [low, high] = AtRank(values, (values.size() - 1) / 2);
  return values.size() % 2 == 1 ? low : (low + high) / 2;
}

} // namespace mien
