#pragma once

#include "host/c_interface/mien_host.h"
#include "host/takes/take.h"

#include <cstddef>
#include <string>

namespace mien {

/// The frames of arrays that a caller holds: their number, their clock, and the first one's timecode.
struct ArrayClock {
  const char* name; ///< of the arrays
  std::size_t frames;
  std::int64_t rate_numerator, rate_denominator;
  const std::int64_t* frame_numbers;
  const double* times;
  const char* timecode;
};

/// A take without positions that has the clock. Throws InputError.
Take TakeWithClock(const ArrayClock& clock, std::vector<std::string> markers, const char* default_name);

/// The names of columns. Throws a UsageError for an empty list, an empty name and one that is there twice.
std::vector<std::string> NamesOf(const char* const* names, std::size_t count, const char* argument);

/// Throws a UsageError where the arrays cannot be as large as that.
void RequireSize(std::size_t frames, std::size_t columns, const char* argument);

/// The value at some bytes behind a pointer, which need not be aligned.
double DoubleAt(const double* first, std::ptrdiff_t bytes);

} // namespace mien
