#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/pose.h"

using namespace mien;
using namespace mien::detail;

// points = rest + sum over j of weight_j * (template_j - rest), added in template order. Templates at weight
// 0 are included: otherwise a NaN in their pose would be lost.
void VFace::Template2FaceSolve(VFaceState* result, const VFaceTemplateState* weights) const {
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = mParts[p];
    VFacePartState pose = RestPose(part); // separate from the result, so that it stays in registers
    for (int j = 0; j < part.mTemplates.GetCount(); ++j)
      AddDelta(pose.mPoints, part, j, weights->mParts[p].mWeights[j]);
    for (int i = 0; i < 7; ++i) SetPoint(result->mParts[p].mPoints[i], pose.mPoints[i]);
  }
  result->mValid = false;
}

void VFace::SetToDefaultState(VFaceState* result) const {
  for (int p = 0; p < 9; ++p)
    for (int i = 0; i < 7; ++i) SetPoint(result->mParts[p].mPoints[i], mParts[p].mDefaultPoints[i]);
}
