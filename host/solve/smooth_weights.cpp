#include "host/solve/smooth_weights.h"

#include "host/cleaning/low_pass.h"
#include "host/takes/frame_span.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace mien {

void SmoothWeights(LongVector<double>& weights, std::size_t columns, std::span<const std::int64_t> frames,
                   const FrameRate& rate, double cutoff_hz) {
  LowPass filter(cutoff_hz, rate);
  const std::vector<FrameSpan> unbroken = UnbrokenSpans(frames);
  constexpr std::size_t kAtOnce = 8; // columns for which the weights are fetched once
  std::vector<double> of_columns[kAtOnce];
  for (std::size_t first_column = 0; first_column < columns; first_column += kAtOnce) {
    const std::size_t count = std::min(kAtOnce, columns - first_column);
    for (const auto& [first, end] : unbroken) {
      for (std::vector<double>& values : of_columns) values.clear();
      for (std::size_t f = first; f < end; ++f) {
        const std::span<const double> row = weights.subspan(f * columns + first_column, count);
        for (std::size_t c = 0; c < count; ++c) of_columns[c].push_back(row[c]);
      }
      for (std::size_t c = 0; c < count; ++c) filter.Filter(of_columns[c]);
      for (std::size_t f = first; f < end; ++f) {
        const std::span<double> row = weights.subspan(f * columns + first_column, count);
        for (std::size_t c = 0; c < count; ++c) row[c] = of_columns[c][f - first];
      }
    }
  }
}

} // namespace mien
