#include "host/jobs/reported_files.h"

#include "host/files/mapped_file.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace mien {

namespace {

bool IsRegular(const std::string& name) {
  std::error_code no_file;
  return !IsStandardInput(name) && std::filesystem::is_regular_file(name, no_file);
}

} // namespace

void AddFile(std::vector<ReportedFile>& files, const std::string& role, const std::string& name,
             const std::vector<std::string>& built_in) {
  if (name.empty()) return;
  if (std::find(built_in.begin(), built_in.end(), name) != built_in.end())
    files.push_back({role, name, ""});
  else
    files.push_back({role, name, IsRegular(name) ? Sha256(MappedFile(name)) : "read from a pipe"});
}

void AddOutput(std::vector<ReportedFile>& files, const std::string& output) {
  if (!IsStandardOutput(output) && IsRegular(output)) AddFile(files, "output", output);
}

} // namespace mien
