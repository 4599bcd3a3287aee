#include "mien/base/geometry.h"

#include "mien/base/rigid.h"

using namespace mien::detail;

VgeRMatrix& VgeRMatrix::Init() {
  *this = VgeRMatrix();
  return *this;
}

VgeQuaternion::VgeQuaternion(const VgeRMatrix& rotation) : VgeQuaternion(QuaternionOf(rotation.m)) {}

void ThreePointsTransform(VgeAMatrix& out, double& area, double& quality, const VgeTVector& p0,
                          const VgeTVector& p1, const VgeTVector& p2) {
  TriangleFrame(out, area, quality, p0, p1, p2);
}
