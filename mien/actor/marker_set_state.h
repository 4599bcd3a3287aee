#pragma once

#include "mien/base/geometry.h"

/// One frame, or one reference pose, of marker positions. The capacities are fixed.
struct VFaceMarkerSetState {
  VgeAMatrix mTransform;      ///< The frame of the set: the head's. In a part's own set: the part's volume.
  VgeTVector mPositions[225]; ///< By `VFaceMarker::mIndex`, in the units and axes of the take.
  int mRBValid = 0;           ///< 1 where the head markers give a frame: set by SetupRBTPI and SolveRB.
  VgeAMatrix
      mRBTransform; ///< The head markers' frame: their centroid (SetupRBMarkers) or their motion (SolveRB).
  VgeTVector mRBPositions[5]; ///< The head markers.
  bool mRBPresent[5] = {};    ///< Which of them hold a position.
};
