#pragma once

#include "mien/base/export.h"

/// One weight per expression of the face's catalogue, which has at most 99 expressions.
struct MIEN_API VFaceExpressionState {
  /// A tag for the caller's use. Assignment copies it; Clear and Copy leave it unchanged.
  int mIndex = -1;
  /// By catalogue index; unbounded, 1 is the full expression. Entries beyond the catalogue are copied, but
  /// the solves do not read them.
  double mWeights[100] = {};

  /// Sets all weights to 0.
  void Clear();
  /// Copies the weights; unlike assignment, not `mIndex`.
  void Copy(const VFaceExpressionState& other);
};
