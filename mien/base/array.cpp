#include "mien/base/array.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

void* VArrayHelper::VRealloc(void* block, std::size_t bytes,
                             std::size_t /*alignment: the heap's own suffices*/) {
  void* const resized = std::realloc(block, bytes);
  if (!resized) std::free(block);
  return resized;
}

void VArrayHelper::VFree(void* block, std::size_t /*alignment*/) { std::free(block); }

std::uint32_t VArrayHelper::GetNextArraySize(std::uint32_t wanted) {
  constexpr std::uint32_t kSmallest = 4;
  constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
  const std::uint32_t roomy = wanted > kLargest - wanted / 2 ? kLargest : wanted + wanted / 2;
  return std::max({roomy, wanted, kSmallest});
}
