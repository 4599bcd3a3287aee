#pragma once

#include "host/animation/eye_angles.h"
#include "host/base/point.h"
#include "host/takes/frame_rate.h"
#include "host/weights/head_angles.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The kinds of live sources.
enum class LiveKind {
  Markers, ///< positions of markers or landmarks
  Weights  ///< weights that a phone or a tracker has measured itself
};

/// The constant part of a live source's face: the names of its numbers. It is not trusted; see
/// LiveSession::AddFace.
struct LiveSource {
  std::string name; ///< of the face, for people; any bytes
  LiveKind kind = LiveKind::Markers;
  /// Of markers, or of weights (any spelling of the 52, or others), in the order of LiveInput's numbers. Of
  /// equal names the first counts.
  std::vector<std::string> names;
};

/// A timecode of a source: counts since midnight.
struct LiveTimecode {
  std::int64_t count = 0;
  double fraction = 0; ///< of a count, 0 to 1; anything else counts as 0
  FrameRate rate;      ///< counts per second; unusable if 0 or negative
  bool drop = false;   ///< as Timecode::drop
};

/// What a source delivers for one face in one frame. Keep it and fill it again for each packet, so that
/// nothing is allocated. Numbers may be anything, including NaN and infinities; the session counts and leaves
/// out those that it cannot use.
struct LiveInput {
  std::size_t face = 0;                 ///< as AddFace returned it
  double arrival_s = 0;                 ///< of the packet, on a monotonic clock
  std::optional<double> source_s;       ///< the source's own time, from any zero
  std::optional<LiveTimecode> timecode; ///< takes precedence over `source_s`
  bool lost = false;                    ///< the source does not see the face; the other members are not read

  /// LiveKind::Markers: in millimetres, right-handed axes of the source; nothing where not seen (size:
  /// names). Missing entries are not seen, surplus ones are not read.
  std::vector<std::optional<Point>> markers;

  /// LiveKind::Weights: NaN where missing (size: names, as above).
  std::vector<double> weights;
  std::optional<HeadAngles> head; ///< how the head is turned
  std::optional<Point>
      head_place;           ///< in millimetres from its place at rest: x to its left, y up, z out of the face
  std::optional<Eyes> eyes; ///< how the eyes are turned
};

} // namespace mien
