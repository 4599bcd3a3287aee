#pragma once

/// @file
/// A cluster part as BakedClusters keeps it, and the loop that solves it. Not installed.

#include "mien/character/cluster_transform.h"
#include "mien/character/part.h"

#include <span>
#include <vector>

namespace mien::detail {

/// A number for each of eight clusters, which are solved together where the processor can. The last eight of
/// a part may be incomplete.
struct alignas(64) Eight {
  double lanes[8];
};

struct BakedPart {
  BakedPart() = default;
  /// Reads a part that is enabled.
  explicit BakedPart(const VCharacterFacePartCluster& part);

  bool is_enabled = false;
  std::vector<int> shapes;            ///< Those that drive clusters, in order.
  std::vector<bool> is_finite;        ///< By these: whether all of the shape's offsets are.
  std::vector<Transform<Eight>> rest; ///< By eight clusters.
  std::vector<Offset<Eight>> offsets; ///< By eight clusters and driving shape.
};

/// Solves the clusters of `set` as VCharacterFace::Character2ClusterSolve does. `weights` are those of the
/// part's shapes.
using ClusterBlend = void(const BakedPart& part, VCharacterFaceClusterSetState& set, const double* weights);

/// All variants that this processor can run, from one cluster at a time to its widest vectors. They give the
/// same bits, except for the choice among several NaNs.
std::span<ClusterBlend* const> ClusterBlends();

/// Runs the widest of them.
ClusterBlend BlendClusters;

} // namespace mien::detail
