#pragma once

#include "host/files/file_state.h"
#include "host/solve/solve_report_json.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Adds an input with the hash of its bytes; does nothing for an empty name. `built_in` are names that stand for no file.
void AddFile(std::vector<ReportedFile>& files, const std::string& role, const std::string& name,
             const std::vector<std::string>& built_in = {});

/// Adds the output, if it is a file that can be read again.
void AddOutput(std::vector<ReportedFile>& files, const std::string& output);

// The hashes in a report are of the bytes that were used. Both throw InputError if a file was changed
// meanwhile.

/// That the file still is what it was `before` it was read.
void RequireUnchanged(const std::string& file, const std::optional<FileState>& before);

/// That the files still have their hashes, which were made before they were read. Those in `ignored_role`
/// are not looked at.
void RequireUnchanged(const std::vector<ReportedFile>& files, std::string_view ignored_role);

} // namespace mien
