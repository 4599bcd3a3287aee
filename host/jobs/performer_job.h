#pragma once

#include "host/formats/read_take.h"
#include "host/performer/neutral.h"
#include "host/takes/frame_range.h"

#include <optional>
#include <string>

namespace mien {

/// A performer file with the neutral face of a take, to solve other takes with.
struct PerformerJob {
  std::string take;
  std::string performer; ///< the markers: a file, or a built-in's name
  std::string output;    ///< "-" is standard output
  std::string name;      ///< the performer's, in the file; the former one's where empty
  ReadOptions reading;
  std::optional<FrameRange> neutral; ///< the performer's own or found without
};

/// Answers the neutral face that was saved. A file with which no take could be solved is not written. Throws InputError;
/// of Code::Usage where settings do not fit each other.
Neutral Run(const PerformerJob& job);

} // namespace mien
