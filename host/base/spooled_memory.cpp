#include "host/base/spooled_memory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace mien {

namespace {

constexpr std::size_t kPage = 4096;

/// A new file that has no name; below 0 where none can be made.
int OpenWithoutName() {
  const char* const chosen = std::getenv("TMPDIR");
  for (const std::string folder : {chosen ? chosen : "", "/var/tmp", "/tmp"}) {
    if (folder.empty()) continue;
    int file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file < 0) { // some file systems know no files without a name
      std::string path = folder + "/mien.XXXXXX";
      file = mkostemp(path.data(), O_CLOEXEC);
      if (file >= 0) unlink(path.c_str());
    }
    if (file >= 0) return file;
  }
  return -1;
}

} // namespace

/// What the process keeps: the pieces in the order in which they were touched. Like the heap, there is one.
class KeptPages {
public:
  static KeptPages& Instance() {
    static auto& kept = *new KeptPages; // never destroyed: static objects may have spooled memory
    return kept;
  }

  void Add(const SpooledMemory& memory, std::size_t piece) {
    const std::lock_guard lock(mutex_);
    const auto before = memory.states_[piece].exchange(SpooledMemory::State::Kept, std::memory_order_relaxed);
    if (before == SpooledMemory::State::Kept) return; // another thread was faster
    memory.Fetch(piece, before == SpooledMemory::State::New);
    pieces_.emplace_back(&memory, piece);
    bytes_ += memory.piece_;
    touched_ += memory.piece_;
    if (touched_ > kReadMeanwhile) {
      for (const ReadPages* const pages : read_) pages->Drop();
      touched_ = 0;
    }
    while (bytes_ > kMostBytes && pieces_.size() > 1) {
      const auto [oldest, index] = pieces_.front();
      pieces_.pop_front();
      bytes_ -= oldest->piece_;
      oldest->states_[index].store(SpooledMemory::State::Dropped, std::memory_order_relaxed);
      oldest->Drop(index);
    }
  }

  void Forget(const SpooledMemory& memory) {
    const std::lock_guard lock(mutex_);
    std::erase_if(pieces_, [&](const auto& piece) { return piece.first == &memory; });
    bytes_ = 0;
    for (const auto& [other, piece] : pieces_) bytes_ += other->piece_;
  }

  void Add(const ReadPages& pages) {
    const std::lock_guard lock(mutex_);
    read_.push_back(&pages);
  }

  void Forget(const ReadPages& pages) {
    const std::lock_guard lock(mutex_);
    std::erase(read_, &pages);
  }

  /// Held while a memory grows: nothing of it is dropped meanwhile.
  std::mutex& Mutex() { return mutex_; }

private:
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;
  static constexpr std::size_t kReadMeanwhile = std::size_t{4} << 20; // text is a few times as long

  std::mutex mutex_;
  std::deque<std::pair<const SpooledMemory*, std::size_t>> pieces_;
  std::size_t bytes_ = 0, touched_ = 0; // of pieces: all; since pages were last dropped
  std::vector<const ReadPages*> read_;
};

SpooledMemory::SpooledMemory(std::size_t piece) : piece_(piece) {}

SpooledMemory::~SpooledMemory() {
  KeptPages::Instance().Forget(*this);
  if (data_) munmap(data_, mapped_);
  if (file_ >= 0) close(file_);
}

bool SpooledMemory::Grow(std::size_t bytes) {
  const std::size_t pieces = (bytes + piece_ - 1) / piece_;
  if (pieces <= pieces_) return true;
  if (file_ < 0) file_ = OpenWithoutName();
  // Where room on the disk is only promised, a full disk would end the process at the first use.
  if (file_ < 0 || posix_fallocate(file_, static_cast<off_t>(Size()),
                                   static_cast<off_t>((pieces - pieces_) * piece_)) != 0)
    return false;
  const std::lock_guard lock(KeptPages::Instance().Mutex());
  if (pieces * piece_ > mapped_) {
    // Addresses beyond the file cost nothing: twice as many as needed, so that they seldom change.
    const std::size_t size = 2 * pieces * piece_;
    auto states = std::make_unique<std::atomic<State>[]>(2 * pieces);
    void* const data = data_ ? mremap(data_, mapped_, size, MREMAP_MAYMOVE)
                             : mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
    if (data == MAP_FAILED) return false;
    for (std::size_t i = 0; i < pieces_; ++i) states[i] = states_[i].load();
    states_ = std::move(states);
    data_ = data;
    mapped_ = size;
  }
  pieces_ = pieces;
  return true;
}

void SpooledMemory::Keep(std::size_t piece) const { KeptPages::Instance().Add(*this, piece); }

// One call for all pages of a piece is much cheaper than a fault for each. Systems that do not know it, before
// Linux 5.14, do without.
void SpooledMemory::Fetch(std::size_t piece, bool to_write) const {
  madvise(static_cast<char*>(data_) + piece * piece_, piece_,
          to_write ? MADV_POPULATE_WRITE : MADV_POPULATE_READ);
}

// Pages of a shared mapping keep their contents in the page cache. A fault also maps the pages around it, up
// to 64 KB, so those at the borders go as well: dropping is never wrong.
void SpooledMemory::Drop(std::size_t piece) const {
  constexpr std::size_t kAround = 16 * kPage;
  const std::size_t first = piece * piece_ / kAround * kAround;
  const std::size_t end = std::min(((piece + 1) * piece_ + kAround - 1) / kAround * kAround, Size());
  madvise(static_cast<char*>(data_) + first, end - first, MADV_DONTNEED);
}

ReadPages::ReadPages(const void* data, std::size_t bytes) : data_(data), bytes_(bytes) {
  KeptPages::Instance().Add(*this);
}

ReadPages::~ReadPages() { KeptPages::Instance().Forget(*this); }

void ReadPages::Drop() const { madvise(const_cast<void*>(data_), bytes_, MADV_DONTNEED); }

} // namespace mien
