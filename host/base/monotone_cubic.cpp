#include "host/base/monotone_cubic.h"

namespace mien {

MonotoneCubic::MonotoneCubic(const std::vector<double>& times, std::vector<double> values)
    : times_(times), values_(std::move(values)), slopes_(values_.size()) {
  const std::size_t count = values_.size();
  if (count < 2) return;
  slopes_.front() = Secant(0);
  slopes_.back() = Secant(count - 2);
  for (std::size_t i = 1; i + 1 < count; ++i) {
    const double before = Secant(i - 1), after = Secant(i);
    if (!(before * after > 0)) continue; // flat where the curve turns
    const double h0 = times_[i] - times_[i - 1], h1 = times_[i + 1] - times_[i];
    const double w0 = h0 + 2 * h1, w1 = 2 * h0 + h1;
    slopes_[i] = (w0 + w1) / (w0 / before + w1 / after);
  }
}

double MonotoneCubic::At(double time, std::size_t i) const {
  if (time <= times_[i] || i + 1 >= values_.size()) return values_[i];
  const double h = times_[i + 1] - times_[i], t = (time - times_[i]) / h, s = 1 - t;
  return values_[i] * s * s * (1 + 2 * t) + values_[i + 1] * t * t * (1 + 2 * s) +
         h * t * s * (slopes_[i] * s - slopes_[i + 1] * t);
}

} // namespace mien
