#pragma once

#include "mien/base/export.h"
#include "mien/character/character_state.h"
#include "mien/character/cluster_state.h"

#include <vector>

class VCharacterFace;

namespace mien {

namespace detail {
struct BakedPart;
}

/// Solves a character's clusters with the bits of VCharacterFace::Character2ClusterSolve, many times as fast:
/// what depends only on the definition (the translation, the Euler angles and the logarithms by which each
/// pose differs from rest) is computed once.
///
/// Copies all that it needs: the character may change or go. After a change of the parts, of the rest poses,
/// of the cluster poses, or of which shapes drive clusters and which parts are enabled, construct a new one.
/// Any number of threads may use one object at the same time, each with its own sets.
class MIEN_API BakedClusters {
public:
  /// Bakes every cluster part that is enabled. Takes 72 bytes for each cluster and driving shape of a part,
  /// with the clusters counted up to a multiple of eight. Throws std::bad_alloc.
  explicit BakedClusters(const VCharacterFace& character);
  BakedClusters(const BakedClusters&) = delete;
  BakedClusters& operator=(const BakedClusters&) = delete;
  ~BakedClusters();

  /// Writes the clusters of every cluster part p to `sets[p]`, from the weights of `state`, as
  /// Character2ClusterSolve does. The sets of other parts, and of parts that were not enabled, are unchanged.
  void Solve(VCharacterFaceClusterSetState* sets, const VCharacterFaceState& state) const;

  /// Writes the local and global transforms of the clusters of one cluster part. `weights` (size: the part's
  /// shapes) are those of a row of a state, or of any other array. `set` has at most as many clusters as the
  /// rest set and the sets of the shapes that drive clusters had; its root is only read. Does nothing if the
  /// part was not enabled. Allocates nothing, and checks neither `part` nor the number of clusters.
  void SolvePart(VCharacterFaceClusterSetState* set, const double* weights, int part) const;

private:
  std::vector<detail::BakedPart> parts_; // by part; not enabled if it has no clusters
};

} // namespace mien
