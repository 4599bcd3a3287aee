#include "mien/face/part_state.h"

#include "mien/base/affine.h"

void VFacePartState::Add(const VFacePartState* other) {
  for (int i = 0; i < 7; ++i) {
    mPoints[i].x += other->mPoints[i].x;
    mPoints[i].y += other->mPoints[i].y;
    mPoints[i].z += other->mPoints[i].z;
  }
}

void VFacePartState::Add(const VgeTVector* offset) {
  const double x = offset->x, y = offset->y, z = offset->z; // the offset may be one of the points
  for (VgeTVector& point : mPoints) {
    point.x += x;
    point.y += y;
    point.z += z;
  }
}

void VFacePartState::Sub(const VFacePartState* other) {
  for (int i = 0; i < 7; ++i) {
    mPoints[i].x -= other->mPoints[i].x;
    mPoints[i].y -= other->mPoints[i].y;
    mPoints[i].z -= other->mPoints[i].z;
  }
}

void VFacePartState::Scale(const VgeSVector& factors) {
  for (VgeTVector& point : mPoints) {
    point.x *= factors.x;
    point.y *= factors.y;
    point.z *= factors.z;
  }
}

void VFacePartState::Scale(double factor) { Scale(VgeSVector(factor, factor, factor)); }

void VFacePartState::Copy(const VFacePartState* other) {
  for (int i = 0; i < 7; ++i) mien::SetPoint(mPoints[i], other->mPoints[i]);
}

void VFacePartState::Clear() {
  for (VgeTVector& point : mPoints) mien::SetPoint(point, {0, 0, 0});
}
