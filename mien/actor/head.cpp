#include "mien/actor/actor_face.h"
#include "mien/base/affine.h"
#include "mien/base/rigid.h"

#include <cmath>
#include <cstdlib>
#include <new>

using namespace mien;
using namespace mien::detail;

template class VArrayTemplate<VActorFaceRBMarker*, 16>;
template class VArrayTemplate<VActorFaceRBTriangle*, 16>;

namespace {

template <class Record>
void Free(VArrayTemplate<Record*, 16>& list) {
  for (int i = 0; i < list.GetCount(); ++i) std::free(list[i]);
  list.Clear();
}

/// Frees the records of the list and fills it with `count` new ones. If memory runs out, throws
/// std::bad_alloc and leaves the list empty.
template <class Record>
void Renew(VArrayTemplate<Record*, 16>& list, int count) {
  Free(list);
  if (!list.SetCount(count)) throw std::bad_alloc();
  for (int i = 0; i < count; ++i) {
    void* const memory = std::malloc(sizeof(Record));
    if (!memory) {
      Free(list); // the slots after i are null, which free accepts
      throw std::bad_alloc();
    }
    list[i] = ::new (memory) Record();
  }
}

/// Calls `visit(triangle index, i, j, k)` for every i < j < k below `count`, in lexicographic order.
template <class Visit>
void ForEachTriangle(int count, Visit visit) {
  int triangle = 0;
  for (int i = 0; i < count; ++i)
    for (int j = i + 1; j < count; ++j)
      for (int k = j + 1; k < count; ++k) visit(triangle++, i, j, k);
}

double FourDot(const VgeQuaternion& a, const VgeQuaternion& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

/// The rigid transform of a quaternion of any length but 0, and a translation.
VgeAMatrix Rigid(const VgeQuaternion& q, const VgeTVector& translation) {
  const double reciprocal = 1.0 / std::sqrt(FourDot(q, q));
  const double x = q.x * reciprocal, y = q.y * reciprocal, z = q.z * reciprocal, w = q.w * reciprocal;
  VgeAMatrix rigid;
  SetColumn(rigid, 0, {1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)});
  SetColumn(rigid, 1, {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)});
  SetColumn(rigid, 2, {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)});
  SetColumn(rigid, 3, translation);
  return rigid;
}

} // namespace

void VActorFace::SetupRBMarkers(VFaceMarkerSetState* ref) {
  VgeTVector sum = {0, 0, 0};
  int present = 0;
  for (int slot = 0; slot < 5; ++slot) {
    if (!ref->mRBPresent[slot]) continue;
    const VgeTVector& p = ref->mRBPositions[slot];
    sum = {sum.x + p.x, sum.y + p.y, sum.z + p.z};
    ++present;
  }
  const VgeTVector centroid =
      present > 0 ? VgeTVector{sum.x / present, sum.y / present, sum.z / present} : VgeTVector{0, 0, 0};

  Renew(mRBMarkers, present);
  UpdateRBMarkersState(ref);
  for (int r = 0; r < present; ++r) {
    VActorFaceRBMarker& record = *mRBMarkers[r];
    SetPoint(record.mOffset, Difference(record.mCurrent, centroid));
  }
  SetColumn(ref->mRBTransform, 3, centroid);
}

void VActorFace::SetupRBTPI(VFaceMarkerSetState* ref) {
  const int n = mRBMarkers.GetCount();
  ref->mRBValid = 0;
  Renew(mRBTPI, n * (n - 1) * (n - 2) / 6);
  ForEachTriangle(n, [&](int t, int i, int j, int k) {
    VActorFaceRBTriangle& triangle = *mRBTPI[t];
    ThreePointsTransform(triangle.mFrame, triangle.mWeight, triangle.mQuality, mRBMarkers[i]->mOffset,
                         mRBMarkers[j]->mOffset, mRBMarkers[k]->mOffset);
    triangle.mInverse = InverseOfOrthogonalAxes(triangle.mFrame);
    if (triangle.mQuality > kSineOf10Degrees) ref->mRBValid = 1;
  });
}

void VActorFace::UpdateRBMarkersState(const VFaceMarkerSetState* frame) {
  int r = 0;
  for (int slot = 0; slot < 5 && r < mRBMarkers.GetCount(); ++slot)
    if (frame->mRBPresent[slot]) SetPoint(mRBMarkers[r++]->mCurrent, frame->mRBPositions[slot]);
}

// Each triangle that is well shaped both now and in the reference gives the transform that carries it from
// its reference position to the current one. Translations are averaged. Rotations are summed as quaternions,
// weighted by the triangle's current area, with the sign that agrees with the sum, since q and -q are the
// same rotation.
void VActorFace::SolveRB(VFaceMarkerSetState* frame) const {
  int count = 0;
  VgeTVector translation = {0, 0, 0};
  VgeQuaternion rotation(0, 0, 0, 0);
  ForEachTriangle(mRBMarkers.GetCount(), [&](int t, int i, int j, int k) {
    const VActorFaceRBTriangle& reference = *mRBTPI[t];
    if (!(reference.mQuality > kSineOf10Degrees)) return;
    VgeAMatrix current;
    double area, quality;
    TriangleFrame(current, area, quality, mRBMarkers[i]->mCurrent, mRBMarkers[j]->mCurrent,
                  mRBMarkers[k]->mCurrent);
    if (!(quality > kSineOf10Degrees)) return;

    ++count;
    const VgeAMatrix motion = Product(current, reference.mInverse);
    translation = {translation.x + motion.m[3][0], translation.y + motion.m[3][1],
                   translation.z + motion.m[3][2]};
    VgeQuaternion q = QuaternionOf(motion.m);
    q = VgeQuaternion(q.x * area, q.y * area, q.z * area, q.w * area);
    if (FourDot(q, rotation) < 0) q = VgeQuaternion(-q.x, -q.y, -q.z, -q.w);
    rotation = VgeQuaternion(rotation.x + q.x, rotation.y + q.y, rotation.z + q.z, rotation.w + q.w);
  });

  frame->mRBValid = count > 0 ? 1 : 0;
  frame->mRBTransform =
      count > 0 ? Rigid(rotation, {translation.x / count, translation.y / count, translation.z / count})
                : VgeAMatrix();
}

void VActorFace::ReferenceFromRBMarker(VFaceMarkerSetState* frame, const VFaceMarkerSetState* ref) {
  UpdateRBMarkersState(frame);
  SolveRB(frame);
  const VgeAMatrix head_in_rigid_body = Product(InverseOfOrthogonalAxes(ref->mRBTransform), ref->mTransform);
  frame->mTransform = Product(frame->mRBTransform, head_in_rigid_body);
}
