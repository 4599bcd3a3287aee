#include "host/files/file_state.h"

#include <sys/stat.h>

namespace mien {

std::optional<FileState> StateOf(const std::filesystem::path& path) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileState{.device = status.st_dev,
                   .number = status.st_ino,
                   .size = status.st_size,
                   .modified_ns = status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec};
}

} // namespace mien
