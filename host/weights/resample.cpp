#include "host/weights/resample.h"

#include "host/base/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace mien {
namespace {

// The curve through a value at each of the times.
class MonotoneCubic {
public:
  MonotoneCubic(const std::vector<double>& times, std::vector<double> values)
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

  /// `i` is the interval that the time is in.
  double At(double time, std::size_t i) const {
    if (time <= times_[i] || i + 1 >= values_.size()) return values_[i];
    const double h = times_[i + 1] - times_[i], t = (time - times_[i]) / h, s = 1 - t;
    return values_[i] * s * s * (1 + 2 * t) + values_[i + 1] * t * t * (1 + 2 * s) +
           h * t * s * (slopes_[i] * s - slopes_[i + 1] * t);
  }

private:
  double Secant(std::size_t i) const { return (values_[i + 1] - values_[i]) / (times_[i + 1] - times_[i]); }

  const std::vector<double>& times_;
  std::vector<double> values_, slopes_;
};

} // namespace

void Resample(WeightTake& take, const FrameRate& rate) {
  constexpr double kMost = 1e7;
  const double start = take.times.front(), seconds = take.times.back() - start;
  if (!(seconds * rate.Hz() < kMost))
    throw InputError(Code::Limit, take.file, "",
                     fmt::format("{:.6g} s at {} Hz are more than 10 million frames", seconds, ToText(rate)),
                     "name a lower --output-rate, or check the times");
  std::vector<std::int64_t> frames;
  std::vector<double> times;
  std::vector<std::size_t> intervals; // of the old times, that each new one is in
  constexpr double kRounding = 1e-9;  // seconds by which the last frame may be late
  for (std::int64_t f = 0; f == 0 || rate.Seconds(f) <= seconds + kRounding; ++f) {
    const double time = std::min(start + rate.Seconds(f), take.times.back());
    std::size_t i = intervals.empty() ? 0 : intervals.back();
    while (i + 1 < take.times.size() && take.times[i + 1] <= time) ++i;
    frames.push_back(f + 1);
    times.push_back(start + rate.Seconds(f));
    intervals.push_back(i);
  }
  const auto resample = [&](const auto& old_value, const auto& new_value) {
    std::vector<double> values(take.times.size());
    for (std::size_t f = 0; f < values.size(); ++f) values[f] = old_value(f);
    const MonotoneCubic curve(take.times, std::move(values));
    for (std::size_t f = 0; f < times.size(); ++f) new_value(f) = curve.At(times[f], intervals[f]);
  };

  const std::size_t names = take.names.size();
  std::vector<double> weights(times.size() * names);
  for (std::size_t n = 0; n < names; ++n)
    resample([&](std::size_t f) { return take.Weight(f, n); },
             [&](std::size_t f) -> double& { return weights[f * names + n]; });
  std::vector<Eyes> eyes(take.eyes.empty() ? 0 : times.size());
  for (const auto angle : {&EyeAngles::yaw, &EyeAngles::pitch})
    for (const std::size_t eye : {0U, 1U})
      if (!eyes.empty())
        resample([&](std::size_t f) { return take.eyes[f][eye].*angle; },
                 [&](std::size_t f) -> double& { return eyes[f][eye].*angle; });
  std::vector<HeadAngles> heads(take.heads.empty() ? 0 : times.size());
  for (const auto angle : {&HeadAngles::yaw, &HeadAngles::pitch, &HeadAngles::roll})
    if (!heads.empty())
      resample([&](std::size_t f) { return take.heads[f].*angle; },
               [&](std::size_t f) -> double& { return heads[f].*angle; });
  take.frames = std::move(frames);
  take.times = std::move(times);
  take.weights = std::move(weights);
  take.eyes = std::move(eyes);
  take.heads = std::move(heads);
  take.rate = rate;
}

} // namespace mien
