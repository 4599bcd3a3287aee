#pragma once

#include "host/inspect/describe.h"
#include "host/inspect/terminal.h"

#include <string>

namespace mien {

/// Gaps over time, in lines as wide as the terminal: a row for each marker with gaps, the worst first, a cell
/// for each run of frames, and a line of times below. Markers with the same gaps share a row, as when a
/// tracker loses the whole face; all beyond 40 rows share one. Empty without gaps.
std::string GapPicture(const TakeDescription& description, const Terminal& terminal);

} // namespace mien
