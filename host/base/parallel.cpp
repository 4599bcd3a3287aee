#include "host/base/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <sched.h>
#include <system_error>
#include <thread>
#include <vector>

namespace mien {

// The number of processors that a machine has may be larger than what a scheduler grants to the process.
std::size_t AvailableThreads() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  const int count = sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
  return static_cast<std::size_t>(std::max(count, 1));
}

// Threads live as long as the call. Starting one takes some 20 microseconds, which is nothing beside the
// thousands of frames of a loop that is worth dividing, and there is no pool whose size several jobs would
// have to agree on.
void OnThreads(std::size_t threads, std::size_t count,
               const std::function<void(std::size_t, std::size_t)>& work) {
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;
  std::exception_ptr failure;
  std::size_t failed = count;
  const auto run = [&](std::size_t thread) {
    for (std::size_t index = next++; index < count; index = next++) {
      try {
        work(thread, index);
      } catch (...) {
        next = count;
        const std::lock_guard lock(mutex);
        if (index < failed) failed = index, failure = std::current_exception();
      }
    }
  };

  {
    std::vector<std::jthread> others;
    try {
      for (std::size_t t = 1; t < std::min(threads, count); ++t) others.emplace_back(run, t);
    } catch (const std::system_error&) {
      // The system has no more threads: those that run do the work.
    }
    run(0);
  }
  if (failure) std::rethrow_exception(failure);
}

void ForRanges(std::size_t threads, std::size_t count, std::size_t longest,
               const std::function<void(std::size_t, std::size_t)>& work) {
  OnThreads(threads, (count + longest - 1) / longest, [&](std::size_t, std::size_t range) {
    work(range * longest, std::min((range + 1) * longest, count));
  });
}

} // namespace mien
