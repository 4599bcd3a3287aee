#include "mien/character/character_state.h"

#include <algorithm>
#include <iterator>

template class VArrayTemplate<VCharacterFaceState*, 16>;

VCharacterFaceState::VCharacterFaceState() { Clear(); }

VCharacterFaceState::~VCharacterFaceState() = default;

void VCharacterFaceState::Clear() {
  for (int p = 0; p < 15; ++p) ClearPart(p);
}

void VCharacterFaceState::ClearPart(int part) {
  for (double& weight : mWeights[part]) weight = 0;
  const auto& clusters = mClusters[part].mClusters;
  for (int c = 0; c < clusters.GetCount(); ++c) clusters[c]->ClearState();
}

bool VCharacterFaceState::IsClear() const {
  for (int p = 0; p < 15; ++p)
    if (!IsClearPart(p)) return false;
  return true;
}

bool VCharacterFaceState::IsClearPart(int part) const {
  return std::all_of(std::begin(mWeights[part]), std::end(mWeights[part]),
                     [](double weight) { return weight == 0; });
}

void VCharacterFaceState::Add(const VCharacterFaceState* other) {
  for (int p = 0; p < 15; ++p) AddPart(other, p);
}

void VCharacterFaceState::AddPart(const VCharacterFaceState* other, int part) {
  for (int s = 0; s < 500; ++s) mWeights[part][s] += other->mWeights[part][s];
}

void VCharacterFaceState::Copy(const VCharacterFaceState* other) {
  for (int p = 0; p < 15; ++p) CopyPart(other, p);
}

void VCharacterFaceState::CopyPart(const VCharacterFaceState* other, int part) {
  CopyPart(other, part, part);
}

void VCharacterFaceState::CopyPart(const VCharacterFaceState* other, int destination, int source) {
  if (this == other && destination == source) return;
  std::copy(std::begin(other->mWeights[source]), std::end(other->mWeights[source]), mWeights[destination]);
}
