#pragma once

#include <cstddef>
#include <functional>

namespace mien {

/// The processors that this process may use. At least 1.
std::size_t AvailableThreads();

/// Calls `work(thread, index)` for each index below `count`, in rising order, on up to `threads` threads, of which
/// the calling one is number 0; on fewer where the system gives no more.
///
/// Returns when all are done. If calls throw, no new ones begin, and the exception of the lowest index among
/// them is thrown.
void OnThreads(std::size_t threads, std::size_t count,
               const std::function<void(std::size_t thread, std::size_t index)>& work);

/// Frames that are worth a turn of a thread. Ranges of so many share no word of a std::vector<bool>.
inline constexpr std::size_t kFramesAtOnce = 512;

/// Calls `work(first, end)` for ranges that together make up 0 to `count`, as OnThreads does for indices. No range
/// is longer than `longest` (above 0), and the ranges do not depend on the number of threads: where each writes
/// only results of its own, the results do not depend on it either.
void ForRanges(std::size_t threads, std::size_t count, std::size_t longest,
               const std::function<void(std::size_t first, std::size_t end)>& work);

} // namespace mien
