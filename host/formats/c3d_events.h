#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_header.h"
#include "host/formats/c3d_parameters.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <vector>

namespace mien::c3d {

/// The events of the group EVENT, whose times count from frame 1, and of the header, whose times count from
/// the file's first frame, at `first_time` seconds; sorted by time, labels in UTF-8. Programs write the same
/// events in both places: one of the header within half a frame of one of the group is left out. `notes` get
/// events that cannot be read.
std::vector<TakeEvent> ReadEvents(const Header& header, const Parameters& parameters, const FrameRate& rate,
                                  double first_time, std::vector<Note>& notes);

} // namespace mien::c3d
