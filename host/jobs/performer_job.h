#pragma once

#include "host/formats/read_take.h"
#include "host/jobs/job_progress.h"
#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/solve_options.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>

namespace mien {

/// A performer file with the neutral face of a take, to solve other takes with.
struct PerformerJob {
  std::string take;      ///< "-" is standard input
  std::string performer; ///< the markers: a file, or a built-in's name; "-" is standard input
  std::string output;    ///< "-" is standard output
  std::string name;      ///< the performer's, in the file; unchanged where empty
  ReadOptions reading;
  std::optional<FrameRange> neutral; ///< by default the performer's own, or found
  HeadFit head_fit = HeadFit::Take;
};

/// Returns the neutral face that was saved. A file with which no take could be solved is not written. Throws
/// InputError; of Code::Usage where settings do not fit each other.
Neutral Run(const PerformerJob& job, const JobProgress& progress = nullptr);

/// Gives a performer the neutral face of a take in memory, and returns it. Of `settings`, the members count
/// that are not files. Throws InputError.
Neutral TakeNeutral(const PerformerJob& settings, const Take& take, Performer& performer);

} // namespace mien
