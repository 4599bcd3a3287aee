#pragma once

#include "host/inspect/describe.h"
#include "host/inspect/terminal.h"

#include <string>

namespace mien {

/// As text for a terminal, in lines: what the take holds, a table of its markers and, where there are gaps, a picture of
/// them over time. Control characters in the file's own words are '?'.
std::string ToText(const TakeDescription& description, const Terminal& terminal = {});

} // namespace mien
