#include "host/files/unfinished_files.h"

#include <atomic>
#include <unistd.h>

namespace mien {

namespace {

enum class State { Free, Writing, Listed };

struct Slot {
  std::atomic<State> state = State::Free;
  char path[UnfinishedFile::kLongest] = {};
};
static_assert(std::atomic<State>::is_always_lock_free); // so that a signal handler may read it

Slot slots[UnfinishedFile::kMost];

} // namespace

UnfinishedFile::UnfinishedFile(const std::string& path) : slot_(kMost) {
  if (path.size() >= kLongest) return;
  for (std::size_t i = 0; i < kMost; ++i) {
    State free = State::Free;
    if (!slots[i].state.compare_exchange_strong(free, State::Writing)) continue;
    path.copy(slots[i].path, path.size());
    slots[i].path[path.size()] = '\0';
    slots[i].state = State::Listed;
    slot_ = i;
    return;
  }
}

UnfinishedFile::~UnfinishedFile() {
  if (slot_ < kMost) slots[slot_].state = State::Free;
}

void RemoveUnfinishedFiles() noexcept {
  for (const Slot& slot : slots)
    if (slot.state == State::Listed) unlink(slot.path);
}

} // namespace mien
