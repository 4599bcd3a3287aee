#include "host/cli/signals.h"

#include "host/files/unfinished_files.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace mien {

namespace {

extern "C" void RemoveFilesAndEnd(int signal) {
  RemoveUnfinishedFiles();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

extern "C" void ReportCutFile(int) {
  RemoveUnfinishedFiles();
  constexpr char kMessage[] =
      "mien: a file was cut short while it was being read; try again when it is complete\n";
  if (write(STDERR_FILENO, kMessage, sizeof kMessage - 1) < 0) _exit(1); // nobody is there to read it
  _exit(1);                                                              // the input is at fault
}

constexpr std::array<int, 3> kStopping = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> stop_wanted = false;
std::atomic<int> stop_signal = 0;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

extern "C" void NoteStop(int signal) {
  int none = 0; // the signal is set first: a thread that sees `stop_wanted` also sees it
  if (!stop_signal.compare_exchange_strong(none, signal)) RemoveFilesAndEnd(signal);
  stop_wanted = true;
}

} // namespace

OrderlyStop::OrderlyStop() {
  stop_wanted = false;
  stop_signal = 0;
  for (std::size_t i = 0; i < before_.size(); ++i) {
    before_[i] = std::signal(kStopping[i], NoteStop);
    if (before_[i] == SIG_IGN) std::signal(kStopping[i], SIG_IGN);
  }
}

OrderlyStop::~OrderlyStop() {
  for (std::size_t i = 0; i < before_.size(); ++i) std::signal(kStopping[i], before_[i]);
}

const std::atomic<bool>& OrderlyStop::Wanted() { return stop_wanted; }

int OrderlyStop::Signal() { return stop_signal; }

void EndBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::abort(); // it was blocked
}

void HandleSignals() {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGFPE, SIGUSR1, SIGSEGV,
                           SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO, SIGSYS})
    if (const auto before = std::signal(signal, RemoveFilesAndEnd); before != SIG_DFL)
      std::signal(signal, before); // ignored or handled already
  std::signal(SIGBUS, ReportCutFile);
  std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace mien
