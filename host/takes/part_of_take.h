#pragma once

#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The frames and markers of a take that are asked for, with their numbers, times, events and timecode. Without `frames`
/// all of them; `markers` in the order in which they are named, each once, all where none is. Where the first frame lies
/// between two counts of the timecode, it gets the one before, with a note; so does a range that is only partly there.
///
/// Throws InputError where no frame of the range or no marker of a name exists.
Take PartOfTake(const Take& take, const std::optional<FrameRange>& frames,
                const std::vector<std::string>& markers);

} // namespace mien
