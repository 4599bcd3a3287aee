#pragma once

#include "host/base/error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// A new file that grows by rows, each handed to the operating system at once. If a row cannot be written, the
/// part of it that was written is removed: the file always ends with a whole row, unless the process is killed
/// or the machine fails.
class RowFile {
public:
  /// Creates the file. Throws InputError if it exists or cannot be created.
  explicit RowFile(std::string path);
  ~RowFile();
  RowFile(const RowFile&) = delete;
  RowFile& operator=(const RowFile&) = delete;

  const std::string& Path() const { return path_; }

  /// Appends rows with their line ends. Returns false if they cannot be written, for example because the disk
  /// is full; then nothing more is written.
  bool Append(std::string_view rows);

  /// Why nothing more is written; empty while all is well.
  const std::optional<Problem>& Fault() const { return fault_; }

  /// Removes the file from its folder.
  void Remove();

private:
  const std::string path_;
  const int descriptor_;
  std::int64_t size_ = 0; // of whole rows, bytes
  std::optional<Problem> fault_;
};

} // namespace mien
