#pragma once

#include "host/calibrate/calibration.h"
#include "host/jobs/job_progress.h"
#include "host/performer/ranges_file.h"
#include "host/weights/read_weights.h"

#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A ranges file (host/performer/ranges_file.h): what recorded weights of one person read at rest and at full
/// strength.
struct CalibrateWeightsJob {
  std::vector<std::string> takes; ///< recordings, at least one; of all inputs one may be "-"
  std::string poses;  ///< a table of the poses in the first one (pose_marks.h); empty for ordinary ones alone
  std::string output; ///< "-" is standard output
  std::string name;   ///< the person's, in the file; empty for that of the first recording
  WeightReadOptions reading;
};

struct CalibrateWeightsResult {
  std::vector<TemplateCalibration> weights;                          ///< of the first recording, in its order
  std::vector<Note> notes;                                           ///< on the poses
  std::vector<std::pair<std::string, std::vector<Note>>> take_notes; ///< by file
};

/// All or nothing: where a file cannot be read, a mark is at fault or no range is trusted, nothing is written.
/// Throws InputError; of Code::Usage where settings do not fit each other.
CalibrateWeightsResult Run(const CalibrateWeightsJob& job, const JobProgress& progress = nullptr);

} // namespace mien
