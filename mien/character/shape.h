#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"

/// One shape of a character part, driven by a weight.
class MIEN_API VCharacterFaceShape {
public:
  VCharacterFaceShape() = default;
  VCharacterFaceShape(const VCharacterFaceShape&) = default;
  VCharacterFaceShape& operator=(const VCharacterFaceShape&) = default;
  virtual ~VCharacterFaceShape();

  /// A text of more than 255 bytes is rejected: the label stays.
  virtual void SetLabel(const char* text);
  virtual const char* GetLabel() const;

  char mLabel[256] = {};
  int mUserValue = 1;           ///< The host's; only copied.
  bool mDrivesClusters = false; ///< Whether the weight moves the clusters of the part.
};

extern template class MIEN_API VArrayTemplate<VCharacterFaceShape*, 16>;
