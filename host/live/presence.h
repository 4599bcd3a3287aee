#pragma once

#include <algorithm>

namespace mien {

/// How much of the last seen value still counts, 0 to 1, when only the past is known. A missing value counts
/// in full for the hold time and then fades to 0 in the fade time. When it returns, it fades in from its
/// current share in the fade time: the first frame with it has the share of the last frame without it. A gap
/// that is shorter than the hold time therefore changes nothing.
///
/// The share has no slope at either end of a fade. A value that is there from the first step counts at once.
class Presence {
public:
  Presence(double hold_s, double fade_s) : hold_s_(hold_s), fade_s_(fade_s) {}

  /// Takes the next frame, `elapsed_s` after the one before, and returns the share.
  double Step(bool seen, double elapsed_s) {
    if (!started_) level_ = seen ? 1 : 0;
    started_ = true;
    if (seen) {
      if (was_seen_ || fade_s_ <= 0) level_ = Limited(level_ + Faded(elapsed_s));
      missing_s_ = 0;
    } else {
      const double before = missing_s_;
      missing_s_ += elapsed_s;
      if (missing_s_ > hold_s_) level_ = Limited(level_ - Faded(missing_s_ - std::max(before, hold_s_)));
    }
    was_seen_ = seen;
    return level_ * level_ * (3 - 2 * level_);
  }

  /// Forgets the past: the next step is the first.
  void Restart() { *this = Presence(hold_s_, fade_s_); }

private:
  double Faded(double seconds) const { return fade_s_ > 0 ? seconds / fade_s_ : 1; }
  static double Limited(double level) { return std::clamp(level, 0.0, 1.0); }

  double hold_s_, fade_s_;
  double level_ = 0, missing_s_ = 0;
  bool started_ = false, was_seen_ = false;
};

} // namespace mien
