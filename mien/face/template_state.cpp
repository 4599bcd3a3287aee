#include "mien/face/template_state.h"

void VFacePartTemplateState::Add(const VFacePartTemplateState* other) {
  for (int j = 0; j < 25; ++j) mWeights[j] += other->mWeights[j];
}

void VFacePartTemplateState::Sub(const VFacePartTemplateState* other) {
  for (int j = 0; j < 25; ++j) mWeights[j] -= other->mWeights[j];
}

void VFacePartTemplateState::Scale(double factor) {
  for (double& weight : mWeights) weight *= factor;
}

void VFacePartTemplateState::Copy(const VFacePartTemplateState& other) { *this = other; }

void VFacePartTemplateState::Clear() {
  for (double& weight : mWeights) weight = 0;
}

void VFaceTemplateState::Add(const VFaceTemplateState* other) {
  for (int k = 0; k < 9; ++k) mParts[k].Add(&other->mParts[k]);
}

void VFaceTemplateState::Sub(const VFaceTemplateState* other) {
  for (int k = 0; k < 9; ++k) mParts[k].Sub(&other->mParts[k]);
}

void VFaceTemplateState::Scale(double factor) {
  for (VFacePartTemplateState& part : mParts) part.Scale(factor);
}

void VFaceTemplateState::Copy(const VFaceTemplateState& other) {
  for (int k = 0; k < 9; ++k) mParts[k].Copy(other.mParts[k]);
}

void VFaceTemplateState::Clear() {
  for (VFacePartTemplateState& part : mParts) part = {};
}

bool VFaceTemplateState::IsRegionDefined(int part) const {
  for (const double weight : mParts[part].mWeights)
    if (weight != 0) return true; // true for NaN, false for -0.0
  return false;
}

bool VFaceTemplateState::IsDefined() const {
  for (int part = 0; part < 9; ++part)
    if (IsRegionDefined(part)) return true;
  return false;
}
