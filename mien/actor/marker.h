#pragma once

#include "mien/base/export.h"

/// One marker of a performer.
class MIEN_API VFaceMarker {
public:
  /// Without a name, in slot 0.
  VFaceMarker() = default;
  /// Copies both members.
  VFaceMarker(const VFaceMarker&) = default;
  /// Copies both members.
  VFaceMarker& operator=(const VFaceMarker&) = default;
  virtual ~VFaceMarker();

  /// For the host's use; only copied.
  char mName[256] = {};
  /// Its slot in every `VFaceMarkerSetState`, 0 to 224.
  int mIndex = 0;
};
