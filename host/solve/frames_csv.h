#pragma once

#include "host/solve/solve_report.h"
#include "host/takes/take.h"

#include <ostream>

namespace mien {

/// A row per frame of a solved take: "frame,time,timecode,residual_mm.PART,...,filled_markers,resting,flags,
/// head_known"; see docs/file-formats.md. The report must have `per_frame`. Numbers have the fewest digits
/// that read back to the same doubles.
void WriteFramesCsv(const Take& take, const SolveReport& report, std::ostream& out);

} // namespace mien
