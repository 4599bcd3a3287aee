#include "mien/face/face.h"
#include "mien/face/ramp.h"

// "Up": the height of the nostril.
void VFace::Face2TemplateSolveNostril(int part, VFaceTemplateState* result, const VFaceState* face) const {
  enum Point { Nostril };
  enum Template { Up };
  const VgeTVector* const s = face->mParts[part].mPoints;
  const VgeTVector* const rest = mParts[part].mDefaultPoints;
  const VgeTVector* const up = mParts[part].mTemplates[Up]->mPoints;
  result->mParts[part].mWeights[Up] = mien::RampUp(s[Nostril].y, rest[Nostril].y, up[Nostril].y);
}
