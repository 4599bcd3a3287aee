#include "host/weights/resample.h"

#include "host/base/error.h"
#include "host/base/monotone_cubic.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace mien {

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
