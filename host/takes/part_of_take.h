#pragma once

#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A part of a take: the frames of the range, all without one, and the named markers in that order, each
/// once, all if none is named; with frame numbers, times, events and timecode. Notes a range of which the
/// take has only a part, and a first frame between two counts of the timecode, which gets the one before.
///
/// Throws InputError if no frame of the range or no marker of a name exists.
Take PartOfTake(const Take& take, const std::optional<FrameRange>& frames,
                const std::vector<std::string>& markers);

} // namespace mien
