#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sys/types.h>

namespace mien {

/// What the system knows of a regular file. It differs when the file was written, replaced, cut or removed in
/// between, unless that happened within a tick of the file system's clock (some milliseconds) after a change
/// before; a network's file system may know of it some seconds later.
struct FileState {
  dev_t device = 0;
  ino_t number = 0;
  off_t size = 0;
  std::int64_t modified_ns = 0;

  bool operator==(const FileState&) const = default;
};

/// Nothing for what is not a regular file, and for one that does not exist.
std::optional<FileState> StateOf(const std::filesystem::path& path);

} // namespace mien
