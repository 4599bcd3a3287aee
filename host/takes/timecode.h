#pragma once

#include "host/takes/frame_rate.h"

#include <fmt/core.h>

#include <cstdint>
#include <optional>
#include <string>

namespace mien {

/// The time of day that a recorder stamped on a take's first frame, from which that of every other frame follows.
struct Timecode {
  std::int64_t count = 0; ///< counts since midnight; less than a day's
  FrameRate rate;         ///< counts per second: 30, 25, 30000/1001 ...
  bool drop =
      false; ///< skips the numbers 0 and 1 (per 30) of each minute but every tenth, to stay with the clock

  bool operator==(const Timecode&) const = default;

  /// As text, `seconds` later: "10:02:59:29", with drop "10:02:59;29"; between two counts with the fraction in
  /// thousandths, "10:02:59:29.500". After midnight it starts again.
  std::string At(double seconds) const;

  /// The same at the end of a buffer, for what is written row by row.
  void AppendTo(fmt::appender text, double seconds) const;

  /// From midnight to midnight.
  std::int64_t CountsADay() const;

  /// The time of day that the first frame's numbers show, in seconds: 10:00:00:15 at 30 numbers is 36000.5.
  double SecondsOfDay() const;
};

/// Reads "HH:MM:SS:FF", with ';' before FF for drop, and "@RATE" behind it (ParseFrameRate). Without a rate
/// `rate_without` is taken, or for drop 30000/1001. Nothing where that is no time of day at the rate, nor for a fraction
/// of a count (".500" behind FF) unless there is a `fraction` to put it in: 0 to 1, without 1.
std::optional<Timecode> ParseTimecode(const std::string& text, const FrameRate& rate_without,
                                      double* fraction = nullptr);

/// What ParseTimecode reads: "10:02:59:29@30".
std::string ToText(const Timecode& timecode);

} // namespace mien
