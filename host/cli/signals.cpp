#include "host/cli/signals.h"

#include "host/files/unfinished_files.h"

#include <csignal>
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

} // namespace

void HandleSignals() {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGFPE, SIGUSR1, SIGSEGV,
                           SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO, SIGSYS})
    if (const auto before = std::signal(signal, RemoveFilesAndEnd); before != SIG_DFL)
      std::signal(signal, before); // ignored or handled already
  std::signal(SIGBUS, ReportCutFile);
  std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace mien
