#pragma once

#include "host/inspect/describe.h"
#include "host/inspect/terminal.h"

#include <string>

namespace mien {

/// Gaps over time, in lines as wide as the terminal: a row for each marker that has gaps, the worst first, a cell for each
/// stretch of frames, and below them a line of times. Markers with the same gaps share a row, as they do where a tracker
/// loses the whole face; what is beyond 40 rows is one row. Empty where there are no gaps.
std::string GapPicture(const TakeDescription& description, const Terminal& terminal);

} // namespace mien
