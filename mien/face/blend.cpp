#include "mien/base/affine.h"
#include "mien/face/face.h"

using namespace mien;

// A weight of exactly 0 leaves its source out, even its NaNs. A NaN weight does not.

// Points are blended as offsets from the rest pose, which is added back once.
void VFace::FaceStateBlend(VFaceState* result, const VFaceState* three_sources,
                           const VFaceBlendState* weights) const {
  for (int p = 0; p < 9; ++p) {
    const VgeTVector* const rest = mParts[p].mDefaultPoints;
    VgeTVector sum[7];
    for (int i = 0; i < 3; ++i) {
      const double weight = weights->mWeights[i];
      if (weight == 0.0) continue;
      const VgeTVector* const source = three_sources[i].mParts[p].mPoints;
      for (int j = 0; j < 7; ++j) {
        sum[j].x += (source[j].x - rest[j].x) * weight;
        sum[j].y += (source[j].y - rest[j].y) * weight;
        sum[j].z += (source[j].z - rest[j].z) * weight;
      }
    }
    for (int j = 0; j < 7; ++j)
      SetPoint(result->mParts[p].mPoints[j],
               {sum[j].x + rest[j].x, sum[j].y + rest[j].y, sum[j].z + rest[j].z});
  }
  result->mValid = false;
}

// Weights are already offsets from neutral, so they are summed directly. A source that is left out is
// replaced by zeros: a sum that starts at +0.0 is never -0.0, so adding +0.0 changes none of its bits.
void VFace::TemplateStateBlend(VFaceTemplateState* result, const VFaceTemplateState* three_sources,
                               const VFaceBlendState* weights) const {
  const VFaceTemplateState nothing;
  const VFaceTemplateState* source[3];
  double weight[3];
  for (int i = 0; i < 3; ++i) {
    const bool left_out = weights->mWeights[i] == 0.0;
    source[i] = left_out ? &nothing : &three_sources[i];
    weight[i] = left_out ? 0.0 : weights->mWeights[i];
  }
  for (int p = 0; p < 9; ++p) {
    const double *const a = source[0]->mParts[p].mWeights, *const b = source[1]->mParts[p].mWeights,
                        *const c = source[2]->mParts[p].mWeights;
    VFacePartTemplateState sum;
    for (int j = 0; j < 25; ++j)
      sum.mWeights[j] = 0.0 + weight[0] * a[j] + weight[1] * b[j] + weight[2] * c[j];
    result->mParts[p] = sum;
  }
}
