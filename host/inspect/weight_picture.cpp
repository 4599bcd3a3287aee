#include "host/inspect/weight_picture.h"

#include "host/inspect/text_table.h"
#include "host/inspect/time_cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace mien {

namespace {

double RangeOf(const DrawnWeight& weight) {
  const auto [low, high] = std::minmax_element(weight.values.begin(), weight.values.end());
  return *high - *low;
}

/// Those that move most, in the order in which they move most.
void KeepMain(std::vector<DrawnWeight>& weights) {
  constexpr std::size_t kMost = 6;
  constexpr double kStill = 0.01; // moves less than anybody sees
  std::stable_sort(weights.begin(), weights.end(),
                   [](const auto& a, const auto& b) { return RangeOf(a) > RangeOf(b); });
  weights.resize(std::min(weights.size(), kMost));
  while (!weights.empty() && RangeOf(weights.back()) < kStill) weights.pop_back();
}

// The picture of at least one weight.
class Picture {
public:
  Picture(std::span<const double> times, const std::vector<DrawnWeight>& weights, const Terminal& terminal)
      : weights_(weights), utf8_(terminal.utf8), duration_s_(times.back() - times.front()),
        cells_(times, NameColumns(weights), terminal) {
    for (const DrawnWeight& weight : weights)
      top_ = std::max(top_, *std::max_element(weight.values.begin(), weight.values.end()));
  }

  std::string Text() const {
    std::string text = fmt::format("  weights over time, {} is {:.3g}\n", Levels().back(), top_);
    for (const DrawnWeight& weight : weights_) {
      text += Row(weight);
      if (!weight.flagged.empty()) text += Marks(weight);
    }
    return text + cells_.Axis(duration_s_);
  }

private:
  static constexpr std::string_view kFlagged = "flagged";

  static std::size_t NameColumns(const std::vector<DrawnWeight>& weights) {
    std::size_t columns = kFlagged.size();
    for (const DrawnWeight& weight : weights) columns = std::max(columns, Columns(weight.name));
    return columns;
  }

  // From a weight of 0 to the largest one.
  const std::array<std::string_view, 9>& Levels() const {
    static constexpr std::array<std::string_view, 9> kUnicode = {
        " ", "\u2581", "\u2582", "\u2583", "\u2584", "\u2585", "\u2586", "\u2587", "\u2588"};
    static constexpr std::array<std::string_view, 9> kAscii = {" ", ".", ":", "-", "=", "+", "*", "%", "#"};
    return utf8_ ? kUnicode : kAscii;
  }

  std::string Row(const DrawnWeight& weight) const {
    std::string text = cells_.Before(weight.name);
    for (std::size_t cell = 0; cell < cells_.Count(); ++cell) {
      const auto start = [&](std::size_t c) {
        return weight.values.begin() + static_cast<std::ptrdiff_t>(cells_.StartOf(c));
      };
      const double largest = *std::max_element(start(cell), start(cell + 1));
      const double level = std::round(largest / top_ * static_cast<double>(Levels().size() - 1));
      text += Levels()[static_cast<std::size_t>(std::max(level, 0.0))];
    }
    return text + "|\n";
  }

  std::string Marks(const DrawnWeight& weight) const {
    std::string marks(cells_.Count(), ' ');
    for (const auto& [first, last] : weight.flagged)
      for (std::size_t cell = cells_.CellOf(first); cell <= cells_.CellOf(last); ++cell) marks[cell] = '^';
    return cells_.Before(std::string(kFlagged)) + marks + "|\n";
  }

  const std::vector<DrawnWeight>& weights_;
  bool utf8_;
  double duration_s_;
  TimeCells cells_;
  double top_ = 1; // what the highest level is
};

} // namespace

std::string WeightPicture(std::span<const double> times, std::vector<DrawnWeight> weights,
                          const Terminal& terminal) {
  if (times.empty()) return "";
  KeepMain(weights);
  return weights.empty() ? "" : Picture(times, weights, terminal).Text();
}

} // namespace mien
