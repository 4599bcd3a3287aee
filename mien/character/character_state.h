#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/cluster_state.h"

/// The weight of every shape of every character part, and for each part a set of clusters. The result of the
/// character solves, and also the definition of what a template or an expression of the face does to a
/// character.
///
/// The weights take 60 KB: keep states off small stacks. Operations on weights leave the clusters unchanged;
/// `VCharacterFace::Character2ClusterSolve` computes them from the weights. Only clearing resets both. Part
/// indices are 0 to 14, unchecked. Copies share the clusters of their sets; see
/// VCharacterFaceClusterSetState.
struct MIEN_API VCharacterFaceState {
  /// By part and shape; unbounded, 1 is the full shape. Aligned to a cache line, so that sums of states read
  /// as few cache lines as possible.
  alignas(64) double mWeights[15][500];
  /// By part; empty unless the caller fills them.
  VCharacterFaceClusterSetState mClusters[15];

  /// All weights 0, no clusters.
  VCharacterFaceState();
  /// Shares the clusters of the source.
  VCharacterFaceState(const VCharacterFaceState&) = default;
  /// Shares the clusters of the source.
  VCharacterFaceState& operator=(const VCharacterFaceState&) = default;
  ~VCharacterFaceState();

  /// Sets every weight to 0 and every cluster to the identity. The roots of the sets are unchanged.
  void Clear();
  /// The same for one part.
  void ClearPart(int part);

  /// Whether every weight is 0. -0.0 counts as 0, NaN does not. Clusters are not examined.
  bool IsClear() const;
  /// The same for one part.
  bool IsClearPart(int part) const;

  /// Adds the weights of another state.
  void Add(const VCharacterFaceState* other);
  /// Adds the weights of one part of another state.
  void AddPart(const VCharacterFaceState* other, int part);
  /// Copies the weights of another state.
  void Copy(const VCharacterFaceState* other);
  /// Copies the weights of one part of another state.
  void CopyPart(const VCharacterFaceState* other, int part);
  /// Copies the weights of the part `source` of another state to the part `destination`.
  void CopyPart(const VCharacterFaceState* other, int destination, int source);
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceState*, 16>;
