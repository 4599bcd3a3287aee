#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/timecode.h"

#include <optional>
#include <string>

namespace mien {

/// The timecode that a job asks for, of the first frame of a take at this rate. Throws a UsageError where it is no
/// timecode at that rate.
Timecode RequireTimecode(const std::string& timecode, const FrameRate& rate);

} // namespace mien
