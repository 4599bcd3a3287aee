#pragma once

#include "host/live/causal_settings.h"

#include <cstddef>
#include <optional>
#include <string>

namespace mien {

/// The settings of a job that only a causal solve uses.
struct CausalJob {
  bool on = false; ///< solve as a stream: without later frames
  /// The take that the face is learned from; empty: the performer's own pose, or the first seconds.
  std::string neutral_take;

  // Empty: the default of CausalSettings.
  std::optional<double> learn_s, hold_s, face_hold_s, face_fade_s;
  std::optional<OneEuroSettings> one_euro;
};

CausalSettings SettingsOf(const CausalJob& job);

/// What a causal solve did, for the user.
struct CausalResult {
  std::size_t learning_frames = 0, lost_frames = 0, unknown_heads = 0; ///< as CausallySolved has them
};

} // namespace mien
