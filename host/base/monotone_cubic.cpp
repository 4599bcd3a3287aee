#include "host/base/monotone_cubic.h"

namespace mien {

std::vector<double> MonotoneSlopes(std::span<const double> times, const std::vector<double>& secants) {
  std::vector<double> slopes(times.size());
  if (secants.empty()) return slopes;
  slopes.front() = secants.front();
  slopes.back() = secants.back();
  for (std::size_t i = 1; i + 1 < times.size(); ++i) {
    const double before = secants[i - 1], after = secants[i];
    if (!(before * after > 0)) continue; // flat where the curve turns
    const double h0 = times[i] - times[i - 1], h1 = times[i + 1] - times[i];
    const double w0 = h0 + 2 * h1, w1 = 2 * h0 + h1;
    slopes[i] = (w0 + w1) / (w0 / before + w1 / after);
  }
  return slopes;
}

MonotoneCubic::MonotoneCubic(std::span<const double> times, std::vector<double> values)
    : times_(times), values_(std::move(values)) {
  std::vector<double> secants;
  for (std::size_t i = 0; i + 1 < values_.size(); ++i)
    secants.push_back((values_[i + 1] - values_[i]) / (times_[i + 1] - times_[i]));
  slopes_ = MonotoneSlopes(times_, secants);
}

double MonotoneCubic::At(double time, std::size_t i) const {
  if (time <= times_[i] || i + 1 >= values_.size()) return values_[i];
  const double h = times_[i + 1] - times_[i], t = (time - times_[i]) / h, s = 1 - t;
  return values_[i] * s * s * (1 + 2 * t) + values_[i + 1] * t * t * (1 + 2 * s) +
         h * t * s * (slopes_[i] * s - slopes_[i + 1] * t);
}

} // namespace mien
