#pragma once

#include "host/base/error.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

struct Neutral {
  NeutralPose pose;        ///< of the performer's markers that are seen in it; in the take's axes
  std::string how;         ///< for the user: "the median of 92 rest frames"
  std::vector<Note> notes; ///< on how far it is to be trusted
};

/// The performer's neutral face in a take: `asked` where given, else the performer's own, else found so:
///
/// 1. Every frame is brought into the head's frame by the head markers: first by their places in the frame that sees
///    most of them, then twice more by their median.
/// 2. For each frame, the opening of the eyes (upper lids less lower lids, upwards) and of the mouth (upper lip less
///    lower lip) is measured.
/// 3. Rest frames are those in which the eyes are as open as usual (between the 30th and the 80th percentile) and the
///    mouth no more open than usual (at most the 50th).
/// 4. The neutral pose is the median over the rest frames, per marker and axis; over all frames where fewer than five
///    are at rest.
///
/// A single frame, above all the first, is a poor neutral: performers blink, and start in the middle of a word. The
/// average of all frames lets every raised brow and open mouth pull on it.
///
/// The take must have the performer's markers (CheckMarkers). Throws InputError for frames that the take has not, and
/// where no marker of the performer is seen in the pose.
Neutral FindNeutral(const Take& take, const Performer& performer, const std::optional<FrameRange>& asked);

} // namespace mien
