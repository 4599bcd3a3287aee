#pragma once

#include "mien/base/export.h"

/// How far each template of one part is applied: slot j belongs to template j of the part. Unbounded; 0 is
/// not at all, 1 is the template's pose. Slots beyond the part's templates stay 0 unless a caller writes
/// them.
struct MIEN_API VFacePartTemplateState {
  double mWeights[25] = {};

  void Add(const VFacePartTemplateState* other);
  void Sub(const VFacePartTemplateState* other);
  void Scale(double factor);
  void Copy(const VFacePartTemplateState& other);
  void Clear();
};

/// The template weights of all nine parts.
struct MIEN_API VFaceTemplateState {
  int mIndex = -1; ///< A tag for the caller's use: copied by assignment, untouched by the operations below.
  VFacePartTemplateState mParts[9]; ///< In the face's part order.

  void Add(const VFaceTemplateState* other);
  void Sub(const VFaceTemplateState* other);
  void Scale(double factor);
  void Copy(const VFaceTemplateState& other); ///< The weights; unlike assignment, not `mIndex`.
  void Clear();

  /// Whether any of the part's 25 weights differs from 0. A NaN does, -0.0 does not. `part` is 0 to 8,
  /// unchecked.
  bool IsRegionDefined(int part) const;
  /// Whether any part is defined.
  bool IsDefined() const;
};
