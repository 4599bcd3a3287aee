#include "mien/face/face.h"
#include "mien/face/ramp.h"

// "Up": the height of the upper point. "Out": the depth of the lower one.
void VFace::Face2TemplateSolveCheek(int part, VFaceTemplateState* result, const VFaceState* face) const {
  enum Point { InUpperCheek, MidLowerCheek };
  enum Template { Up, Out };
  const VgeTVector* const s = face->mParts[part].mPoints;
  const VgeTVector* const rest = mParts[part].mDefaultPoints;
  const VgeTVector* const up = mParts[part].mTemplates[Up]->mPoints;
  const VgeTVector* const out = mParts[part].mTemplates[Out]->mPoints;
  double* const weights = result->mParts[part].mWeights;
  weights[Up] = mien::RampUp(s[InUpperCheek].y, rest[InUpperCheek].y, up[InUpperCheek].y);
  weights[Out] = mien::RampUp(s[MidLowerCheek].z, rest[MidLowerCheek].z, out[MidLowerCheek].z);
}
