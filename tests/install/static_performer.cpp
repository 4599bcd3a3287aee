// Includes no header of the face: the performer's header must include it.

#include "mien/actor/actor_face.h"
#include "tests/install/static_initialisation.h"

double MeasureMouthWidth() {
  const VActorFace performer;
  return performer.mParts[0].mMarkerSet.mTransform.m[0][0];
}

double mouth_width_before_main = MeasureMouthWidth();
