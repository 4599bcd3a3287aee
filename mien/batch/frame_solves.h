#pragma once

/// @file
/// The batch solves for each width of vectors. Not installed.

#include "mien/batch/face_batch.h"
#include "mien/batch/face_constants.h"

#include <cstddef>
#include <span>

namespace mien::detail::batch {

/// FaceBatch::Solve.
using FramesSolve = void(const FaceConstants& constants, const FaceBatchInput& input,
                         const FaceBatchOutput& output);
/// FaceBatch::Residuals.
using FramesResiduals = void(const FaceConstants& constants, std::size_t frames,
                             const FramePoints<const double>& points,
                             const FrameColumns<const double>& weights,
                             const FrameColumns<double>& residuals);

/// What FaceBatch does, a number of frames at a time.
struct FrameSolves {
  FramesSolve* solve;
  FramesResiduals* residuals;
};

/// All variants that this processor can run, from one frame at a time to its widest vectors. They give the
/// same bits, except for the choice among several NaNs.
std::span<const FrameSolves> AllFrameSolves();

#if defined(__GNUC__) && defined(__x86_64__)
FramesSolve SolveByFour, SolveByEight;             ///< For processors with AVX, with AVX-512F.
FramesResiduals ResidualsByFour, ResidualsByEight; ///< For processors with AVX, with AVX-512F.
#endif

} // namespace mien::detail::batch
