#include "host/solve/smooth_weights.h"

#include "host/cleaning/low_pass.h"
#include "host/takes/frame_span.h"

namespace mien {

void SmoothWeights(LongVector<double>& weights, std::size_t columns, std::span<const std::int64_t> frames,
                   const FrameRate& rate, double cutoff_hz) {
  LowPass filter(cutoff_hz, rate);
  const std::vector<FrameSpan> unbroken = UnbrokenSpans(frames);
  std::vector<double> values;
  for (std::size_t c = 0; c < columns; ++c)
    for (const auto& [first, end] : unbroken) {
      values.clear();
      for (std::size_t f = first; f < end; ++f) values.push_back(weights[f * columns + c]);
      filter.Filter(values);
      for (std::size_t f = first; f < end; ++f) weights[f * columns + c] = values[f - first];
    }
}

} // namespace mien
