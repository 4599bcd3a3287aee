#include "host/batch/run_batch.h"

#include "host/base/parallel.h"

#include <mutex>
#include <set>
#include <system_error>

namespace mien {

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

} // namespace mien
