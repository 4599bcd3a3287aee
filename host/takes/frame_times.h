#pragma once

// From the frame numbers and times in a file's rows to the take's rate.

#include "host/base/error.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Why frames and times give no rate. The reader adds file and place.
struct FrameFault {
  Code code = Code::InvalidValue;
  std::string what, fix;
};

/// Digits of a number after its decimal point or comma: 3 for "0.033", 5 for "3.3e-4", 0 for "2e3". Any count
/// for text that is no number.
int DecimalsOf(std::string_view number);

/// Notes the frame numbers that are missing between the take's first and last.
void NoteMissingFrames(Take& take);

/// The fastest recordings: of optical markers, and of video.
inline constexpr double kFastestMarkersHz = 10000, kFastestVideoHz = 250;

/// Sets the take's rate by its frames and their times, both of which rise. Notes missing frames, jumps in
/// time, and a rate that is unlikely: below 1 Hz or above `fastest_hz`. `decimals` is the largest number of
/// decimals among the times in seconds. If they give no rate, returns why and leaves the take unchanged.
///
/// The rate is frames over seconds from the first frame to the last, without jumps in time. Within the
/// precision of the decimals, it becomes a usual rate, a whole one, or an NTSC one (k * 1000/1001). A single
/// frame is taken at 30 Hz.
[[nodiscard]] std::optional<FrameFault> SetRateByTimes(Take& take, int decimals,
                                                       double fastest_hz = kFastestMarkersHz);

} // namespace mien
