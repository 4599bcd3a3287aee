#pragma once

#include "host/base/point.h"
#include "host/fit/shape_basis.h"
#include "host/live/causal_settings.h"
#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/performer/rigid_head.h"
#include "host/solve/solve_shapes.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What the solve of a stream knows about a performer's face before its first frame.
struct LearnedFace {
  /// The rigid markers beside a part, as LocalAnchors learns them.
  struct PartAnchors {
    std::size_t part = 0;
    std::vector<std::string> markers;
    std::vector<std::array<double, 3>> rest; ///< on the neutral face, in the head's frame (size: markers)
    std::vector<std::array<double, 3>> own;  ///< LocalAnchors::Own (size: markers)
    std::array<double, 3> gain = {};
  };

  Neutral neutral;
  std::optional<RigidHead> rigid; ///< nothing: the head markers alone determine the head
  std::vector<PartAnchors> anchors;
  std::optional<LearnedShapeFit> fit; ///< with ShapeSolver::Fit
};

/// Learns a face from a take: SolveTake and SolveShapes use the same rigid head, neutral face, anchors and
/// shape fit for that take. Throws as these and FindNeutral do. The take must have the
/// performer's markers.
LearnedFace LearnFace(const Take& take, const Performer& performer, const std::optional<FrameRange>& neutral,
                      const CausalSettings& settings, const ShapeBasis* basis = nullptr);

/// Learns a face from the neutral pose in a performer file, if there is no take to learn from. The head is
/// fitted to the markers that the performer lists as rigid, with equal weights; brows and eyes have no
/// anchors. Throws InputError if the pose does not determine a solve.
LearnedFace LearnFaceOfPose(const Performer& performer, const CausalSettings& settings,
                            const ShapeBasis* basis = nullptr);

} // namespace mien
