#include "mien/face/face.h"

namespace {

/// result += weight * source; scales the source in place. A weight of exactly 0 leaves its source out, NaNs
/// and all, and one of exactly 1 adds it unscaled; a NaN weight is neither.
template <class State>
void AddWeighted(State* result, State& source, double weight) {
  if (weight == 0.0) return;
  if (weight != 1.0) source.Scale(weight);
  result->Add(&source);
}

} // namespace

// Points are blended as offsets from the rest pose, which is added back once.
void VFace::FaceStateBlend(VFaceState* result, const VFaceState* three_sources,
                           const VFaceBlendState* weights) const {
  VFaceState rest;
  SetToDefaultState(&rest);
  result->Clear();
  for (int i = 0; i < 3; ++i) {
    VFaceState offset;
    offset.Copy(&three_sources[i]);
    offset.Sub(&rest);
    AddWeighted(result, offset, weights->mWeights[i]);
  }
  result->Add(&rest);
}

// Weights are offsets from neutral already, and summed as they stand.
void VFace::TemplateStateBlend(VFaceTemplateState* result, const VFaceTemplateState* three_sources,
                               const VFaceBlendState* weights) const {
  result->Clear();
  for (int i = 0; i < 3; ++i) {
    VFaceTemplateState scaled;
    scaled.Copy(three_sources[i]);
    AddWeighted(result, scaled, weights->mWeights[i]);
  }
}
