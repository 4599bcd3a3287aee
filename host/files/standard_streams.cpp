#include "host/files/standard_streams.h"

#include <fcntl.h>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace mien {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStandardStream = "-";

/// Whether a path is the system's name for an open file of this process: links are followed, down to
/// /proc/self/fd/NUMBER.
bool IsDescriptor(fs::path path, int descriptor) {
  constexpr int kMostLinks = 40;
  std::error_code error;
  const fs::path ours = fs::canonical("/proc/self/fd", error);
  if (error) return false; // a system that has no such names
  for (int links = 0; links < kMostLinks; ++links) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (fs::canonical(folder, error) == ours) return path.filename() == std::to_string(descriptor);
    if (!fs::is_symlink(fs::symlink_status(path, error))) return false;
    path = folder / fs::read_symlink(path, error);
    if (error) return false;
  }
  return false;
}

} // namespace

bool IsStandardInput(const fs::path& path) {
  return path == kStandardStream || IsDescriptor(path, STDIN_FILENO);
}

bool IsStandardOutput(const fs::path& path) {
  return path == kStandardStream || IsDescriptor(path, STDOUT_FILENO);
}

std::string InputName(const fs::path& path) {
  return path == kStandardStream ? "standard input" : path.string();
}

void OccupyClosedStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    // The lowest number that is free is the stream's, since those below it are taken.
    if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
  }
}

} // namespace mien
