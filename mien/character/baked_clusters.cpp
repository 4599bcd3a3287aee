#include "mien/character/baked_clusters.h"

#include "mien/character/baked_part.h"
#include "mien/character/character_face.h"

#include <cstddef>

namespace mien {

BakedClusters::BakedClusters(const VCharacterFace& character)
    : parts_(static_cast<std::size_t>(character.mParts.GetCount())) {
  for (std::size_t p = 0; p < parts_.size(); ++p) {
    const VCharacterFacePart& part = *character.mParts[static_cast<int>(p)];
    if (part.mPartType != 1) continue;
    const auto& cluster_part = static_cast<const VCharacterFacePartCluster&>(part);
    if (cluster_part.mClusterSolveEnabled) parts_[p] = detail::BakedPart(cluster_part);
  }
}

BakedClusters::~BakedClusters() = default;

void BakedClusters::Solve(VCharacterFaceClusterSetState* sets, const VCharacterFaceState& state) const {
  for (std::size_t p = 0; p < parts_.size(); ++p)
    if (parts_[p].is_enabled) detail::BlendClusters(parts_[p], sets[p], state.mWeights[p]);
}

void BakedClusters::SolvePart(VCharacterFaceClusterSetState* set, const double* weights, int part) const {
  const detail::BakedPart& baked = parts_[static_cast<std::size_t>(part)];
  if (baked.is_enabled) detail::BlendClusters(baked, *set, weights);
}

} // namespace mien
