#include "mien/face/face.h"
#include "mien/face/pose.h"

// points = rest + sum over j of weight_j * (template_j - rest), added in template order. Every template is
// visited, also at weight 0: a NaN in its pose would otherwise vanish.
void VFace::Template2FaceSolve(VFaceState* result, const VFaceTemplateState* weights) const {
  result->Clear();
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = mParts[p];
    VFacePartState& pose = result->mParts[p];
    const VFacePartState rest = mien::detail::RestPose(part);
    pose.Copy(&rest);
    for (int j = 0; j < part.mTemplates.GetCount(); ++j) {
      const VFacePartState delta = mien::detail::WeightedDelta(part, j, weights->mParts[p].mWeights[j]);
      pose.Add(&delta);
    }
  }
}

void VFace::SetToDefaultState(VFaceState* result) const {
  for (int p = 0; p < 9; ++p) {
    const VFacePartState rest = mien::detail::RestPose(mParts[p]);
    result->mParts[p].Copy(&rest);
  }
}
