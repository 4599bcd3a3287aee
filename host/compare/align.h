#pragma once

#include "host/base/long_vector.h"
#include "host/compare/recording.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What decides which frames of two recordings show the same moment.
enum class AlignBy {
  Timecode, ///< the timecodes of the first frames, and the time since
  Frames,   ///< the numbers of frames
  Time,     ///< the time since the first frame
};

std::string_view ToText(AlignBy by); ///< "timecode", "frames", "time"

struct AlignOptions {
  std::optional<AlignBy> by = {}; ///< nothing for the first in the list above that both recordings allow
  double offset_frames = 0; ///< by which B is later, in frames of A: the lag that AlignBy leaves; finite
};

/// Where two recordings, A and B, show the same moments.
struct Alignment {
  /// A frame of A, and where B has the same moment: at its frame `b` or, where not `exact`, between that and
  /// the next frame. Both are indices.
  struct Moment {
    std::size_t a = 0, b = 0;
    bool exact = true;
  };

  AlignBy by = AlignBy::Time;
  double offset_frames = 0; ///< as in AlignOptions
  double b_starts = 0;      ///< frames of A by which B's first frame is later than A's, without the offset

  /// Of the frames, on one scale: frames of A since its first one (sizes: frames).
  LongVector<double> positions_a, positions_b;
  LongVector<Moment> moments;         ///< by frame; at least one
  std::size_t only_a = 0, only_b = 0; ///< frames whose moment the other one does not have
  std::size_t interpolated = 0;       ///< of the moments, those that are not exact

  /// "by timecode; B starts 2 frames later".
  std::string Text() const;
};

/// Aligns B with A. Moments that are within a hundredth of a frame of A are the same. Between two frames that
/// follow each other in number, a recording has every moment; where numbers are skipped it has none. Frame
/// numbers decide only where the rates agree to one in ten thousand, unless they are asked for.
///
/// A timecode counts from midnight, and recordings are at most half a day apart: one before midnight and one
/// after it are aligned. Timecodes of different rates are compared by the time of day that they show. A
/// fraction of a count behind one of them counts, unless the other is the same count without a fraction.
///
/// Throws InputError where `by` is not possible, and where no moment is in both, with both ranges.
Alignment Align(const Recording& a, const Recording& b, const AlignOptions& options = {});

} // namespace mien
