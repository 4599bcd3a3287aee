#pragma once

#include <unistd.h>

/// While it lives, standard input is another file descriptor.
class StandardInput {
public:
  explicit StandardInput(int descriptor) : before_(dup(STDIN_FILENO)) { dup2(descriptor, STDIN_FILENO); }
  ~StandardInput() {
    if (before_ < 0) {
      close(STDIN_FILENO);
    } else {
      dup2(before_, STDIN_FILENO);
      close(before_);
    }
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

private:
  int before_;
};
