#pragma once

#include "host/takes/take.h"

#include <string_view>

namespace mien {

/// Notes a rate that no video has and that a usual one explains: `name`, a column or key of times, says
/// seconds (`units_per_second` 1) and the values are milliseconds, or the other way around.
void NoteUnlikelyUnit(Take& take, std::string_view name, double units_per_second);

} // namespace mien
