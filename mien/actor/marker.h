#pragma once

#include "mien/base/export.h"

/// One marker of a performer.
class MIEN_API VFaceMarker {
public:
  VFaceMarker() = default;
  VFaceMarker(const VFaceMarker&) = default;
  VFaceMarker& operator=(const VFaceMarker&) = default;
  virtual ~VFaceMarker();

  char mName[256] = {};
  int mIndex = 0; ///< Its slot in every `VFaceMarkerSetState`, 0 to 224.
};
