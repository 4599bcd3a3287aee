#pragma once

#include "host/performer/calibration.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What the weights of a tracker or an app read on one person's face. A ranges file:
///
///     {
///       "format": "mien ranges 1",
///       "name": "Ada",
///       "ranges": {
///         "eyeBlinkLeft": { "low": 0.02, "high": 0.71, "seen": 11, "trusted": true, "why": "11 blinks" },
///         ...
///       },
///       "takes": [{ "name": "talk.csv", "sha256": "..." }]
///     }
///
/// "takes" may be left out.
struct WeightRanges {
  std::string name;
  std::vector<Range> ranges; ///< by the names of weights, each once
  std::vector<CalibrationRecord::TakeFile> takes;
};

/// Throws InputError with every mistake, each by its JSON pointer. `file` is the name for messages.
WeightRanges ReadRanges(std::string_view text, const std::string& file);

void WriteRanges(const WeightRanges& ranges, std::ostream& out);

} // namespace mien
