#pragma once

#include "host/base/error.h"
#include "host/takes/frame_span.h"
#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Where a take shows a pose of the guided list.
struct PoseMark {
  std::string pose = {}; ///< "jaw-open"
  FrameSpan frames = {}; ///< by their places in the take; at least one
  std::size_t line = 0;  ///< of the file, for messages
};

/// Reads the marks of a take: a CSV table with the columns pose, from and to, in frame numbers, or pose,
/// from_s and to_s, in seconds of the take's own time; both ends belong to the pose. A pose may be marked
/// more than once. They are returned by their first frame.
///
/// Throws InputError for a table without marks, a name that is not a pose of the list, ends in the wrong
/// order, a stretch without a frame of the take or that goes beyond it, and two marks with a frame in common.
/// `file`: its name for messages.
std::vector<PoseMark> ReadPoseMarks(std::string_view text, const std::string& file, const Take& take);

/// A note on the poses of the list that are not marked, if there are any.
std::vector<Note> MissingPoses(const std::vector<PoseMark>& marks);

} // namespace mien
