#include "mien/base/affine.h"
#include "mien/base/elementary.h"
#include "mien/character/character_face.h"

#include <cmath>

using namespace mien;

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
  const VTxRotationOrder xyz;

  for (int c = 0; c < set->mClusters.GetCount(); ++c) {
    const VCharacterFaceClusterState& rest = *definition.mRestClusters.mClusters[c];
    const bool rest_is_moderate = IsModerate(rest);
    const VgeRMatrix from_rest = Transposed(rest.mLocalR);
    VgeTVector translation = {0, 0, 0};
    VgeRVector angles;
    VgeSVector logarithms(0, 0, 0);
    for (int s = 0; s < definition.mShapes.GetCount(); ++s) {
      if (!definition.mShapes[s]->mDrivesClusters) continue;
      const double w = weights[s];
      const VCharacterFaceClusterState& target = *definition.mShapeClusters[s]->mClusters[c];
      // 0 times a finite offset: adding it to sums that start from 0.0 changes nothing.
      if (w == 0 && rest_is_moderate && IsModerate(target)) continue;

      translation.x += w * (target.mLocalT.x - rest.mLocalT.x);
      translation.y += w * (target.mLocalT.y - rest.mLocalT.y);
      translation.z += w * (target.mLocalT.z - rest.mLocalT.z);

      VgeRMatrix turn;
      SetProduct(turn, from_rest, target.mLocalR);
      VgeRVector offset;
      xyz.M2V(offset, turn);
      angles.x += w * offset.x;
      angles.y += w * offset.y;
      angles.z += w * offset.z;

      logarithms.x += w * Log(target.mLocalS.x / rest.mLocalS.x);
      logarithms.y += w * Log(target.mLocalS.y / rest.mLocalS.y);
      logarithms.z += w * Log(target.mLocalS.z / rest.mLocalS.z);
    }

    VCharacterFaceClusterState& out = *set->mClusters[c];
    SetPoint(out.mLocalT, {translation.x + rest.mLocalT.x, translation.y + rest.mLocalT.y,
                           translation.z + rest.mLocalT.z});
    VgeRMatrix turn;
    xyz.V2M(turn, angles);
    out.mLocalR.Init();
    SetProduct(out.mLocalR, rest.mLocalR, turn);
    out.mLocalS = VgeSVector(Exp(logarithms.x) * rest.mLocalS.x, Exp(logarithms.y) * rest.mLocalS.y,
                             Exp(logarithms.z) * rest.mLocalS.z);
  }
  set->ComputeGlobalZpx();
}
