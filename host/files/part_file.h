#pragma once

#include "host/files/unfinished_files.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>

namespace mien {

/// A file to be filled beside its target and renamed when it is whole. Until then it is TARGET.NUMBER.part,
/// where the number is the process's, or the next that is free.
///
/// It is removed by the destructor, and by RemoveUnfinishedFiles where a signal ends the process. Where
/// nothing can run any more, as after SIGKILL or a power cut, it stays; the next part file for the same
/// target removes it. For that, a part file is locked (flock) as long as its writer lives, and only those
/// that can be locked are removed.
class PartFile {
public:
  /// Makes it, with the permissions of the former target. `given` is the target as the user wrote it, for
  /// messages. Throws InputError where the target cannot be written.
  PartFile(const std::filesystem::path& target, const std::filesystem::path& given);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  std::ostream& Stream() { return stream_; }

  /// Gives it the target's name, once its content is on the disk. Throws InputError where that fails.
  void Rename();

private:
  void Open();
  void Finish();
  [[noreturn]] void Fail(int error) const;

  std::filesystem::path target_, given_, path_;
  int descriptor_ = -1; // holds the lock
  std::ofstream stream_;
  bool renamed_ = false;
  std::optional<UnfinishedFile> listed_;
};

/// Throws the InputError of a place that cannot be written for the system's reason `error`; 0 where it gave
/// none.
[[noreturn]] void FailToWrite(const std::filesystem::path& path, int error);

} // namespace mien
