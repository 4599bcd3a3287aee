#include "mien/character/character_face.h"

#include "mien/base/bounded_text.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

VCharacterFace::VCharacterFace() : VCharacterFace(*GetGlobalFace()) {}

VCharacterFace::VCharacterFace(const VFace& face) {
  try {
    SetupDefineState(face);
  } catch (...) {
    ClearDefineState(); // the destructor will not run
    throw;
  }
}

VCharacterFace::~VCharacterFace() {
  for (int p = 0; p < mParts.GetCount(); ++p) delete mParts[p];
  ClearDefineState();
}

int VCharacterFace::GetPartShapeCount(int part) const {
  if (part < 0 || part >= mParts.GetCount()) return 0;
  const VCharacterFacePart* const p = mParts[part];
  if (p->mPartType == 0) return p->mShapes.GetCount();
  if (p->mPartType == 1) return static_cast<const VCharacterFacePartCluster*>(p)->mShapeClusters.GetCount();
  return 0;
}

bool VCharacterFace::GetUniquePartName(const char* base, char* out) const {
  const auto taken = [this](const char* name) {
    for (int p = 0; p < mParts.GetCount(); ++p)
      if (mien::EqualIgnoringCase(mParts[p]->mName.c_str(), name)) return true;
    return false;
  };
  const std::size_t length = std::strlen(base);
  std::memmove(out, base, length + 1);
  for (int n = 1; taken(out); ++n) {
    if (n == 100) return false;
    std::snprintf(out + length, 4, " %d", n);
  }
  return true;
}

void VCharacterFace::ExpressionCreate() {
  auto state = std::make_unique<VCharacterFaceState>();
  if (mCharacterExpressionStates.Add(state.get()) < 0) throw std::bad_alloc();
  static_cast<void>(state.release());
  if (mCharacterExpressionValues.Add(0.0) < 0) throw std::bad_alloc();
  ++mCharacterExpressionCount;
}

bool VCharacterFace::ExpressionDelete(int index) {
  if (index < 0 || index >= mCharacterExpressionCount) return false;
  --mCharacterExpressionCount;
  delete mCharacterExpressionStates.RemoveAt(index);
  mCharacterExpressionValues.RemoveAt(index);
  return true;
}
