#pragma once

#include "host/animation/animation.h"

#include <ostream>
#include <string>
#include <vector>

namespace mien {

/// The CSV that phone face-capture apps write: Timecode, BlendShapeCount, the 52 shapes in their fixed order, then the
/// angles of head and eyes.
///
/// Timecode is HH:MM:SS:FF.fff with 60 counts a second whatever the take's rate, the take's own time from midnight on. A
/// column takes the shape of the animation that means its name (FindArkitName), or the mean of its two halves; 0 without
/// one. The head's angles are radians from the neutral pose, applied roll first: yaw is positive to its own left, pitch
/// downward, roll towards its own right shoulder. The eyes' are 0: the face has no gaze.
///
/// Answers the names of the 52 that no shape of the animation means.
std::vector<std::string> WriteLiveLinkCsv(const Animation& animation, std::ostream& out);

} // namespace mien
