#pragma once

// Solved takes of nothing but two lids, for the tests of blinks.

#include "host/animation/animation.h"
#include "tests/random.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tests {

inline std::size_t ColumnOf(const mien::Animation& take, const std::string& name) {
  std::size_t column = 0;
  while (take.layout.templates.at(column).name != name) ++column;
  return column;
}

/// A take of seconds at a rate, every weight 0.
inline mien::Animation StillTake(double seconds, int hz = 30) {
  mien::Animation take;
  take.layout.take = "talk";
  take.layout.rate = {hz, 1};
  const std::int64_t frames = std::lround(seconds * hz);
  for (std::int64_t f = 0; f < frames; ++f) {
    take.frames.push_back(f + 1);
    take.times.push_back(static_cast<double>(f) / hz);
  }
  take.weights.assign(take.frames.size() * take.layout.templates.size(), 0);
  return take;
}

inline double& WeightAt(mien::Animation& take, std::size_t frame, const std::string& name) {
  return take.weights[frame * take.layout.templates.size() + ColumnOf(take, name)];
}

/// Adds a motion that rises to `peak` at `middle` over `rise` seconds and falls as fast, each a straight
/// line, and stays on top for `hold` seconds.
inline void Close(mien::Animation& take, const std::string& name, double middle, double peak,
                  double rise = 0.13, double hold = 0) {
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    const double away = std::max(0.0, std::fabs(take.times[f] - middle) - hold / 2);
    WeightAt(take, f, name) += peak * std::max(0.0, 1 - away / rise);
  }
}

inline void Blink(mien::Animation& take, double middle, double peak) {
  Close(take, "LeftEye.Close", middle, peak);
  Close(take, "RightEye.Close", middle, peak);
}

/// Adds noise of a standard deviation to both lids, which do not go below 0, as measured lids do.
inline void AddLidNoise(mien::Animation& take, double deviation) {
  Random random(5);
  for (std::size_t f = 0; f < take.frames.size(); ++f)
    for (const char* name : {"LeftEye.Close", "RightEye.Close"}) {
      double sum = 0; // of twelve even ones: nearly normal, of deviation 1
      for (int i = 0; i < 12; ++i) sum += random.Between(-0.5, 0.5);
      double& weight = WeightAt(take, f, name);
      weight = std::max(0.0, weight + deviation * sum);
    }
}

} // namespace tests
