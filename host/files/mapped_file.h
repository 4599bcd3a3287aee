#pragma once

#include "host/base/spooled_memory.h"
#include "host/files/read_file.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// How a file's bytes come into memory.
enum class FileAccess {
  Map,  ///< in place, so that they take no memory of their own
  Copy, ///< copied, a long file into SpooledMemory: nothing that happens to the file afterwards changes them
};

/// A file's bytes. A pipe and standard input ("-"), which cannot be mapped, are read.
///
/// A mapped file that somebody shortens meanwhile raises SIGBUS where it is read; the command reports that
/// and stops. A batch, which must continue, copies.
class MappedFile {
public:
  /// With `progress`, what the system does not have in memory is fetched from the disk here; without, when the
  /// bytes are used. Throws InputError as ReadFile does.
  explicit MappedFile(const std::filesystem::path& path, const ReadProgress& progress = nullptr,
                      FileAccess access = FileAccess::Map);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view Bytes() const { return bytes_; }

  /// Calls `use` with one part of the bytes after the other. Only about a part of them is in memory at a time.
  void EachPart(const std::function<void(std::string_view part)>& use) const;

private:
  bool Copy(const std::filesystem::path& path, const ReadProgress& progress);
  void Fetch(const ReadProgress& progress) const;
  void Unmap();

  std::string_view bytes_;
  std::string read_;                  // the bytes where they are not mapped
  std::optional<SpooledMemory> copy_; // the same of a long file
  std::optional<ReadPages> pages_;    // of the mapping or the copy
};

} // namespace mien
