#include "mien/face/face_state.h"

void VFaceState::Add(const VFaceState* other) {
  for (int k = 0; k < 9; ++k) mParts[k].Add(&other->mParts[k]);
}

void VFaceState::Add(const VgeTVector* offset) {
  const VgeTVector copied = *offset; // the offset may be one of the points
  for (VFacePartState& part : mParts) part.Add(&copied);
}

void VFaceState::Sub(const VFaceState* other) {
  for (int k = 0; k < 9; ++k) mParts[k].Sub(&other->mParts[k]);
}

void VFaceState::Scale(const VgeSVector& factors) {
  for (VFacePartState& part : mParts) part.Scale(factors);
}

void VFaceState::Scale(double factor) {
  for (VFacePartState& part : mParts) part.Scale(factor);
}

void VFaceState::Copy(const VFaceState* other) {
  for (int k = 0; k < 9; ++k) mParts[k].Copy(&other->mParts[k]);
  mValid = other->mValid;
}

void VFaceState::Clear() {
  for (VFacePartState& part : mParts) part.Clear();
  mValid = false;
}
