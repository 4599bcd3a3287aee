#pragma once

#include "mien/actor/marker.h"

/// A marker's entry in one marker group of one part, and how strongly it drives the part's points.
struct VActorFacePartMarker {
  int mId = -1;                   ///< For the host's use; no solve reads it.
  VFaceMarker* mMarker = nullptr; ///< Not owned.
  double mWeights[7] = {};        ///< By the part's point slot: how far the point follows the marker.
};
