#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/cluster_state.h"
#include "mien/character/shape.h"

#include <string>

/// The names of parts.
using VString = std::string;

/// One part of a character: a list of shapes. At most 500, unchecked.
///
/// A part owns its shapes and destroys them. A copy shares them with its source, so only one of the two may
/// be destroyed while both list them: clear the lists of the other first.
class MIEN_API VCharacterFacePart {
public:
  /// A part without shapes.
  VCharacterFacePart(VString name);
  /// Shares the shapes of the source.
  VCharacterFacePart(const VCharacterFacePart&) = default;
  /// Shares the shapes of the source. Those listed before are not destroyed.
  VCharacterFacePart& operator=(const VCharacterFacePart&) = default;
  /// Destroys the shapes.
  virtual ~VCharacterFacePart();

  /// For the host's use; the library only compares it (VCharacterFace::GetUniquePartName).
  VString mName;
  /// An index in this list is a weight's column. No null elements. Owned.
  VArrayTemplate<VCharacterFaceShape*, 16> mShapes;
  /// 0: only shapes; 1: a `VCharacterFacePartCluster`.
  int mPartType = 0;
};

/// A part whose shapes also move clusters.
class MIEN_API VCharacterFacePartCluster : public VCharacterFacePart {
public:
  /// A part without shapes and clusters, of type 1.
  VCharacterFacePartCluster(VString name);
  /// Shares the shapes and cluster poses of the source.
  VCharacterFacePartCluster(const VCharacterFacePartCluster&) = default;
  /// Shares the shapes and cluster poses of the source. Those listed before are not destroyed.
  VCharacterFacePartCluster& operator=(const VCharacterFacePartCluster&) = default;
  /// Destroys the shapes, the rest pose and the cluster poses.
  ~VCharacterFacePartCluster() override;

  /// If false, Character2ClusterSolve does nothing to the part.
  bool mClusterSolveEnabled = false;
  /// The rest pose. Only the local transforms count.
  VCharacterFaceClusterSetState mRestClusters;
  /// By shape: the pose at weight 1. Owned.
  VArrayTemplate<VCharacterFaceClusterSetState*, 16> mShapeClusters;
};

extern template class MIEN_API VArrayTemplate<VCharacterFacePart*, 16>;
