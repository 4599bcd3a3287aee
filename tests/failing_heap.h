#pragma once

// A heap that fails when a test asks it to. Replaces operator new of the executable, which the library uses
// too: include it in one source file of an executable.

#include <cstdlib>
#include <new>

namespace tests {

inline int blocks = 0;          // allocated and not yet freed
inline int grants_left = -1;    // until an allocation fails; negative: none does
inline bool has_failed = false; // only one allocation fails

/// Whether `action` ends in an out-of-memory exception if its allocation number `failing` (from 0) fails.
template <class Action>
bool RunsOutOfMemory(int failing, Action action) {
  grants_left = failing;
  has_failed = false;
  bool thrown = false;
  try {
    action();
  } catch (const std::bad_alloc&) { thrown = true; }
  grants_left = -1;
  return thrown;
}

} // namespace tests

void* operator new(std::size_t bytes, std::align_val_t alignment) {
  if (tests::grants_left == 0 && !tests::has_failed) {
    tests::has_failed = true;
    throw std::bad_alloc();
  }
  if (tests::grants_left > 0) --tests::grants_left;
  const auto unit = static_cast<std::size_t>(alignment);
  void* const block = std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit);
  if (!block) throw std::bad_alloc();
  ++tests::blocks;
  return block;
}

void* operator new(std::size_t bytes) {
  return operator new (bytes, std::align_val_t{__STDCPP_DEFAULT_NEW_ALIGNMENT__});
}

// The standard library's temporary buffers, such as those of std::stable_sort.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  try {
    return operator new(bytes);
  } catch (const std::bad_alloc&) { return nullptr; }
}

void operator delete(void* block) noexcept {
  if (block) --tests::blocks;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete(void* block, std::align_val_t) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { operator delete(block); }
