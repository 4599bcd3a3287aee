#pragma once

#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/solve_report_json.h"
#include "host/solve/solve_take.h"
#include "host/view/view_page.h"

#include <optional>

namespace mien {

/// What a solve consists of, for a page.
struct ViewedSolve {
  const Performer& performer;
  const Take& face;           ///< SolvedTake::face
  const Animation& animation; ///< of the take's own frames
  const SolveRecord& record;  ///< its report has `per_frame`
};

/// The markers in the axes of the neutral face with what was done to them, the curves and residuals, flags and
/// worst frames, and everything that the solve's report says. Without a head.
ViewSide SideOfSolve(const ViewedSolve& viewed);

/// Where the built-in face is among the performer's neutral markers: scaled and moved so that the points of its
/// parts are as near to them as they can be. Nothing for fewer than three markers.
std::optional<ViewHead::Place> PlaceOfFace(const Performer& performer, const NeutralPose& neutral,
                                           const VgeAMatrix& neutral_head);

} // namespace mien
