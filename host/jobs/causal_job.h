#pragma once

#include "host/live/causal_settings.h"

#include <cstddef>
#include <optional>
#include <string>

namespace mien {

/// The causal settings of a job, beside those that it has for a whole take as well.
struct CausalJob {
  bool on = false; ///< solve as a stream would be: without the frames to come
  /// What the face is learned from; empty for the performer's own pose, or the first seconds.
  std::string neutral_take;

  // Nothing for the default of CausalSettings.
  std::optional<double> learn_s, hold_s, face_hold_s, face_fade_s;
  std::optional<OneEuroSettings> one_euro;
};

CausalSettings SettingsOf(const CausalJob& job);

/// What was done in a causal solve, for the user.
struct CausalResult {
  std::size_t learning_frames = 0, lost_frames = 0, unknown_heads = 0; ///< as CausallySolved has them
};

} // namespace mien
