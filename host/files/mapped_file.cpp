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
      pages_.emplace(start, size);
    }
  }
  if (file >= 0) close(file);
  if (!pages_) {
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
  if (!pages_) return;
  pages_.reset();
  munmap(const_cast<char*>(bytes_.data()), bytes_.size());
}

void MappedFile::EachPart(const std::function<void(std::string_view)>& use) const {
  constexpr std::size_t kPart = 1 << 22;
  for (std::size_t done = 0; done < bytes_.size(); done += kPart) {
    use(bytes_.substr(done, kPart));
    if (pages_) pages_->Drop();
  }
}

// Has a byte of each page fetched.
void MappedFile::Fetch(const ReadProgress& progress) const {
  std::size_t done = 0;
  EachPart([&](std::string_view part) {
    constexpr std::size_t kPage = 4096;             // may be larger: then some are touched twice
    const volatile char* const bytes = part.data(); // volatile: what is read is not used
    for (std::size_t i = 0; i < part.size(); i += kPage) static_cast<void>(bytes[i]);
    done += part.size();
    progress(done, bytes_.size());
  });
}

} // namespace mien
