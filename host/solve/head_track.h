#pragma once

#include "host/base/long_vector.h"
#include "host/cleaning/fill_gaps.h"
#include "host/cleaning/slipped_markers.h"
#include "host/solve/head_solver.h"
#include "host/solve/solve_options.h"
#include "host/takes/take.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// Where the head is in each frame of a take.
struct HeadTrack {
  /// From a face that looks along +z, x to its left, y up, into the take (size: frames). Where the markers do
  /// not determine it, interpolated between the frames around; at the ends of the take as in the nearest
  /// frame.
  LongVector<VgeAMatrix> heads;
  std::vector<bool> known; ///< whether the markers determine the head (size: frames)

  double calmed = 0; ///< see CalmMotion
  SlippedMarkers slipped;
  std::vector<FilledMarker> fills;

  std::size_t UnknownFrames() const;
};

/// Interpolates rigid transforms: `a` at fraction 0, `b` at 1; the turn is even, the path straight.
VgeAMatrix RigidBetween(const VgeAMatrix& a, const VgeAMatrix& b, double fraction);

/// The take must have the solver's markers.
HeadTrack TrackHead(const Take& take, const HeadSolver& head, const SolveOptions& options);

/// The markers of these names in the head's frame: of a face that looks along +z, x to its left, y up. In
/// frames without a known head they are gaps.
Take Stabilise(const Take& take, const HeadTrack& track, const std::vector<std::string>& markers,
               std::size_t threads = 1);

} // namespace mien
