#pragma once

#include "host/takes/frame_rate.h"

#include <fmt/core.h>

#include <cstdint>
#include <optional>
#include <string>

namespace mien {

/// The time of day that a recorder stamped on a take's first frame; those of all other frames follow from it.
struct Timecode {
  std::int64_t count = 0; ///< counts since midnight; less than a day's
  FrameRate rate;         ///< counts per second: 30, 25, 30000/1001 ...
  /// Skips the numbers 0 and 1 (per 30) of each minute but every tenth, to stay with the clock.
  bool drop = false;

  bool operator==(const Timecode&) const = default;

  /// As text, `seconds` later: "10:02:59:29", with drop "10:02:59;29"; between two counts with a fraction in
  /// thousandths, "10:02:59:29.500". Starts again at midnight.
  std::string At(double seconds) const;

  /// The same, appended to a buffer, for files written row by row.
  void AppendTo(fmt::appender text, double seconds) const;

  /// From midnight to midnight.
  std::int64_t CountsADay() const;

  /// The time of day that the first frame's numbers show, in seconds: 10:00:00:15 at 30 numbers is 36000.5.
  double SecondsOfDay() const;
};

/// Reads "HH:MM:SS:FF", with ';' before FF for drop, and "@RATE" after it (ParseFrameRate). Without a rate it
/// uses `rate_without`, or for drop 30000/1001. Nothing for text that is no time of day at the rate, and for
/// a fraction of a count (".500" after FF) unless `fraction` takes it: 0 to 1, without 1.
std::optional<Timecode> ParseTimecode(const std::string& text, const FrameRate& rate_without,
                                      double* fraction = nullptr);

/// What ParseTimecode reads: "10:02:59:29@30".
std::string ToText(const Timecode& timecode);

} // namespace mien
