#include "mien/face/face.h"
#include "mien/face/limits.h"
#include "mien/face/slots.h"

using namespace mien::detail;

// "Up": the height of the upper point. "Out": the depth of the lower one.
void VFace::Face2TemplateSolveCheek(int part, VFaceTemplateState* result, const VFaceState* face) const {
  using namespace cheek;
  const VgeTVector* const s = face->mParts[part].mPoints;
  const VgeTVector* const rest = mParts[part].mDefaultPoints;
  const VgeTVector* const up = mParts[part].mTemplates[Up]->mPoints;
  const VgeTVector* const out = mParts[part].mTemplates[Out]->mPoints;
  double* const weights = result->mParts[part].mWeights;
  weights[Up] = RampUp(s[InUpperCheek].y, rest[InUpperCheek].y, up[InUpperCheek].y);
  weights[Out] = RampUp(s[MidLowerCheek].z, rest[MidLowerCheek].z, out[MidLowerCheek].z);
}
