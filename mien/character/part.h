#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/cluster_state.h"
#include "mien/character/shape.h"

#include <string>

using VString = std::string;

/// One part of a character: a list of shapes. At most 500, unchecked.
///
/// A part owns its shapes and destroys them; a copy shares them with its source, so at most one of the two may be
/// destroyed while both list them: clear the lists of the other first.
class MIEN_API VCharacterFacePart {
public:
  VCharacterFacePart(VString name);
  VCharacterFacePart(const VCharacterFacePart&) = default;
  VCharacterFacePart& operator=(const VCharacterFacePart&) = default;
  virtual ~VCharacterFacePart();

  VString mName;
  VArrayTemplate<VCharacterFaceShape*, 16>
      mShapes;       ///< Owned. A list index is a weight's column. No null elements.
  int mPartType = 0; ///< 0: shapes alone; 1: a `VCharacterFacePartCluster`.
};

/// A part whose shapes also move clusters.
class MIEN_API VCharacterFacePartCluster : public VCharacterFacePart {
public:
  VCharacterFacePartCluster(VString name);
  VCharacterFacePartCluster(const VCharacterFacePartCluster&) = default;
  VCharacterFacePartCluster& operator=(const VCharacterFacePartCluster&) = default;
  ~VCharacterFacePartCluster() override;

  bool mClusterSolveEnabled = false;           ///< Without it Character2ClusterSolve leaves the part alone.
  VCharacterFaceClusterSetState mRestClusters; ///< The rest pose; the local transforms count.
  VArrayTemplate<VCharacterFaceClusterSetState*, 16>
      mShapeClusters; ///< Per shape, the pose at weight 1. Owned.
};

extern template class MIEN_API VArrayTemplate<VCharacterFacePart*, 16>;
