#pragma once

// From the frame numbers and times in a file's rows to a take's frames and their rate.

#include "host/base/error.h"
#include "host/takes/take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Why numbers and times do not make a take. Its file and place are for the reader to add.
struct FrameFault {
  enum class Of : std::uint8_t { Number, Time, Rows };
  Of of = Of::Rows; ///< what is at fault: the row's number or time, or all rows together
  Code code = Code::InvalidValue;
  std::string what, fix;
};

/// Digits behind the decimal point, or comma, that a number is written with: 3 for "0.033", 5 for "3.3e-4", 0 for "2e3".
/// What is not a number gives any count.
int DecimalsOf(std::string_view number);

/// Appends a row's frame to the take. `number` is its frame number; without one it is the one after the row before's, or 1.
/// `time` is in seconds. Both must rise: otherwise it answers why not and leaves the take as it was.
[[nodiscard]] std::optional<FrameFault> AddFrame(Take& take, std::optional<std::int64_t> number, double time);

/// Notes the frame numbers that the take does not have between its first and last.
void NoteMissingFrames(Take& take);

/// Sets the take's rate by its frames and their times, which rise; notes missing frames, jumps in time, and a rate that is
/// hardly meant. `decimals` is the most that a time was written with. Answers why there is no rate, and leaves the take's
/// alone then.
///
/// The rate is frames over seconds from the first frame to the last, jumps in time left out. Where the decimals leave room
/// for it, it is made a usual rate, a whole one, or an NTSC one (k * 1000/1001). A single frame is taken at 30 Hz.
[[nodiscard]] std::optional<FrameFault> SetRateByTimes(Take& take, int decimals);

} // namespace mien
