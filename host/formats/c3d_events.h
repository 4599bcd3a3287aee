#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_parameters.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <vector>

namespace mien::c3d {

/// Those of the group EVENT, whose times count from frame 1, and those of the header, whose times count from the first frame
/// that the file has, at `first_time` seconds; sorted by time, labels in UTF-8. Programs repeat the former in the latter:
/// what is less than half a frame from one of the group is not read again. Events that cannot be read go to `notes`.
std::vector<TakeEvent> ReadEvents(const Header& header, const Parameters& parameters, const FrameRate& rate,
                                  double first_time, std::vector<Note>& notes);

} // namespace mien::c3d
