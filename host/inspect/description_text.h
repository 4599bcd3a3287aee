#pragma once

#include "host/inspect/describe.h"
#include "host/inspect/terminal.h"

#include <cstddef>
#include <limits>
#include <string>

namespace mien {

/// How many markers a table lists.
inline constexpr std::size_t kSomeMarkers = 20, kAllMarkers = std::numeric_limits<std::size_t>::max();

/// As text for a terminal, in lines: what the take holds, a table of its markers and, where there are gaps, a
/// picture of them over time. The file's own words are printable (text.h). A table of more than
/// `most_markers` lists the first of them and how many more there are.
std::string ToText(const TakeDescription& description, const Terminal& terminal = {},
                   std::size_t most_markers = kAllMarkers);

} // namespace mien
