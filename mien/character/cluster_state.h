#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// The transform of one cluster (a group of rig points that move together): local, relative to its set's
/// root, and global, in the space that contains the root.
class MIEN_API VCharacterFaceClusterState {
public:
  /// Both transforms are the identity.
  VCharacterFaceClusterState() = default;
  /// Copies all six members; w of both translations becomes 1.
  VCharacterFaceClusterState(const VCharacterFaceClusterState& other);
  /// Copies all six members, w included.
  VCharacterFaceClusterState& operator=(const VCharacterFaceClusterState&) = default;
  virtual ~VCharacterFaceClusterState();

  /// Sets both transforms to the identity. w of the translations is unchanged.
  void ClearState();

  VgeTVector mLocalT = {0, 0, 0};  ///< Local translation, in the character's unit.
  VgeRMatrix mLocalR;              ///< Local rotation.
  VgeSVector mLocalS;              ///< Local scaling.
  VgeTVector mGlobalT = {0, 0, 0}; ///< Global translation, in the character's unit.
  VgeRMatrix mGlobalR;             ///< Global rotation.
  VgeSVector mGlobalS;             ///< Global scaling.
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterState*, 16>;

/// The clusters of one character part under a common root.
///
/// A set owns its clusters and destroys them. A copy shares them with its source, so only one of the two may
/// be destroyed while both list them: clear `mClusters` of the other first.
class MIEN_API VCharacterFaceClusterSetState {
public:
  /// A set of `count` new clusters; empty if `count` is below 1.
  VCharacterFaceClusterSetState(int count);
  /// An empty set.
  VCharacterFaceClusterSetState() = default;
  /// Shares the clusters of the source.
  VCharacterFaceClusterSetState(const VCharacterFaceClusterSetState&) = default;
  /// Shares the clusters of the source. Those listed before are not destroyed.
  VCharacterFaceClusterSetState& operator=(const VCharacterFaceClusterSetState&) = default;
  /// Destroys the clusters.
  virtual ~VCharacterFaceClusterSetState();

  /// Computes the global transforms of all clusters from their local ones and the root's global one.
  void ComputeGlobalZpx();

  /// Computes the local transforms from the global ones. A root scaling of 0 gives infinities or NaNs.
  void ComputeLocalZpx();

  /// The clusters' local transforms are relative to its global transform.
  VCharacterFaceClusterState mRoot;
  /// A cluster has the same index in every set of its part. Owned.
  VArrayTemplate<VCharacterFaceClusterState*, 16> mClusters;
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterSetState*, 16>;
