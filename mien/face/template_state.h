#pragma once

#include "mien/base/export.h"

/// How far each template of one part is applied.
struct MIEN_API VFacePartTemplateState {
  /// By template of the part; unbounded: 0 is not at all, 1 is the template's pose. Slots beyond the part's
  /// templates stay 0 unless the caller writes them.
  double mWeights[25] = {};

  /// Adds another state, weight by weight.
  void Add(const VFacePartTemplateState* other);
  /// Subtracts another state, weight by weight.
  void Sub(const VFacePartTemplateState* other);
  /// Multiplies every weight.
  void Scale(double factor);
  /// Copies the weights.
  void Copy(const VFacePartTemplateState& other);
  /// Sets every weight to 0.
  void Clear();
};

/// The template weights of all nine parts.
struct MIEN_API VFaceTemplateState {
  /// A tag for the caller's use. Assignment copies it; the operations below leave it unchanged.
  int mIndex = -1;
  /// In the face's part order.
  VFacePartTemplateState mParts[9];

  /// Adds another state, weight by weight.
  void Add(const VFaceTemplateState* other);
  /// Subtracts another state, weight by weight.
  void Sub(const VFaceTemplateState* other);
  /// Multiplies every weight.
  void Scale(double factor);
  /// Copies the weights; unlike assignment, not `mIndex`.
  void Copy(const VFaceTemplateState& other);
  /// Sets every weight to 0.
  void Clear();

  /// Whether any of the part's 25 weights differs from 0. A NaN does, -0.0 does not. `part` is 0 to 8,
  /// unchecked.
  bool IsRegionDefined(int part) const;
  /// Whether IsRegionDefined for any part.
  bool IsDefined() const;
};
