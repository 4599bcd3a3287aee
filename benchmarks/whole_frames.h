#pragma once

// Many whole frames in one call: head motion removed, markers to points, points to template weights.

#include "benchmarks/performer.h"

#include <cstddef>
#include <memory>

namespace benchmarks {

/// The template weights of a frame, without the unused slots.
inline constexpr std::size_t kTemplates = 23;
/// The numbers of a frame: x, y and z of each marker, then of each head marker.
inline constexpr std::size_t kNumbers = 3 * (kMarkers + kHeadMarkers);

/// One form of it, set up for a performer. The interface has no type of Eigen: their layout depends on the
/// compiler's options.
class WholeFrames {
public:
  virtual ~WholeFrames() = default;
  /// `positions` (size: frames x kNumbers), `weights` (size: frames x kTemplates).
  virtual void Solve(std::size_t frames, const double* positions, double* weights) = 0;
};

using MakeWholeFrames = std::unique_ptr<WholeFrames>(const Performer& performer);

MakeWholeFrames EigenWholeFrames; ///< Compiled like everything else, for any 64-bit x86 processor.

#if defined(MIEN_BENCHMARKS_NATIVE)
/// The same source, compiled with -march=native. See NativeEigenMatrixVector.
[[gnu::visibility("default")]] MakeWholeFrames NativeEigenWholeFrames;
#endif

} // namespace benchmarks
