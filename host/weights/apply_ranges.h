#pragma once

#include "host/performer/calibration.h"
#include "host/weights/weight_take.h"

#include <string>
#include <vector>

namespace mien {

/// What became of the ranges of a file.
struct AppliedRanges {
  std::vector<Range> applied;         ///< in the file's order
  std::vector<std::string> doubted;   ///< not trusted, and not applied
  std::vector<std::string> unmatched; ///< trusted, of weights that the recording lacks
};

/// Turns each weight that has a trusted range into that of the person's own face: 0 at the range's low and
/// below, 1 at its high, more above. Missing values stay missing. Names of the 52 may be in any spelling.
AppliedRanges ApplyRanges(const std::vector<Range>& ranges, WeightTake& take);

} // namespace mien
