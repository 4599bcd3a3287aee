#include "mien/character/cluster_state.h"

#include "mien/base/affine.h"
#include "mien/character/cluster_transform.h"

#include <new>

using namespace mien;

template class VArrayTemplate<VCharacterFaceClusterState*, 16>;
template class VArrayTemplate<VCharacterFaceClusterSetState*, 16>;

VCharacterFaceClusterState::VCharacterFaceClusterState(const VCharacterFaceClusterState& other)
    : mLocalT(other.mLocalT), mLocalR(other.mLocalR), mLocalS(other.mLocalS), mGlobalT(other.mGlobalT),
      mGlobalR(other.mGlobalR), mGlobalS(other.mGlobalS) {
  mLocalT.w = mGlobalT.w = 1;
}

VCharacterFaceClusterState::~VCharacterFaceClusterState() = default;

void VCharacterFaceClusterState::ClearState() {
  SetPoint(mLocalT, {0, 0, 0});
  SetPoint(mGlobalT, {0, 0, 0});
  mLocalR.Init();
  mGlobalR.Init();
  mLocalS = mGlobalS = VgeSVector(1, 1, 1);
}

// Delegates to the default constructor, so that the destructor releases the clusters if memory runs out here.
VCharacterFaceClusterSetState::VCharacterFaceClusterSetState(int count) : VCharacterFaceClusterSetState() {
  if (count < 1) return;
  if (!mClusters.SetCount(count)) throw std::bad_alloc(); // null until filled
  for (int c = 0; c < count; ++c) mClusters[c] = new VCharacterFaceClusterState;
}

VCharacterFaceClusterSetState::~VCharacterFaceClusterSetState() {
  for (int c = mClusters.GetCount() - 1; c >= 0; --c) delete mClusters[c];
}

namespace {

VgeAMatrix MatrixOf(const detail::Root<double>& root) {
  VgeAMatrix matrix;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) matrix.m[column][row] = root.axes[column][row];
  SetColumn(matrix, 3, {root.translation[0], root.translation[1], root.translation[2]});
  return matrix;
}

} // namespace

void VCharacterFaceClusterSetState::ComputeGlobalZpx() {
  const detail::Root<double> root(mRoot);
  for (int c = 0; c < mClusters.GetCount(); ++c) {
    const detail::Transform<double> global = detail::Global(root, detail::LocalOf(*mClusters[c]));
    detail::SetGlobal(*mClusters[c], detail::LanesOf(global), 0);
  }
}

void VCharacterFaceClusterSetState::ComputeLocalZpx() {
  const VgeAMatrix from_root = InverseOfOrthogonalAxes(MatrixOf(detail::Root<double>(mRoot)));
  const VgeSVector& s = mRoot.mGlobalS;
  for (int c = 0; c < mClusters.GetCount(); ++c) {
    VCharacterFaceClusterState& cluster = *mClusters[c];
    SetPoint(cluster.mLocalT, TransformPoint(from_root, cluster.mGlobalT));
    SetProduct(cluster.mLocalR, Transposed(mRoot.mGlobalR), cluster.mGlobalR);
    cluster.mLocalS =
        VgeSVector(cluster.mGlobalS.x / s.x, cluster.mGlobalS.y / s.y, cluster.mGlobalS.z / s.z);
  }
}
