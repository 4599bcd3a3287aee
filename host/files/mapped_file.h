#pragma once

#include "host/base/spooled_memory.h"
#include "host/files/read_file.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// A file's bytes in place: mapped into memory, so that they take none of their own. A pipe and standard
/// input ("-"), which cannot be mapped, are read.
///
/// A mapped file that somebody shortens meanwhile raises SIGBUS where it is read; the command reports that
/// and stops.
class MappedFile {
public:
  /// With `progress`, the file is fetched from its disk here; without, when its bytes are used. Throws
  /// InputError as ReadFile does.
  explicit MappedFile(const std::filesystem::path& path, const ReadProgress& progress = nullptr);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view Bytes() const { return bytes_; }

  /// Calls `use` with one part of the bytes after the other. Only about a part of them is in memory at a time.
  void EachPart(const std::function<void(std::string_view part)>& use) const;

private:
  void Fetch(const ReadProgress& progress) const;
  void Unmap();

  std::string_view bytes_;
  std::string read_;               // the bytes where they are not mapped
  std::optional<ReadPages> pages_; // of the mapping
};

} // namespace mien
