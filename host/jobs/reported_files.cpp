#include "host/jobs/reported_files.h"

#include "host/base/error.h"
#include "host/files/sha256.h"
#include "host/files/standard_streams.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace mien {

namespace {

/// Rather than the words for a file without one.
bool IsHash(std::string_view sha256) { return sha256.size() == 64; }

bool IsRegular(const std::string& name) {
  std::error_code no_file;
  return !IsStandardInput(name) && std::filesystem::is_regular_file(name, no_file);
}

[[noreturn]] void FailChanged(const std::string& file) {
  throw InputError(Code::Unreadable, file, "", "the file was changed while it was used",
                   "try again when nothing writes to it");
}

} // namespace

void AddFile(std::vector<ReportedFile>& files, const std::string& role, const std::string& name,
             const std::vector<std::string>& built_in) {
  if (name.empty()) return;
  if (std::find(built_in.begin(), built_in.end(), name) != built_in.end())
    files.push_back({role, name, ""});
  else
    files.push_back({role, name, IsRegular(name) ? Sha256OfFile(name) : "read from a pipe"});
}

void AddOutput(std::vector<ReportedFile>& files, const std::string& output) {
  if (!IsStandardOutput(output) && IsRegular(output)) AddFile(files, "output", output);
}

void RequireUnchanged(const std::string& file, const std::optional<FileState>& before) {
  if (StateOf(file) != before) FailChanged(file);
}

void RequireUnchanged(const std::vector<ReportedFile>& files, std::string_view ignored_role) {
  for (const ReportedFile& file : files)
    if (file.role != ignored_role && IsHash(file.sha256) &&
        (!IsRegular(file.name) || Sha256OfFile(file.name) != file.sha256))
      FailChanged(file.name);
}

} // namespace mien
