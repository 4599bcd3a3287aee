#pragma once

#include <cstddef>
#include <functional>

namespace mien {

/// How many threads a program may run at the same time: the processors that the system gives it. At least 1.
std::size_t AvailableThreads();

/// Calls `work(first, end)` for ranges that together make up 0 to `count`, on up to `threads` threads, of which
/// the calling one is the first. No range is longer than `longest` (above 0), and the ranges do not depend on
/// the number of threads: where each writes only results of its own, the results do not depend on it either.
///
/// Returns when all are done. If calls throw, no new ones begin, and the exception of the first range among
/// them is thrown.
void ForRanges(std::size_t threads, std::size_t count, std::size_t longest,
               const std::function<void(std::size_t first, std::size_t end)>& work);

} // namespace mien
