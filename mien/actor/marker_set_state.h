#pragma once

#include "mien/base/geometry.h"

/// The marker positions of one frame, or of one reference pose. The capacities are fixed.
struct VFaceMarkerSetState {
  /// The frame of the set: the head's. In a part's own set: the part's volume.
  VgeAMatrix mTransform;
  /// By `VFaceMarker::mIndex`, in the units and axes of the take.
  VgeTVector mPositions[225];
  /// 1 if the head markers determine a frame. Set by SetupRBTPI and SolveRB.
  int mRBValid = 0;
  /// The frame of the head markers: their centroid (SetupRBMarkers) or their motion (SolveRB).
  VgeAMatrix mRBTransform;
  /// The positions of the head markers.
  VgeTVector mRBPositions[5];
  /// Which head markers have a position.
  bool mRBPresent[5] = {};
};
