#pragma once

#include "host/takes/take.h"

#include <optional>
#include <string>

namespace mien {

/// Gives the take's first frame the timecode that a job asks for, in place of the take's own; without one
/// nothing changes. Throws a UsageError where it is no timecode at the take's rate.
void SetTimecode(Take& take, const std::optional<std::string>& timecode);

} // namespace mien
