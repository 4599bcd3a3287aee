#pragma once

#include "host/animation/animation.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_report.h"
#include "host/takes/take.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace mien {

struct SolvedTake {
  Animation animation;
  SolveReport report;
  std::vector<bool> head_known; ///< whether the markers determine the head (size: frames)
  Take face;   ///< the solver's markers in the head's frame, their gaps filled as far as they are
  Take irises; ///< the performer's, in the head's frame, measured against the anchors of their eyes
};

/// Solves every frame of a take:
///
/// 1. Head markers that have slipped are taken out, the gaps of the others (or of all rigid markers) filled,
///    and the head found in every frame: from the fit of `rigid`, calmed, or without it from the head
///    markers.
/// 2. The face's markers are brought into the head's frame. With `rigid`, those of brows and eyes are
///    measured against the rigid markers beside them (LocalAnchors). Then their gaps are filled.
/// 3. They are smoothed, if asked for. (So are the head's, before 1 finds the head.)
/// 4. What stays empty is at rest, with a fade.
/// 5. Each frame is solved and the performer's ranges are applied to the weights. If asked for, these are
///    then levelled (LevelLids) and smoothed.
///
/// AssessQuality judges the weights as they are measured, before the ranges.
///
/// The take must have the performer's markers (CheckMarkers). Throws InputError where the neutral pose does
/// not determine a solve, and where a residual or a slipped head marker is off by a length that no take has.
/// `rigid` is what LearnRigidHead found in this take, or in another with the same markers; options.head_fit
/// is for the caller that learns it, and is ignored here. `progress(done, total)` is called on the
/// calling thread before each frame that this thread solves, with the frames that all threads have done, and may
/// throw to break off.
SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const SolveOptions& options = {}, const RigidHead* rigid = nullptr,
                     const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

} // namespace mien
