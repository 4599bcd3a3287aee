#include "host/files/mapped_file.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace mien {

namespace {

constexpr std::size_t kPage = 4096; // the smallest: of a system with larger ones, some are looked at twice

/// Whether the system has all pages of a mapping in memory. False where it does not say.
bool IsInMemory(std::string_view pages) {
  std::vector<unsigned char> is_in_memory((pages.size() + kPage - 1) / kPage);
  if (mincore(const_cast<char*>(pages.data()), pages.size(), is_in_memory.data()) != 0) return false;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const auto end = is_in_memory.begin() + static_cast<std::ptrdiff_t>((pages.size() + page - 1) / page);
  return std::all_of(is_in_memory.begin(), end, [](unsigned char state) { return (state & 1) != 0; });
}

} // namespace

MappedFile::MappedFile(const std::filesystem::path& path, const ReadProgress& progress, FileAccess access) {
  if (access == FileAccess::Copy && Copy(path, progress)) return;
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

// Bytes that are appended meanwhile are left out: the caller checks whether the file has changed.
bool MappedFile::Copy(const std::filesystem::path& path, const ReadProgress& progress) {
  constexpr std::size_t kLong = 1 << 20, kPiece = 1 << 17;
  std::error_code not_there;
  if (path == "-" || !std::filesystem::is_regular_file(path, not_there)) return false;
  const std::uintmax_t size = std::filesystem::file_size(path, not_there);
  if (not_there || size < kLong) return false;
  copy_.emplace(kPiece);
  if (!copy_->Grow(size)) {
    copy_.reset();
    return false;
  }
  char* const data = static_cast<char*>(copy_->Data());
  std::size_t done = 0;
  ReadPieces(path, [&](std::string_view bytes) {
    while (!bytes.empty() && done < size) {
      copy_->Touch(done / kPiece);
      const std::size_t count = std::min({bytes.size(), kPiece - done % kPiece, std::size_t{size} - done});
      std::memcpy(data + done, bytes.data(), count);
      bytes.remove_prefix(count);
      done += count;
    }
    if (progress) progress(done, size);
  });
  bytes_ = {data, done};
  pages_.emplace(data, done);
  return true;
}

void MappedFile::Unmap() {
  if (!pages_ || copy_) return;
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

// One call for a whole part is several times faster than touching its pages, which systems before Linux 5.14 need.
void MappedFile::Fetch(const ReadProgress& progress) const {
  std::size_t done = 0;
  EachPart([&](std::string_view part) {
    const volatile char* const bytes = part.data(); // volatile: what is read is not used
    if (!IsInMemory(part) && madvise(const_cast<char*>(part.data()), part.size(), MADV_POPULATE_READ) != 0)
      for (std::size_t i = 0; i < part.size(); i += kPage) static_cast<void>(bytes[i]);
    done += part.size();
    progress(done, bytes_.size());
  });
}

} // namespace mien
