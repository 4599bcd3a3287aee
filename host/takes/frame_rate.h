#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mien {

/// Frames per second as a fraction, so that 30000/1001 stays exact over any number of frames.
struct FrameRate {
  std::int64_t numerator = 0; ///< 0 if the rate is unknown
  std::int64_t denominator = 1;

  double Hz() const { return static_cast<double>(numerator) / static_cast<double>(denominator); }

  /// The duration of `frames` frames.
  double Seconds(std::int64_t frames) const {
    return static_cast<double>(frames) * static_cast<double>(denominator) / static_cast<double>(numerator);
  }

  bool operator==(const FrameRate&) const = default;
};

/// The fraction behind a rate in decimals or in single precision: a whole number, an NTSC rate (k *
/// 1000/1001: 23.976, 23.98, 29.97, 59.94, 119.88 ...), or else the simplest fraction within a billionth of
/// it. Nothing for a rate that no camera has: below a frame in a million seconds, above a billion hertz, NaN.
std::optional<FrameRate> FrameRateOf(double hz);

/// "120", "29.98", "30000/1001".
std::string ToText(const FrameRate& rate);

/// Reads what ToText writes, and decimals as FrameRateOf does. Nothing for any other text and for fractions
/// with numbers above 10^15.
std::optional<FrameRate> ParseFrameRate(const std::string& text);

} // namespace mien
