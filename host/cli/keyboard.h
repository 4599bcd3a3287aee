#pragma once

#include <optional>
#include <termios.h>

namespace mien {

/// Reads single keys from the terminal on standard input while it lives, without echo and without Enter.
/// Ctrl-C still interrupts. There are no keys if standard input is not a terminal, and in the background.
class Keyboard {
public:
  explicit Keyboard(bool wanted);
  ~Keyboard();
  Keyboard(const Keyboard&) = delete;
  Keyboard& operator=(const Keyboard&) = delete;

  bool IsThere() const { return before_.has_value(); }

  /// A key that was pressed, if one was; does not wait.
  std::optional<char> Key();

private:
  std::optional<termios> before_;
};

} // namespace mien
