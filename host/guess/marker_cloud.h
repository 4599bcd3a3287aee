#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// A marker that a guess does not use, and why: "visible in 1 % of the frames".
struct UnusedMarker {
  std::string marker;
  std::string why;

  bool operator==(const UnusedMarker&) const = default;
};

/// The markers of a take that may be on a face, in groups of near neighbours. Neither motion nor axes of the
/// take make a difference: only distances between markers count.
struct MarkerCloud {
  /// Indices of markers in the take. Each marker of a group is within 60 mm of another one of it, in the
  /// median of the frames: markers on a face are closer, those on a body and on a cap mostly are not.
  /// Largest group first.
  std::vector<std::vector<std::size_t>> groups;

  std::vector<double> seen; ///< share of the frames with any marker in which each is visible (size: markers)

  /// Markers in no group: those that are visible in less than a quarter of the frames, and all but one of
  /// those in the same place.
  std::vector<UnusedMarker> unused;
};

/// Throws InputError if no marker is ever visible, if more than a thousand are visible often, or if all are
/// within 40 mm, as in a take in another unit.
MarkerCloud FindMarkerCloud(const Take& take);

} // namespace mien
