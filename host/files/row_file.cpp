#include "host/files/row_file.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace mien {

namespace {

int Create(const std::string& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor >= 0) return descriptor;
  if (errno == EEXIST)
    throw InputError(Code::Unwritable, path, "", "a file with this name exists",
                     "choose another place, or move the file");
  throw InputError(Code::Unwritable, path, "",
                   "the file cannot be created: " + std::generic_category().message(errno),
                   "check the folder and its permissions");
}

} // namespace

RowFile::RowFile(std::string path) : path_(std::move(path)), descriptor_(Create(path_)) {}

RowFile::~RowFile() { close(descriptor_); }

bool RowFile::Append(std::string_view rows) {
  if (fault_) return false;
  std::size_t written = 0;
  while (written < rows.size()) {
    const ssize_t size = write(descriptor_, rows.data() + written, rows.size() - written);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) {
      const int error = size < 0 ? errno : EIO;
      fault_ = Problem{.code = Code::Unwritable,
                       .file = path_,
                       .place = "",
                       .what = "cannot be written: " + std::generic_category().message(error),
                       .fix = error == ENOSPC ? "free space on the disk, or choose another place"
                                              : "choose another place"};
      // If this fails too, the last row is incomplete; readers skip it.
      static_cast<void>(ftruncate(descriptor_, size_) == 0);
      return false;
    }
    written += static_cast<std::size_t>(size);
  }
  size_ += static_cast<std::int64_t>(rows.size());
  return true;
}

void RowFile::Remove() { unlink(path_.c_str()); }

} // namespace mien
