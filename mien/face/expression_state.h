#pragma once

#include "mien/base/export.h"

/// One weight per expression of the face's catalogue, which holds at most 99. Unbounded; 1 is the full
/// expression.
struct MIEN_API VFaceExpressionState {
  int mIndex = -1; ///< A tag for the caller's use: copied by assignment, untouched by Clear and Copy.
  double mWeights[100] = {}; ///< Entries beyond the catalogue are carried along and not read by the solves.

  void Clear();
  void Copy(const VFaceExpressionState& other); ///< The weights; unlike assignment, not `mIndex`.
};
