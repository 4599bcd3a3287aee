#include "host/base/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace mien {

std::size_t AvailableThreads() { return std::max(1U, std::thread::hardware_concurrency()); }

// Threads live as long as the call. Starting one takes some 20 microseconds, which is nothing beside the
// thousands of frames of a loop that is worth dividing, and there is no pool whose size several jobs would
// have to agree on.
void ForRanges(std::size_t threads, std::size_t count, std::size_t longest,
               const std::function<void(std::size_t, std::size_t)>& work) {
  const std::size_t ranges = (count + longest - 1) / longest;
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;
  std::exception_ptr failure;
  std::size_t failed = ranges;
  const auto run = [&] {
    for (std::size_t range = next++; range < ranges; range = next++) {
      try {
        work(range * longest, std::min((range + 1) * longest, count));
      } catch (...) {
        next = ranges;
        const std::lock_guard lock(mutex);
        if (range < failed) failed = range, failure = std::current_exception();
      }
    }
  };

  {
    std::vector<std::jthread> others;
    try {
      while (others.size() + 1 < std::min(threads, ranges)) others.emplace_back(run);
    } catch (const std::system_error&) {
      // The system has no more threads: those that run do the work.
    }
    run();
  }
  if (failure) std::rethrow_exception(failure);
}

} // namespace mien
