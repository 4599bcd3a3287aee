#pragma once

#include "host/performer/performer.h"
#include "host/solve/animation.h"
#include "host/solve/face_solver.h"
#include "host/takes/take.h"

#include <cstddef>
#include <functional>

namespace mien {

struct SolvedTake {
  Animation animation;
  FaceSolver::Report report;
};

/// Solves every frame of a take. `progress(done, total)` is called before each frame and may throw to break off.
SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

} // namespace mien
