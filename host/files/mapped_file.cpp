#include "host/files/mapped_file.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace mien {

MappedFile::MappedFile(const std::filesystem::path& path, const ReadProgress& progress, FileAccess access) {
  // Only a regular file is opened here: opening a pipe and closing it again ends it. "-" is standard input.
  std::error_code not_there;
  const bool maps =
      access == FileAccess::Map && path != "-" && std::filesystem::is_regular_file(path, not_there);
  const int file = maps ? open(path.c_str(), O_RDONLY | O_CLOEXEC) : -1;
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
  if (!mapped_) {
    read_ = ReadFile(path, progress); // or reports why it cannot be
    bytes_ = read_;
  } else if (progress) {
    try {
      Fetch(progress);
    } catch (...) { // there will be no destructor
      Unmap();
      throw;
    }
  }
}

MappedFile::~MappedFile() { Unmap(); }

void MappedFile::Unmap() {
  if (mapped_) munmap(const_cast<char*>(bytes_.data()), bytes_.size());
}

void MappedFile::Fetch(const ReadProgress& progress) const {
  constexpr std::size_t kPage = 4096,
                        kPiece = 1 << 22;           // pages may be larger than that: some are touched twice
  const volatile char* const bytes = bytes_.data(); // volatile: what is read is not used
  for (std::size_t done = 0; done < bytes_.size();) {
    const std::size_t end = std::min(done + kPiece, bytes_.size());
    for (; done < end; done += kPage) static_cast<void>(bytes[done]);
    done = end;
    progress(done, bytes_.size());
  }
}

} // namespace mien
