#pragma once

#include "host/compare/align.h"
#include "host/compare/differences.h"
#include "host/compare/recording.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// Two recordings on the same frames, and how they differ.
struct Comparison {
  /// A curve that both have, by its index in each.
  struct Pair {
    std::size_t a = 0, b = 0;
    CurveDifference difference;
  };

  Alignment alignment;
  std::size_t frames_a = 0, frames_b = 0; ///< of the files

  /// Both on the frames that they have in common: those of A, with A's numbers and times. B's curves are its
  /// values at these moments. Rate and timecode are each file's own; both timecodes are of the first common
  /// frame, by timecode_offset_s.
  Recording a, b;

  std::vector<Pair> pairs;                 ///< by the size of the largest difference, the largest first
  std::vector<std::string> only_a, only_b; ///< full names of curves

  std::vector<Note> notes;
};

/// "Mouth.Open", "Head.Yaw": unique in a recording.
std::string FullName(const Curve& curve);

/// Both must be of the same kind. Curves are compared that have the same name: weights among weights, whether
/// they are templates or shapes. Where B has a moment between two of its frames, weights and angles are read
/// from a monotone cubic, and markers on a straight line; each needs values in both frames.
///
/// Throws InputError where Align does, and without a curve in common.
Comparison Compare(Recording a, Recording b, const AlignOptions& options = {});

} // namespace mien
