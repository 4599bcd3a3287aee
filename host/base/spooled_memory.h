#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace mien {

/// Memory for what grows with the length of a recording. It lies in a file without a name, in the folder of
/// the environment variable TMPDIR, or in /var/tmp, and is mapped: a program reads and writes it in place.
///
/// It is divided into pieces. Together, all SpooledMemory of the process keeps only the 32 MB that were touched
/// last; the pieces before are taken out of the process's memory, into the system's page cache and from there
/// to the disk. So the memory that a program needs does not grow with a recording, whatever it does with it.
/// Using a piece that is not kept is slower, and nothing else.
///
/// Any number of threads may touch and use the pieces at the same time.
class SpooledMemory {
public:
  /// No memory yet. `piece` is the bytes of a piece: a multiple of the system's pages of 4096 bytes.
  explicit SpooledMemory(std::size_t piece);
  ~SpooledMemory();
  SpooledMemory(const SpooledMemory&) = delete;
  SpooledMemory& operator=(const SpooledMemory&) = delete;

  /// Makes it at least so large, and keeps the contents. New bytes are 0. Its address may change. Returns false
  /// and changes nothing where there is no such file, no room on the disk, or no address space. No other
  /// thread may use it meanwhile.
  bool Grow(std::size_t bytes);

  void* Data() const { return data_; }
  std::size_t Size() const { return pieces_ * piece_; } ///< bytes: whole pieces

  /// Must be called before a piece is used, so that it is kept. Afterwards it stays usable; only the limit on
  /// what is kept suffers if it is used long after the call.
  void Touch(std::size_t piece) const {
    if (states_[piece].load(std::memory_order_relaxed) != State::Kept) Keep(piece);
  }

private:
  friend class KeptPages;
  enum class State : char { New, Kept, Dropped };
  void Keep(std::size_t piece) const;
  void Drop(std::size_t first_piece, std::size_t end_piece) const;

  const std::size_t piece_;
  int file_ = -1;
  void* data_ = nullptr;
  std::size_t mapped_ = 0; // bytes of addresses, at least Size()
  std::size_t pieces_ = 0;
  std::unique_ptr<std::atomic<State>[]> states_; // by piece (size: as many as mapped_ has)
};

/// A file's pages that are mapped for reading. As long as this exists, all of them are taken out of the
/// process's memory whenever a few megabytes of SpooledMemory have been touched anew, which is what a reader
/// does that fills a take. They come back from the page cache where they are read again.
class ReadPages {
public:
  ReadPages(const void* data, std::size_t bytes); ///< a mapping, from its first page
  ~ReadPages();
  ReadPages(const ReadPages&) = delete;
  ReadPages& operator=(const ReadPages&) = delete;

  /// Takes them out now.
  void Drop() const;

private:
  const void* const data_;
  const std::size_t bytes_;
};

} // namespace mien
