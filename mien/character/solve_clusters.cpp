#include "mien/base/affine.h"
#include "mien/character/character_face.h"
#include "mien/character/cluster_transform.h"

#include <cmath>

using namespace mien;
using namespace mien::detail;

namespace {

/// Whether the offset from one such transform to another is finite: no element near overflow, all scalings
/// positive.
bool IsModerate(const VCharacterFaceClusterState& cluster) {
  constexpr double kLarge = 1e50; // angles are read from products of four elements
  const auto below = [](double x) { return std::abs(x) < kLarge; }; // false for NaN
  const auto between = [](double x) { return x > 1 / kLarge && x < kLarge; };
  bool moderate = true;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) moderate &= below(cluster.mLocalR.m[column][row]);
  const VgeTVector& t = cluster.mLocalT;
  const VgeSVector& s = cluster.mLocalS;
  return moderate && below(t.x) && below(t.y) && below(t.z) && between(s.x) && between(s.y) && between(s.z);
}

} // namespace

void VCharacterFace::Character2ClusterSolve(VCharacterFaceClusterSetState* sets,
                                            const VCharacterFaceState& state) const {
  for (int p = 0; p < mParts.GetCount(); ++p)
    if (mParts[p]->mPartType == 1) Character2ClusterSolve(&sets[p], state, p);
}

// Relative to the rest pose: translations and the Euler angles of the rotation from rest to target are summed
// with their weights, scalings as logarithms of their ratio to rest. So half of a doubled size is the square
// root of 2.
void VCharacterFace::Character2ClusterSolve(VCharacterFaceClusterSetState* set,
                                            const VCharacterFaceState& state, int part) const {
  const auto& definition = *static_cast<const VCharacterFacePartCluster*>(mParts[part]);
  if (!definition.mClusterSolveEnabled) return;
  const double* const weights = state.mWeights[part];

  for (int c = 0; c < set->mClusters.GetCount(); ++c) {
    const VCharacterFaceClusterState& rest = *definition.mRestClusters.mClusters[c];
    const bool rest_is_moderate = IsModerate(rest);
    const VgeRMatrix from_rest = Transposed(rest.mLocalR);
    Offset<double> sum = {};
    for (int s = 0; s < definition.mShapes.GetCount(); ++s) {
      if (!definition.mShapes[s]->mDrivesClusters) continue;
      const VCharacterFaceClusterState& target = *definition.mShapeClusters[s]->mClusters[c];
      // 0 times a finite offset: adding it to sums that start from 0.0 changes nothing.
      if (weights[s] == 0 && rest_is_moderate && IsModerate(target)) continue;
      AddWeighted(sum, weights[s], OffsetOf(target, rest, from_rest));
    }
    SetLocal(*set->mClusters[c], LanesOf(Moved(LocalOf(rest), sum)), 0);
  }
  set->ComputeGlobalZpx();
}
