#include "host/cli/keyboard.h"

#include "host/cli/terminals.h"

#include <poll.h>
#include <unistd.h>

namespace mien {

Keyboard::Keyboard(bool wanted) {
  termios now{};
  if (!wanted || isatty(STDIN_FILENO) == 0 || IsInBackground() || tcgetattr(STDIN_FILENO, &now) != 0) return;
  before_ = now;
  now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  if (tcsetattr(STDIN_FILENO, TCSANOW, &now) != 0) before_.reset();
}

Keyboard::~Keyboard() {
  if (before_) tcsetattr(STDIN_FILENO, TCSANOW, &*before_);
}

std::optional<char> Keyboard::Key() {
  pollfd poll_for = {STDIN_FILENO, POLLIN, 0};
  char key = 0;
  if (!before_ || IsInBackground() || poll(&poll_for, 1, 0) <= 0 || read(STDIN_FILENO, &key, 1) != 1)
    return std::nullopt;
  return key;
}

} // namespace mien
