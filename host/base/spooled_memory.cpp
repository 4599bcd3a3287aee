#include "host/base/spooled_memory.h"

#include "host/base/read_pages.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
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

/// What the process keeps: runs of pieces in the order in which they were touched. Like the heap, there is one.
class KeptPages {
public:
  static KeptPages& Instance() {
    static auto& kept = *new KeptPages; // never destroyed: static objects may have spooled memory
    return kept;
  }

  /// Keeps the pieces from `first` to `end`, which have just been fetched.
  void Add(const SpooledMemory& memory, std::size_t first, std::size_t end) {
    const std::lock_guard lock(mutex_);
    const std::size_t bytes = (end - first) * memory.piece_;
    const auto newest = runs_.rbegin(), last = newest + std::min(std::ssize(runs_), kAtOnce);
    const auto grows = std::find_if(newest, last, [&](const Run& run) {
      return run.memory == &memory && run.end == first && run.Bytes() < kLongestRun;
    });
    if (grows != last)
      grows->end = end;
    else
      runs_.push_back({&memory, first, end});
    bytes_ += bytes;
    touched_ += bytes;
    if (touched_ > kReadMeanwhile) {
      for (const ReadPages* const pages : read_) pages->Drop();
      touched_ = 0;
    }
    while (bytes_ > kMostBytes && runs_.size() > 1) {
      const Run oldest = runs_.front();
      runs_.pop_front();
      bytes_ -= oldest.Bytes();
      oldest.memory->Drop(oldest.first, oldest.end);
    }
  }

  void Forget(const SpooledMemory& memory) {
    const std::lock_guard lock(mutex_);
    std::erase_if(runs_, [&](const Run& run) { return run.memory == &memory; });
    bytes_ = 0;
    for (const Run& run : runs_) bytes_ += run.Bytes();
  }

  void Add(const ReadPages& pages) {
    const std::lock_guard lock(mutex_);
    read_.push_back(&pages);
  }

  void Forget(const ReadPages& pages) {
    const std::lock_guard lock(mutex_);
    std::erase(read_, &pages);
  }

  void DropRead() {
    const std::lock_guard lock(mutex_);
    for (const ReadPages* const pages : read_) pages->Drop();
  }

  /// Held while a memory grows: nothing of it is dropped meanwhile.
  std::mutex& Mutex() { return mutex_; }

private:
  // Pieces that follow each other and are dropped by one call: each call makes all processors that run the
  // process forget their addresses.
  struct Run {
    const SpooledMemory* memory;
    std::size_t first, end;

    std::size_t Bytes() const { return (end - first) * memory->piece_; }
  };

  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;
  static constexpr std::size_t kLongestRun = std::size_t{2} << 20;
  static constexpr std::ptrdiff_t kAtOnce = 8; // runs that grow: several lists, several threads
  static constexpr std::size_t kReadMeanwhile = std::size_t{4} << 20; // text is a few times as long

  std::mutex mutex_;
  std::deque<Run> runs_;
  std::size_t bytes_ = 0, touched_ = 0; // of runs: all; since pages were last dropped
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
    // Addresses beyond the file cost nothing: twice as many as needed, so that they rarely change.
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

// One call for all pages of several pieces is much cheaper than a fault for each page. Whoever uses one piece
// after the other will need the next ones. Systems that do not know the call, before Linux 5.14, do without.
void SpooledMemory::Keep(std::size_t piece) const {
  constexpr std::size_t kAhead = std::size_t{1} << 20;
  constexpr std::size_t kNewAhead = kAhead / 4; // many lists may grow together, each with as much
  const State before = states_[piece].exchange(State::Kept, std::memory_order_relaxed);
  if (before == State::Kept) return; // another thread was faster
  std::size_t end = piece + 1;
  if (piece > 0 && states_[piece - 1].load(std::memory_order_relaxed) == State::Kept) {
    const std::size_t ahead = (before == State::Dropped ? kAhead : kNewAhead) / piece_;
    for (const std::size_t most = std::min(pieces_, piece + ahead); end < most; ++end) {
      State alike = before;
      if (!states_[end].compare_exchange_strong(alike, State::Kept, std::memory_order_relaxed)) break;
    }
  }
  madvise(static_cast<char*>(data_) + piece * piece_, (end - piece) * piece_,
          before == State::New ? MADV_POPULATE_WRITE : MADV_POPULATE_READ);
  KeptPages::Instance().Add(*this, piece, end);
}

// Pages of a shared mapping keep their contents in the page cache. A fault also maps the pages around it, up
// to 64 KB, so those at the borders go as well: dropping is never wrong.
void SpooledMemory::Drop(std::size_t first_piece, std::size_t end_piece) const {
  for (std::size_t piece = first_piece; piece < end_piece; ++piece)
    states_[piece].store(State::Dropped, std::memory_order_relaxed);
  constexpr std::size_t kAround = 16 * kPage;
  const std::size_t first = first_piece * piece_ / kAround * kAround;
  const std::size_t end = std::min((end_piece * piece_ + kAround - 1) / kAround * kAround, Size());
  madvise(static_cast<char*>(data_) + first, end - first, MADV_DONTNEED);
}

ReadPages::ReadPages(const void* data, std::size_t bytes) : data_(data), bytes_(bytes) {
  KeptPages::Instance().Add(*this);
}

ReadPages::~ReadPages() { KeptPages::Instance().Forget(*this); }

void DropReadPages() { KeptPages::Instance().DropRead(); }

void ReadPages::Drop() const { madvise(const_cast<void*>(data_), bytes_, MADV_DONTNEED); }

} // namespace mien
