#include "host/cleaning/low_pass.h"

#include "host/takes/frame_span.h"
#include "mien/base/elementary.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace mien {

LowPass::LowPass(double cutoff_hz, const FrameRate& rate) {
  // Both runs together pass 1 / (1 + (t / w)^4) of a wave of frequency f, where t is the tangent of 180
  // degrees * f / rate; at the cutoff this is 1 / sqrt(2).
  const auto [sine, cosine] = SineAndCosineOfDegrees(180 * cutoff_hz / rate.Hz());
  const double w = sine / cosine / std::sqrt(std::sqrt(std::numbers::sqrt2 - 1));
  const double scale = 1 / (1 + std::numbers::sqrt2 * w + w * w);
  b_ = w * w * scale;
  a1_ = 2 * (1 - w * w) * scale;
  a2_ = -(1 - std::numbers::sqrt2 * w + w * w) * scale;
  // The response to the start decays by a factor of e every 1 / (sqrt(2) w) frames for a low cutoff, and
  // every w / sqrt(2) frames for a cutoff near half the rate. After 15 of these, less than a millionth of it
  // is left.
  constexpr double kMost = 1e6; // frames; no take is longer than a slower filter would need
  settling_ = static_cast<std::size_t>(
      std::min(std::ceil(15 * std::max(w, 1 / w) / std::numbers::sqrt2) + 15, kMost));
}

void LowPass::Run() {
  double x1 = extended_[0], x2 = x1, y1 = x1, y2 = x1; // as if the value had always been the first one
  for (double& value : extended_) {
    const double x = value;
    const double y = b_ * (x + 2 * x1 + x2) + a1_ * y1 + a2_ * y2;
    x2 = x1, x1 = x, y2 = y1, y1 = y;
    value = y;
  }
}

void LowPass::Filter(std::span<double> values) {
  if (values.size() < 2) return;
  // The values are rotated about an end point; rotating about both ends repeats them with an offset.
  const auto last = static_cast<std::ptrdiff_t>(values.size() - 1),
             extra = static_cast<std::ptrdiff_t>(settling_);
  const auto value_at = [&](std::ptrdiff_t i) {
    const std::ptrdiff_t rounds = (i - (i < 0 ? 2 * last - 1 : 0)) / (2 * last),
                         in_round = i - rounds * 2 * last;
    const double on = static_cast<double>(rounds) * 2 * (values.back() - values.front());
    return on + (in_round <= last
                     ? values[static_cast<std::size_t>(in_round)]
                     : 2 * values.back() - values[static_cast<std::size_t>(2 * last - in_round)]);
  };
  extended_.clear();
  for (std::ptrdiff_t i = -extra; i <= last + extra; ++i) extended_.push_back(value_at(i));
  for (int run = 0; run < 2; ++run) {
    Run();
    std::reverse(extended_.begin(), extended_.end());
  }
  std::copy_n(extended_.begin() + extra, values.size(), values.begin());
}

namespace {

/// The stretches with the marker, without a gap or a dropped frame in between.
std::vector<FrameSpan> SeenSpans(const Take& take, std::size_t marker,
                                 const std::vector<FrameSpan>& unbroken) {
  std::vector<FrameSpan> seen;
  for (const FrameSpan& span : unbroken)
    for (std::size_t f = span.first; f < span.end; ++f) {
      if (!take.At(f, marker)) continue;
      if (f > span.first && take.At(f - 1, marker))
        ++seen.back().end;
      else
        seen.push_back({f, f + 1});
    }
  return seen;
}

} // namespace

void SmoothPositions(Take& take, const std::vector<std::size_t>& markers, double cutoff_hz) {
  LowPass filter(cutoff_hz, take.rate);
  const std::vector<FrameSpan> unbroken = UnbrokenSpans(take.frames);
  std::vector<double> axis[3];
  for (const std::size_t m : markers)
    for (const auto& [first, end] : SeenSpans(take, m, unbroken)) {
      for (auto& values : axis) values.clear();
      for (std::size_t f = first; f < end; ++f) {
        const Point& p = *take.At(f, m);
        axis[0].push_back(p.x), axis[1].push_back(p.y), axis[2].push_back(p.z);
      }
      for (auto& values : axis) filter.Filter(values);
      for (std::size_t f = first; f < end; ++f)
        take.Set(f, m, {axis[0][f - first], axis[1][f - first], axis[2][f - first]}, take.OriginAt(f, m));
    }
}

} // namespace mien
