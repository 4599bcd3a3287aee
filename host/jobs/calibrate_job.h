#pragma once

#include "host/calibrate/calibration.h"
#include "host/formats/read_take.h"
#include "host/jobs/job_progress.h"
#include "host/performer/neutral.h"
#include "host/solve/solve_options.h"
#include "host/takes/frame_range.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A performer file with the neutral face and the ranges of a performer, measured on their takes.
struct CalibrateJob {
  std::vector<std::string> takes; ///< at least one; of all inputs one may be "-", standard input
  std::string performer; ///< the markers: a file, or a built-in's name; its ranges are measured again
  std::string
      poses; ///< a table of the poses in the first take (pose_marks.h); empty for ordinary takes alone
  std::string output; ///< "-" is standard output
  std::string name;   ///< the performer's, in the file; unchanged where empty
  ReadOptions reading;
  std::optional<FrameRange> neutral; ///< of the first take; by default the performer's own, or found in it
  SolveOptions solve;
};

struct CalibrateResult {
  Neutral neutral;
  std::vector<TemplateCalibration> templates; ///< all, in their fixed order
  std::vector<Note> notes;
};

/// All or nothing: where a take cannot be solved, a mark is at fault or no range is trusted, nothing is
/// written. Throws InputError; of Code::Usage where settings do not fit each other.
CalibrateResult Run(const CalibrateJob& job, const JobProgress& progress = nullptr);

} // namespace mien
