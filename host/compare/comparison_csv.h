#pragma once

#include "host/compare/comparison.h"

#include <ostream>

namespace mien {

/// A row per curve that both have, the largest difference first: "group,curve,unit,frames,only_a,only_b,
/// largest,frame,time,timecode,rms,correlation,lag_frames". Fields without a value are empty. Numbers have the
/// fewest digits that read back to the same doubles.
void WriteComparisonCsv(const Comparison& comparison, std::ostream& out);

} // namespace mien
