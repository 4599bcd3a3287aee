#pragma once

#include "host/formats/read_take.h"
#include "host/jobs/job_progress.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A take or an animation shown on a page.
struct ViewJob {
  std::string input;  ///< what mien info, mien retarget and mien solve read and write; "-" is standard input
  std::string output; ///< an HTML file; "-" is standard output
  ReadOptions reading;
  std::string onto;      ///< animations: the head that shows them instead of the built-in one; may be empty
  std::string head_node; ///< of `onto`: the node which turns with the head; may be empty
  std::optional<std::pair<std::string, std::string>> eye_nodes; ///< of `onto`: those that turn with the eyes
  std::vector<std::string> command; ///< the arguments that led here, for the page; may be empty
};

struct ViewResult {
  std::string name, format; ///< of the input
  std::size_t frames = 0, markers = 0, curves = 0;
};

/// Throws InputError; of Code::Usage where settings do not fit each other or the file.
ViewResult Run(const ViewJob& job, const JobProgress& progress = nullptr);

} // namespace mien
