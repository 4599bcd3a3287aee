#include "mien/batch/frame_solves.h"

#if defined(__GNUC__) && defined(__x86_64__)

#include "mien/base/affine.h"
#include "mien/base/rigid.h"
#include "mien/face/slots.h"

#include <cmath>
#include <cstring>

// For GCC: without it, it takes vectors of 8 numbers apart before it knows what the functions below may use.
#if !defined(__clang__)
#pragma GCC push_options
#pragma GCC target("avx512f")
#endif

#include "mien/batch/solve_frames.h"

namespace mien::detail::batch {

[[gnu::target("avx512f")]] void SolveByEight(const FaceConstants& constants, const FaceBatchInput& input,
                                             const FaceBatchOutput& output) {
  SolveFrames<Lanes<8>>(constants, input, output);
}

[[gnu::target("avx512f")]] void ResidualsByEight(const FaceConstants& constants, std::size_t frames,
                                                 const FramePoints<const double>& points,
                                                 const FrameColumns<const double>& weights,
                                                 const FrameColumns<double>& residuals) {
  ResidualsOfFrames<Lanes<8>>(constants, frames, points, weights, residuals);
}

} // namespace mien::detail::batch

#if !defined(__clang__)
#pragma GCC pop_options
#endif

#endif
