#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/cluster_state.h"

/// The weight of every shape of every character part, and for each part a set of clusters. What the character solves
/// produce, and what a template or an expression of the face does to a character.
///
/// 60 KB of weights: keep it off small stacks. Weights operations leave the clusters alone, which follow from the
/// weights by `VCharacterFace::Character2ClusterSolve`; only clearing resets both. Part indices are 0 to 14, unchecked.
/// Copies share the clusters of their sets, as those say.
struct MIEN_API VCharacterFaceState {
  alignas(64) double mWeights[15][500]; ///< By part and shape; unbounded, 1 is the full shape. Begins on a
                                        ///< cache line, so that sums of such states read as few as can be.
  VCharacterFaceClusterSetState mClusters[15]; ///< By part; empty unless somebody fills them.

  VCharacterFaceState();
  VCharacterFaceState(const VCharacterFaceState&) = default;
  VCharacterFaceState& operator=(const VCharacterFaceState&) = default;
  ~VCharacterFaceState();

  /// Every weight to 0 and every cluster to the identity; the roots of the sets stay.
  void Clear();
  void ClearPart(int part);

  /// Whether every weight is 0. -0.0 is, a NaN is not; clusters are not looked at.
  bool IsClear() const;
  bool IsClearPart(int part) const;

  void Add(const VCharacterFaceState* other);
  void AddPart(const VCharacterFaceState* other, int part);
  void Copy(const VCharacterFaceState* other);
  void CopyPart(const VCharacterFaceState* other, int part);
  void CopyPart(const VCharacterFaceState* other, int destination, int source);
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceState*, 16>;
