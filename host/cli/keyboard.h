#pragma once

#include <optional>
#include <termios.h>

namespace mien {

/// Single keys from the terminal on standard input, without their being shown or waiting for Enter, while
/// this lives. Ctrl-C still interrupts. Nothing where standard input is no terminal, and in the background.
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
