#include "host/cli/terminals.h"

#include "host/base/text.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace mien {

namespace {

std::string_view Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::size_t ColumnsOf(int stream) {
  winsize size{};
  const bool known = ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : Terminal().columns;
}

/// The character set that the environment asks for.
bool WantsUtf8() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const std::string locale = ToLower(Environment(name));
    if (!locale.empty()) return locale.ends_with("utf-8") || locale.ends_with("utf8");
  }
  return false;
}

} // namespace

Terminal StandardOutputTerminal() { return {.columns = ColumnsOf(STDOUT_FILENO), .utf8 = WantsUtf8()}; }

Terminal StandardErrorTerminal() { return {.columns = ColumnsOf(STDERR_FILENO), .utf8 = WantsUtf8()}; }

bool StandardErrorIsTerminal() {
  const std::string_view terminal = Environment("TERM");
  return isatty(STDERR_FILENO) != 0 && !terminal.empty() && terminal != "dumb";
}

bool IsInBackground() {
  const pid_t foreground = tcgetpgrp(STDERR_FILENO);
  return foreground >= 0 && foreground != getpgrp();
}

bool StandardErrorHasColour() { return StandardErrorIsTerminal() && Environment("NO_COLOR").empty(); }

} // namespace mien
