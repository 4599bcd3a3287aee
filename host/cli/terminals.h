#pragma once

#include "host/inspect/terminal.h"

#include <cstddef>

namespace mien {

/// What standard output shows: its columns, 80 where it is not a terminal, and the characters that the
/// environment asks for.
Terminal StandardOutputTerminal();

/// The same of standard error.
Terminal StandardErrorTerminal();

/// Whether standard error is a terminal that can move its cursor: not where TERM is "dumb" or missing.
bool StandardErrorIsTerminal();

/// Whether that terminal is another job's at the moment, as where a shell runs the command in the background.
bool IsInBackground();

/// Whether messages have colour: on such a terminal, unless NO_COLOR is set and not empty.
bool StandardErrorHasColour();

} // namespace mien
