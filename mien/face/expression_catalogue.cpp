#include "mien/base/bounded_text.h"
#include "mien/face/face.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

template class VArrayTemplate<VFaceExpression*, 16>;

VFaceExpression::~VFaceExpression() = default;

VFace::~VFace() {
  for (int k = 0; k < mExpressions.GetCount(); ++k) delete mExpressions[k];
  mExpressions.Clear();
}

bool VFace::RenameExpression(const char* base, char* out) const {
  const auto taken = [this](const char* name) {
    for (int k = 0; k < mExpressions.GetCount(); ++k)
      if (mien::EqualIgnoringCase(mExpressions[k]->mName, name)) return true;
    return false;
  };
  const std::size_t length = std::strlen(base);
  std::memmove(out, base, length + 1);
  char* const digits = out + length;
  for (int n = 1; taken(out); ++n) {
    if (n == 100) return false;
    std::snprintf(digits, 3, "%d", n);
  }
  return true;
}

int VFace::CreateExpression(const char* name) {
  constexpr int kMostExpressions = 99;
  const int count = mExpressions.GetCount();
  if (*name == '\0' || count >= kMostExpressions) return -1;
  char base[256];
  char free_name[sizeof base + 2]; // two digits more
  if (!mien::CopyBounded(base, name) || !RenameExpression(base, free_name)) return -1;
  auto expression = std::make_unique<VFaceExpression>();
  if (!mien::CopyBounded(expression->mName, free_name)) return -1;
  // An array that cannot grow loses its contents, so it grows once, while it is empty.
  if (mExpressions.GetCapacity() == 0) {
    if (!mExpressions.SetCount(kMostExpressions)) throw std::bad_alloc();
    mExpressions.Empty();
  }
  if (mExpressions.Add(expression.get()) < 0) throw std::bad_alloc();
  static_cast<void>(expression.release());
  return count;
}
