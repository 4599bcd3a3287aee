#include "host/solve/solve_take.h"

namespace mien {

SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const std::function<void(std::size_t, std::size_t)>& progress) {
  FaceSolver solver(performer, neutral, take);
  SolvedTake solved;
  Animation& animation = solved.animation;
  animation.take = take.name;
  animation.performer = performer.name;
  animation.neutral_head = solver.NeutralHead();
  animation.rate_hz = take.rate_hz;
  animation.frames = take.frames;
  animation.times = take.times;
  animation.weights.reserve(take.FrameCount() * animation.templates.size());
  animation.heads.reserve(take.FrameCount());
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    if (progress) progress(f, take.FrameCount());
    const FaceSolver::Frame& frame = solver.Solve(take, f);
    for (const auto& [part, slot, name] : animation.templates)
      animation.weights.push_back(frame.weights.mParts[part].mWeights[slot]);
    animation.heads.push_back(frame.head);
  }
  solved.report = solver.GetReport();
  return solved;
}

} // namespace mien
