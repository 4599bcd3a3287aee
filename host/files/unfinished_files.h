#pragma once

#include <cstddef>
#include <string>

namespace mien {

/// Keeps a file on the list of those that are being filled, for as long as it lives: temporary files that nobody should
/// find when the process ends early. The list is the process's, since a signal can reach nothing else; any number of
/// threads may use it.
class UnfinishedFile {
public:
  static constexpr std::size_t kMost = 64; ///< at a time; further ones are not on the list
  static constexpr std::size_t kLongest =
      4096; ///< bytes of a path, its end included; longer ones are not on the list

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
