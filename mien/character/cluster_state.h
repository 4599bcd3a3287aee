#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// The transform of one cluster, a group of rig points that move as one: relative to its set's root, and in the space
/// that the root stands in.
class MIEN_API VCharacterFaceClusterState {
public:
  VCharacterFaceClusterState() = default;
  /// Copies all six; w of both translations becomes 1.
  VCharacterFaceClusterState(const VCharacterFaceClusterState& other);
  VCharacterFaceClusterState& operator=(const VCharacterFaceClusterState&) = default;
  virtual ~VCharacterFaceClusterState();

  /// Both transforms to the identity. w of the translations stays.
  void ClearState();

  VgeTVector mLocalT = {0, 0, 0};
  VgeRMatrix mLocalR;
  VgeSVector mLocalS;
  VgeTVector mGlobalT = {0, 0, 0};
  VgeRMatrix mGlobalR;
  VgeSVector mGlobalS;
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterState*, 16>;

/// The clusters of one character part under a common root. A cluster has the same index in every set of its part.
///
/// A set owns its clusters and destroys them; a copy shares them with its source, so at most one of the two may be
/// destroyed while both list them: clear `mClusters` of the other first.
class MIEN_API VCharacterFaceClusterSetState {
public:
  /// `count` fresh clusters; none where it is below 1.
  VCharacterFaceClusterSetState(int count);
  VCharacterFaceClusterSetState() = default;
  VCharacterFaceClusterSetState(const VCharacterFaceClusterSetState&) = default;
  /// Forgets the clusters that it listed without destroying them.
  VCharacterFaceClusterSetState& operator=(const VCharacterFaceClusterSetState&) = default;
  virtual ~VCharacterFaceClusterSetState();

  /// The global transforms of all clusters from their local ones and the root's global one.
  void ComputeGlobalZpx();

  /// The local transforms from the global ones. A root scaling of 0 gives infinities or NaNs.
  void ComputeLocalZpx();

  VCharacterFaceClusterState
      mRoot; ///< Its global transform is what the clusters' local ones are relative to.
  VArrayTemplate<VCharacterFaceClusterState*, 16> mClusters; ///< Owned.
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterSetState*, 16>;
