#pragma once

#include "host/animation/animation.h"

#include <cstddef>
#include <ostream>

namespace mien {

/// Writes the whole animation as JSON, with a line per frame in each list, so all frames are needed:
///
///     {
///       "format": "mien animation 1",
///       "take": "...", "performer": "...", "character": "...",
///       "rate": 29.97002997002997, "rate_fraction": [30000, 1001],
///       "timecode": "10:02:59:29@30",
///       "frames": [1, 2, ...],
///       "times": [0, 0.0334, ...],
///       "head": { "rotation": [[x, y, z, w], ...], "translation": [[x, y, z], ...] },
///       "templates": { "names": ["Mouth.Open", ...], "weights": [[...], ...] },
///       "shapes": { "names": ["jawOpen", ...], "weights": [[...], ...] },
///       "clusters": {
///         "names": [{ "part": "jaw", "cluster": "jawBone" }, ...],
///         "local": {
///           "translation": [[[x, y, z], ...], ...], "rotation": [[[x, y, z, w], ...], ...], "scale": ...
///         },
///         "global": { the same }
///       }
///     }
///
/// The head's motion is from the neutral pose, in the axes of the neutral face, in millimetres. Rotations are
/// quaternions, with the sign that is closer to the previous frame. "character", "shapes" and "clusters" are
/// present if the animation has a character, "timecode" (of the first frame) if the take has one. Numbers are
/// written with the fewest digits that read back to the same doubles; they must be finite. The bytes are the same for
/// any number of threads.
void WriteAnimationJson(const Animation& animation, std::ostream& out, std::size_t threads = 1);

} // namespace mien
