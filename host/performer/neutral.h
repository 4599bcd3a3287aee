#pragma once

#include "host/base/error.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The neutral face of a performer in a take.
struct Neutral {
  NeutralPose pose;        ///< of the performer's markers that are visible in it; in the take's axes
  std::string how;         ///< how it was found, for the user: "the median of 92 rest frames"
  std::vector<Note> notes; ///< on its reliability

  /// The numbers of the frames that it was taken from, which show the head; empty where it is the performer
  /// file's.
  std::vector<std::int64_t> frames = {};

  /// How far the markers of each part are from their places in these frames: the root of the mean square, in
  /// millimetres. 0 for a part without markers, and where `frames` is empty.
  std::array<double, 9> spread_mm = {};

  /// The pose that stricter frames give, in the same axes: eyes more open, mouth more closed. Where results
  /// from the two differ, the neutral face is in doubt. Empty where it was not searched for, or too few
  /// frames are that strict.
  NeutralPose stricter = {};
};

/// The performer's neutral face in a take: in the frames `asked`, if given; otherwise the performer's own, if
/// it has one; otherwise it is found:
///
/// 1. Every frame is transformed into the head's frame: by the fit of `rigid`, or without it by the head
///    markers, first relative to the frame in which most of them are visible, then twice relative to their
///    median.
/// 2. For each frame, the opening of the eyes (height of the upper lids minus that of the lower lids) and of
///    the mouth (upper lip minus lower lip) is measured.
/// 3. Rest frames are those in which the eyes are as open as usual (between the 30th and the 80th percentile)
///    and the mouth is no more open than usual (at most the 50th).
/// 4. The neutral pose is the median over the rest frames, per marker and axis. If there are fewer than five,
///    it is the median over all frames.
/// 5. With `rigid`, the eyes have their own neutral: the median over all frames in which they are as open as
///    usual, whatever the mouth does, measured against the eye's own anchors.
///
/// A single frame, especially the first, is a poor neutral: performers blink, and start in the middle of a
/// word. The average of all frames is biased by every raised brow and open mouth.
///
/// The take must have the performer's markers (CheckMarkers). Throws InputError for frames that are not in
/// the take, and if no marker of the performer is visible in the pose. Any number of
/// `threads` find the same.
Neutral FindNeutral(const Take& take, const Performer& performer, const std::optional<FrameRange>& asked,
                    const RigidHead* rigid = nullptr, std::size_t threads = 1);

} // namespace mien
