#include "host/batch/run_batch.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <sched.h>
#include <set>
#include <system_error>
#include <thread>

namespace mien {

void OnThreads(std::size_t threads, std::size_t count,
               const std::function<void(std::size_t thread, std::size_t index)>& work) {
  std::atomic<std::size_t> next = 0;
  const auto take_turns = [&](std::size_t thread) {
    for (std::size_t i = next++; i < count; i = next++) work(thread, i);
  };
  std::vector<std::jthread> others; // joined in the end
  try {
    for (std::size_t t = 1; t < std::min(threads, count); ++t) others.emplace_back(take_turns, t);
  } catch (const std::system_error&) { // the system gives no more threads
  }
  take_turns(0);
}

void RunBatch(const Batch& batch, const BatchEvents& events) {
  const auto stopped = [&] { return events.stopped && events.stopped(); };
  std::mutex one_at_a_time;
  OnThreads(batch.threads, batch.lines.size(), [&](std::size_t thread, std::size_t index) {
    if (stopped()) return;
    const BatchLine& line = batch.lines[index];
    const LineEnd end =
        RunLine(line, batch.folder, batch.job_of, [&](JobStage stage, std::size_t done, std::size_t total) {
          if (stopped()) throw BatchStopped();
          if (events.progress) events.progress(thread, line, stage, done, total);
        });
    if (end.kind == LineEnd::Kind::Stopped || !events.ended) return;
    const std::lock_guard lock(one_at_a_time);
    events.ended(line, end);
  });
}

void MakeOutputFolders(const std::vector<BatchLine>& lines) {
  std::set<std::filesystem::path> folders;
  for (const BatchLine& line : lines) folders.insert(std::filesystem::path(line.output).parent_path());
  std::error_code failed;
  for (const std::filesystem::path& folder : folders)
    if (!folder.empty()) std::filesystem::create_directories(folder, failed);
}

std::size_t UsableProcessors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  const int count = sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
  return static_cast<std::size_t>(std::max(count, 1));
}

} // namespace mien
