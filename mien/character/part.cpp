#include "mien/character/part.h"

#include "mien/base/bounded_text.h"

#include <utility>

template class VArrayTemplate<VCharacterFaceShape*, 16>;
template class VArrayTemplate<VCharacterFacePart*, 16>;

VCharacterFaceShape::~VCharacterFaceShape() = default;

void VCharacterFaceShape::SetLabel(const char* text) { mien::CopyBounded(mLabel, text); }

const char* VCharacterFaceShape::GetLabel() const { return mLabel; }

VCharacterFacePart::VCharacterFacePart(VString name) : mName(std::move(name)) {}

VCharacterFacePart::~VCharacterFacePart() {
  for (int s = 0; s < mShapes.GetCount(); ++s) delete mShapes[s];
}

VCharacterFacePartCluster::VCharacterFacePartCluster(VString name) : VCharacterFacePart(std::move(name)) {
  mPartType = 1;
}

VCharacterFacePartCluster::~VCharacterFacePartCluster() {
  for (int s = mShapeClusters.GetCount() - 1; s >= 0; --s) delete mShapeClusters[s];
}
