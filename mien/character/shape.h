#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"

/// One shape of a character part, driven by a weight.
class MIEN_API VCharacterFaceShape {
public:
  /// Without a label.
  VCharacterFaceShape() = default;
  /// Copies all members.
  VCharacterFaceShape(const VCharacterFaceShape&) = default;
  /// Copies all members.
  VCharacterFaceShape& operator=(const VCharacterFaceShape&) = default;
  virtual ~VCharacterFaceShape();

  /// Sets the label. A text of more than 255 bytes is rejected: the label is unchanged.
  virtual void SetLabel(const char* text);
  /// Returns `mLabel`.
  virtual const char* GetLabel() const;

  /// The shape's name.
  char mLabel[256] = {};
  /// For the host's use; only copied.
  int mUserValue = 1;
  /// Whether the weight moves the clusters of the part.
  bool mDrivesClusters = false;
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceShape*, 16>;
