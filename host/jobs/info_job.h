#pragma once

#include "host/base/error.h"
#include "host/formats/read_take.h"
#include "host/inspect/describe.h"
#include "host/jobs/job_progress.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What is in takes.
struct InfoJob {
  std::vector<std::string> takes; ///< one of them may be "-", standard input
  /// A file or a built-in's name, which shows the face's directions; may be empty.
  std::string performer;
  ReadOptions reading;
};

/// One take of an InfoJob. A take that can be read, but whose face's directions cannot be found, has both.
struct TakeInfo {
  std::string file;
  std::optional<TakeDescription> description;
  std::vector<Problem> problems;
};

/// In the job's order. A take that cannot be read does not keep the others from being described. Throws
/// InputError where the performer cannot be read; of Code::Usage where two inputs are standard input.
std::vector<TakeInfo> Run(const InfoJob& job, const JobProgress& progress = nullptr);

} // namespace mien
