#pragma once

#include "host/base/long_vector.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"
#include "host/takes/timecode.h"
#include "host/weights/weight_take.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What a recording's curves are.
enum class RecordingKind {
  Animation, ///< weights, and the angles of head and eyes
  Take,      ///< positions of markers
};

/// One weight, angle or marker over all frames.
struct Curve {
  std::string group; ///< "Templates", "Shapes", "Head", "Eyes" or "Markers"
  std::string name;
  std::string unit; ///< "" of weights, "deg" of angles, "mm" of markers

  /// NaN where there is none (size: frames). Of a marker all x, then all y, then all z (size: 3 x frames); a
  /// gap is NaN in all three.
  LongVector<double> values;

  bool IsMarker() const { return unit == "mm"; }
};

/// An animation or a take as curves over frames, for comparing two of them.
struct Recording {
  RecordingKind kind = RecordingKind::Animation;
  std::string file, name; ///< the path as the user wrote it; without folder and ending
  std::string format;     ///< "phone CSV"
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame
  double timecode_offset_s = 0;     ///< by which the first frame is later than that
  LongVector<std::int64_t> frames;  ///< numbers: rising, may skip
  LongVector<double> times;         ///< (size: frames) seconds: rising, not always from 0
  std::vector<Curve> curves;        ///< no two with the same group and name
  std::vector<Note> notes;          ///< the reader's

  /// "10:02:59:29" at a frame by its index; empty without a timecode.
  std::string TimecodeAt(std::size_t frame) const;
};

Recording RecordingOf(const WeightTake& take);

/// Of markers that have the same name, only the first.
Recording RecordingOf(const Take& take);

} // namespace mien
