#pragma once

#include "host/cli/command.h"

#include <string>

namespace mien {

// Files and built-ins that several commands take.

/// TAKE, which is required.
Command::Option TakeArgument();

/// --performer, required; `what` the command does with it.
Command::Option PerformerOption(const std::string& what);

/// --output for a JSON file, required.
Command::Option JsonOutputOption(const std::string& what);

/// What progress calls a take: the file's name without its ending, or "standard input".
std::string TakeName(const std::string& file);

} // namespace mien
