#pragma once

#include "host/formats/read_take.h"
#include "host/guess/guess_performer.h"
#include "host/jobs/job_progress.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>

namespace mien {

/// A proposed performer file for the unknown markers of a take.
struct GuessJob {
  std::string take;   ///< "-" is standard input
  std::string output; ///< "-" is standard output
  std::string name;   ///< the performer's, in the file; the take's where empty
  ReadOptions reading;
  std::optional<FrameRange> neutral; ///< the frames of the neutral face; without them the file has none
};

/// Returns what was proposed. A file with which the take could not be solved is not written. Throws
/// InputError; of Code::Usage where settings do not fit each other.
PerformerGuess Run(const GuessJob& job, const JobProgress& progress = nullptr);

/// The proposal for a take in memory. Of `settings`, the members count that are not files. Throws InputError.
PerformerGuess GuessFor(const GuessJob& settings, const Take& take);

} // namespace mien
