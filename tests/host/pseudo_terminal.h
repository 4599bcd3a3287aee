#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

/// A terminal that no screen belongs to: a process writes to it as to a screen, and the test reads what is
/// shown and types.
class PseudoTerminal {
public:
  explicit PseudoTerminal(unsigned short columns = 80)
      : screen_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_TRUE(screen_ >= 0 && grantpt(screen_) == 0 && unlockpt(screen_) == 0) << "needs a pseudo-terminal";
    device_ = open(ptsname(screen_), O_RDWR | O_NOCTTY | O_CLOEXEC); // kept, so that what was written stays
    winsize size{};
    size.ws_row = 24, size.ws_col = columns;
    ioctl(device_, TIOCSWINSZ, &size);
    fcntl(screen_, F_SETFL, O_NONBLOCK);
  }
  ~PseudoTerminal() {
    close(device_);
    close(screen_);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  /// For a child process: makes it the terminal of that process, for its standard streams `first` to standard
  /// error.
  void Become(int first = STDIN_FILENO) const {
    setsid();
    ioctl(device_, TIOCSCTTY, 0); // from here on Ctrl-C interrupts the process
    for (int stream = first; stream <= STDERR_FILENO; ++stream) dup2(device_, stream);
  }

  void Type(const std::string& keys) const {
    if (write(screen_, keys.data(), keys.size()) < 0) ADD_FAILURE() << "cannot type";
  }

  /// What has been shown since the last call; waits for some of it at most so long.
  std::string Shown(int milliseconds = 0) const {
    pollfd event = {screen_, POLLIN, 0};
    poll(&event, 1, milliseconds);
    std::string shown;
    char some[4096];
    for (ssize_t size = 0; (size = read(screen_, some, sizeof some)) > 0;)
      shown.append(some, static_cast<std::size_t>(size));
    return shown;
  }

private:
  int screen_, device_;
};
