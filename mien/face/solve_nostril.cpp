#include "mien/face/face.h"
#include "mien/face/limits.h"
#include "mien/face/slots.h"

using namespace mien::detail;

// "Up": the height of the nostril.
void VFace::Face2TemplateSolveNostril(int part, VFaceTemplateState* result, const VFaceState* face) const {
  using namespace nostril;
  const VgeTVector* const s = face->mParts[part].mPoints;
  const VgeTVector* const rest = mParts[part].mDefaultPoints;
  const VgeTVector* const up = mParts[part].mTemplates[Up]->mPoints;
  result->mParts[part].mWeights[Up] = RampUp(s[Nostril].y, rest[Nostril].y, up[Nostril].y);
}
