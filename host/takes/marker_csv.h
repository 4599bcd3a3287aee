#pragma once

#include "host/takes/take.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Marker CSV, this project's own plain table: a header `frame,time,NAME.x,NAME.y,NAME.z,...` and one row per
/// frame, with whole frame numbers, seconds and millimetres in any right-handed axes. A marker that was not
/// seen has three empty fields. Names may hold blanks and dots, not commas.
bool IsMarkerCsv(const std::vector<std::string_view>& columns);
Take ReadMarkerCsv(std::string_view bytes, const std::string& file);

/// Writes numbers with the fewest digits that read back to the same doubles. Throws InputError if the names
/// of the markers cannot be told apart or cannot stand in a header. The rate is not written: readers find it
/// from the times.
void WriteMarkerCsv(const Take& take, std::ostream& out);

} // namespace mien
