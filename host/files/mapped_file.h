#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace mien {

/// A file's bytes in place: mapped into memory, so that reading it takes none of its own. A pipe, which cannot be
/// mapped, is read.
///
/// A mapped file that somebody shortens meanwhile raises SIGBUS where it is read; the command says so and stops.
class MappedFile {
public:
  /// Throws InputError for a missing file, a directory, and one that cannot be read.
  explicit MappedFile(const std::filesystem::path& path);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view Bytes() const { return bytes_; }

private:
  std::string_view bytes_;
  std::string read_; // the bytes where they are not mapped
  bool mapped_ = false;
};

} // namespace mien
