#pragma once

#include "host/solve/solve_report_json.h"

#include <string>
#include <vector>

namespace mien {

/// Adds an input with the hash of its bytes; does nothing for an empty name. `built_in` are names that stand for no file.
void AddFile(std::vector<ReportedFile>& files, const std::string& role, const std::string& name,
             const std::vector<std::string>& built_in = {});

/// Adds the output, if it is a file that can be read again.
void AddOutput(std::vector<ReportedFile>& files, const std::string& output);

} // namespace mien
