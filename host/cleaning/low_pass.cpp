#include "host/cleaning/low_pass.h"

#include "host/takes/far_positions.h"
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

/// A marker's positions in the frames in which it is there, and these frames: stretches without a gap or a
/// dropped frame.
struct SeenMarker {
  std::vector<FrameSpan> stretches;
  std::vector<double> axes[3]; // of one stretch after the other

  /// Frames rise. `follows` says whether the frame before is the one before in the recording.
  void Add(std::size_t frame, const Point& p, bool follows) {
    if (follows && !stretches.empty() && stretches.back().end == frame)
      ++stretches.back().end;
    else
      stretches.push_back({frame, frame + 1});
    axes[0].push_back(p.x), axes[1].push_back(p.y), axes[2].push_back(p.z);
  }

  void Filter(LowPass& filter) {
    std::size_t begin = 0;
    for (const FrameSpan& stretch : stretches) {
      for (std::vector<double>& values : axes)
        filter.Filter(std::span(values).subspan(begin, stretch.Count()));
      begin += stretch.Count();
    }
  }
};

} // namespace

void SmoothPositions(Take& take, const std::vector<std::size_t>& markers, double cutoff_hz) {
  LowPass filter(cutoff_hz, take.rate);
  const std::vector<FrameSpan> unbroken = UnbrokenSpans(take.frames);
  constexpr std::size_t kAtOnce = 4; // markers for which the take is fetched once
  for (std::size_t begin = 0; begin < markers.size(); begin += kAtOnce) {
    const auto group = std::span(markers).subspan(begin, std::min(kAtOnce, markers.size() - begin));
    std::vector<SeenMarker> seen(group.size());
    for (const FrameSpan& span : unbroken)
      for (std::size_t f = span.first; f < span.end; ++f)
        for (std::size_t i = 0; i < group.size(); ++i)
          if (const Point* const p = take.At(f, group[i])) seen[i].Add(f, *p, f > span.first);
    for (SeenMarker& marker : seen) marker.Filter(filter);
    std::vector<std::size_t> done(group.size()); // positions
    for (std::size_t f = 0; f < take.FrameCount(); ++f)
      for (std::size_t i = 0; i < group.size(); ++i) {
        const Origin origin = take.OriginAt(f, group[i]);
        if (origin == Origin::None) continue;
        const std::size_t at = done[i]++;
        const Point smooth = {seen[i].axes[0][at], seen[i].axes[1][at], seen[i].axes[2][at]};
        if (IsWithinReach(smooth)) take.Set(f, group[i], smooth, origin);
      }
  }
}

} // namespace mien
