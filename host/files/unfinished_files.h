#pragma once

#include <cstddef>
#include <string>

namespace mien {

/// Keeps a file on the list of those that are being filled, as long as this object lives: they are removed
/// when the process ends early. There is one list per process, since a signal handler can reach nothing else;
/// any number of threads may use it.
class UnfinishedFile {
public:
  /// At a time; further ones are not listed.
  static constexpr std::size_t kMost = 1024;
  /// Bytes of a path, its terminating zero included; longer ones are not listed.
  static constexpr std::size_t kLongest = 4096;

  explicit UnfinishedFile(const std::string& path);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

private:
  std::size_t slot_;
};

/// Removes all files on the list. May be called from a signal handler.
void RemoveUnfinishedFiles() noexcept;

} // namespace mien
