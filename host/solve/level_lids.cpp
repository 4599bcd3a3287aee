#include "host/solve/level_lids.h"

#include "host/base/statistics.h"
#include "host/takes/frame_span.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace mien {

namespace {

/// For each value what `of` makes of it and those within `half` of it.
template <class Of>
std::vector<double> Around(const std::vector<double>& values, std::size_t half, Of of) {
  std::vector<double> made, around;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto first = static_cast<std::ptrdiff_t>(i - std::min(half, i)),
               end = static_cast<std::ptrdiff_t>(std::min(i + half + 1, values.size()));
    around.assign(values.begin() + first, values.begin() + end);
    made.push_back(of(around));
  }
  return made;
}

} // namespace

void LevelLids(Animation& animation) {
  constexpr double kWindow_s = 2, kSmoothing_s = 0.3, kFraction = 0.4, kMost = 0.5;
  const auto half = [&](double seconds) {
    return static_cast<std::size_t>(std::lround(seconds * animation.layout.rate.Hz() / 2));
  };
  const std::size_t columns = animation.layout.templates.size();
  for (std::size_t t = 0; t < columns; ++t) {
    const std::string& name = animation.layout.templates[t].name;
    if (name != "LeftEye.Close" && name != "RightEye.Close") continue;
    for (const FrameSpan& span : UnbrokenSpans(animation.frames)) {
      std::vector<double> weights;
      for (std::size_t f = span.first; f < span.end; ++f)
        weights.push_back(animation.weights[f * columns + t]);
      std::vector<double> floor = Around(
          weights, half(kWindow_s), [](std::vector<double>& values) { return Quantile(values, kFraction); });
      floor = Around(floor, half(kSmoothing_s), [](std::vector<double>& values) { return Mean(values); });
      for (std::size_t i = 0; i < weights.size(); ++i) {
        const double low = std::clamp(floor[i], 0.0, kMost);
        animation.weights[(span.first + i) * columns + t] = std::max(0.0, (weights[i] - low) / (1 - low));
      }
    }
  }
}

} // namespace mien
