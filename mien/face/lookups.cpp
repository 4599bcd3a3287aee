#include "mien/face/face.h"

#include <cstring>

namespace {

/// The first of `count` candidates whose name is exactly `name`, or -1.
template <class NameOf>
int IndexByName(const char* name, int count, NameOf name_of) {
  for (int i = 0; i < count; ++i)
    if (std::strcmp(name_of(i), name) == 0) return i;
  return -1;
}

} // namespace

int VFacePart::PointIndexByName(const char* name) const {
  return IndexByName(name, mPointCount, [this](int i) { return mPointNames[i]; });
}

int VFacePart::HolderIndexByName(const char* name) const {
  return IndexByName(name, mHolderCount, [this](int i) { return mHolderNames[i]; });
}

int VFacePart::TemplateIndexByName(const char* name) const {
  return IndexByName(name, mTemplates.GetCount(), [this](int i) { return mTemplates[i]->mName; });
}

int VFace::PartIndexByName(const char* name) const {
  return IndexByName(name, 9, [this](int i) { return mParts[i].mName; });
}

int VFace::ExpressionIndexByName(const char* name) const {
  return IndexByName(name, mExpressions.GetCount(), [this](int i) { return mExpressions[i]->mName; });
}

int VFace::ExpressionIndexByRetrieveName(const char* name) const {
  return IndexByName(name, mExpressions.GetCount(), [this](int i) { return mExpressions[i]->mRetrieveName; });
}
