#pragma once

#include "host/base/error.h"
#include "host/compare/comparison.h"
#include "host/formats/read_take.h"
#include "host/jobs/job_progress.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Two animations or two takes compared.
struct CompareJob {
  std::string a, b;   ///< files; one may be "-", standard input
  std::string output; ///< a CSV table of all curves; may be empty, "-" is standard output
  std::string view;   ///< an HTML file that shows both; may be empty
  ReadOptions reading;
  AlignOptions align;

  /// The Size of a difference above which the two count as different; nothing for no limit.
  std::optional<double> fail_above;

  std::vector<std::string> command; ///< the arguments that led here, for the page; may be empty
};

struct CompareResult {
  Comparison comparison;

  /// Of Code::Limit: the worst curve above `fail_above`; empty where none is.
  std::vector<Problem> above_limit;
};

/// Throws InputError, also where one file is an animation and the other a take; of Code::Usage where settings
/// do not fit the files.
CompareResult Run(const CompareJob& job, const JobProgress& progress = nullptr);

} // namespace mien
