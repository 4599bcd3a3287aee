#include "mien/batch/frame_solves.h"

#include "mien/batch/solve_frames.h"

#include <iterator>

namespace mien::detail::batch {

namespace {

void SolveByOne(const FaceConstants& constants, const FaceBatchInput& input, const FaceBatchOutput& output) {
  SolveFrames<double>(constants, input, output);
}

void ResidualsByOne(const FaceConstants& constants, std::size_t frames,
                    const FramePoints<const double>& points, const FrameColumns<const double>& weights,
                    const FrameColumns<double>& residuals) {
  ResidualsOfFrames<double>(constants, frames, points, weights, residuals);
}

#if defined(__GNUC__)

void SolveByTwo(const FaceConstants& constants, const FaceBatchInput& input, const FaceBatchOutput& output) {
  SolveFrames<Lanes<2>>(constants, input, output);
}

void ResidualsByTwo(const FaceConstants& constants, std::size_t frames,
                    const FramePoints<const double>& points, const FrameColumns<const double>& weights,
                    const FrameColumns<double>& residuals) {
  ResidualsOfFrames<Lanes<2>>(constants, frames, points, weights, residuals);
}

#endif

} // namespace

std::span<const FrameSolves> AllFrameSolves() {
  static constexpr FrameSolves kSolves[] = {
    {SolveByOne, ResidualsByOne},
#if defined(__GNUC__)
    {SolveByTwo, ResidualsByTwo},
#if defined(__x86_64__)
    {SolveByFour, ResidualsByFour},
    {SolveByEight, ResidualsByEight},
#endif
#endif
  };
  std::size_t runnable = std::size(kSolves);
#if defined(__GNUC__) && defined(__x86_64__)
  __builtin_cpu_init(); // static constructors may call this before the runtime does
  if (!__builtin_cpu_supports("avx512f")) --runnable;
  if (!__builtin_cpu_supports("avx")) --runnable;
#endif
  return {kSolves, runnable};
}

} // namespace mien::detail::batch
