#pragma once

#include "host/live/causal_settings.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

namespace mien {

/// One-Euro filters of some values (G. Casiez, N. Roussel, D. Vogel, "1 € filter: a simple speed-based
/// low-pass filter for noisy input in interactive systems", CHI 2012), one for each. The speed is filtered at
/// 1 Hz.
///
/// A slow value lags by 1 / (2 pi cutoff) seconds: 160 ms at 1 Hz. The lag decreases with speed.
class OneEuroFilters {
public:
  OneEuroFilters(const OneEuroSettings& settings, std::size_t values)
      : settings_(settings), states_(values) {}

  /// Filters the values of the next frame, `elapsed_s` after the one before. The first frame stays.
  void Apply(std::span<double> values, double elapsed_s) {
    constexpr double kSpeedCutoff_hz = 1;
    for (std::size_t i = 0; i < states_.size(); ++i) {
      State& state = states_[i];
      double& value = values[i];
      if (!started_ || !(elapsed_s > 0)) {
        state = {.value = value, .speed = 0};
        continue;
      }
      const double speed = (value - state.value) / elapsed_s;
      state.speed += Share(kSpeedCutoff_hz, elapsed_s) * (speed - state.speed);
      const double cutoff_hz = settings_.cutoff_hz + settings_.beta * std::fabs(state.speed);
      state.value += Share(cutoff_hz, elapsed_s) * (value - state.value);
      value = state.value;
    }
    started_ = true;
  }

  void Restart() { started_ = false; }

private:
  struct State {
    double value = 0, speed = 0; // filtered
  };

  static double Share(double cutoff_hz, double elapsed_s) {
    const double turns = 2 * std::numbers::pi * cutoff_hz * elapsed_s;
    return turns / (turns + 1);
  }

  OneEuroSettings settings_;
  std::vector<State> states_;
  bool started_ = false;
};

} // namespace mien
