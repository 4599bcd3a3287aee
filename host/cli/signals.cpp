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
      "mien: a file was cut short while it was being read; read it again when it is whole\n";
  if (write(STDERR_FILENO, kMessage, sizeof kMessage - 1) < 0) _exit(1); // nobody is there to read it
  _exit(1);                                                              // the input is at fault
}

} // namespace

void HandleSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (std::signal(signal, RemoveFilesAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
  std::signal(SIGBUS, ReportCutFile);
  std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace mien
