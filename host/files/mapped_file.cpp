#include "host/files/mapped_file.h"

#include "host/files/read_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace mien {

MappedFile::MappedFile(const std::filesystem::path& path) {
  // Only a regular file is opened here: who opens a pipe and closes it again ends it.
  std::error_code not_there;
  const int file =
      std::filesystem::is_regular_file(path, not_there) ? open(path.c_str(), O_RDONLY | O_CLOEXEC) : -1;
  struct stat status {};
  if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (start != MAP_FAILED) {
      madvise(start, size, MADV_SEQUENTIAL);
      bytes_ = {static_cast<const char*>(start), size};
      mapped_ = true;
    }
  }
  if (file >= 0) close(file);
  if (mapped_) return;
  read_ = ReadFile(path); // or says why not
  bytes_ = read_;
}

MappedFile::~MappedFile() {
  if (mapped_) munmap(const_cast<char*>(bytes_.data()), bytes_.size());
}

} // namespace mien
