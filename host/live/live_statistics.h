#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace mien {

/// How many times a latency occurred, in classes of a fixed number: from 1 microsecond up, eight to an
/// octave, so that a quantile is at most 9 % too large; the last class has all from 64 s on.
class LatencyHistogram {
public:
  void Add(double seconds) {
    if (std::isnan(seconds)) return;
    ++counts_[ClassOf(seconds)];
    ++total_;
  }

  std::uint64_t Total() const { return total_; }

  /// The upper limit of the class of the quantile, in seconds: 0.5 for the median. 0 without latencies.
  double Quantile(double share) const {
    if (total_ == 0) return 0;
    const double wanted = std::max(1.0, std::ceil(share * static_cast<double>(total_)));
    std::uint64_t before = 0;
    for (std::size_t c = 0; c < counts_.size(); ++c) {
      before += counts_[c];
      if (static_cast<double>(before) >= wanted) return LimitOf(c);
    }
    return LimitOf(counts_.size() - 1);
  }

private:
  static constexpr double kFirst_s = 1e-6;
  static constexpr double kToAnOctave = 8;
  static constexpr std::size_t kClasses = std::size_t{26} * 8; // 2^26 microseconds are 67 s

  static std::size_t ClassOf(double seconds) {
    if (!(seconds > kFirst_s)) return 0;
    const double index = std::ceil(std::log2(seconds / kFirst_s) * kToAnOctave);
    return index >= static_cast<double>(kClasses) ? kClasses - 1 : static_cast<std::size_t>(index);
  }
  static double LimitOf(std::size_t index) {
    return kFirst_s * std::exp2(static_cast<double>(index) / kToAnOctave);
  }

  std::array<std::uint64_t, kClasses> counts_{};
  std::uint64_t total_ = 0;
};

/// Counts of a live face so far: of frames, unless stated otherwise.
struct LiveStatistics {
  std::uint64_t received = 0;   ///< from the source
  std::uint64_t used = 0;       ///< of these, what the solve got
  std::uint64_t duplicates = 0; ///< at the time of the frame before; left out
  std::uint64_t late = 0;       ///< before the frame before; left out
  std::uint64_t unusable = 0;   ///< without a usable time; left out
  std::uint64_t paused = 0;     ///< left out by LiveSession::Pause
  std::uint64_t dropped = 0;    ///< missing, by the times of the others
  std::uint64_t inserted = 0;   ///< without the face, while nothing came
  std::uint64_t sent = 0;       ///< that came out

  std::uint64_t lost = 0;             ///< used, but without the face
  std::uint64_t head_unknown = 0;     ///< with the face, whose head is not known
  std::uint64_t poor = 0;             ///< in which a part is off by more than kPoor_mm
  std::uint64_t unseen = 0;           ///< markers or weights that frames with the face lacked
  std::uint64_t unusable_numbers = 0; ///< positions and weights that are infinite or too large
  std::uint64_t failed_learnings = 0; ///< how often frames did not determine a neutral face
  std::uint64_t source_restarts = 0;  ///< how often the source's clock was reset

  static constexpr double kPoor_mm = 5; ///< a residual of a part: good takes have one or two

  double rate_hz = 0;              ///< of the source now; 0 if not known
  std::optional<double> drift_ppm; ///< see LiveClock::Drift_ppm
  LatencyHistogram latency;        ///< from arrival to sending, see LiveSession::AddLatency
};

} // namespace mien
