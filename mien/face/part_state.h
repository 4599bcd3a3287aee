#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// The positions of one part's seven point slots, in the part's template space: a rest pose, a template's
/// pose, a measured pose, or the difference of two of them.
///
/// The operations work on x, y and z of all seven slots, however many of them the part uses; w is never read
/// or written, except by construction and assignment, which copy it. A state may be combined with itself.
struct MIEN_API VFacePartState {
  VgeTVector mPoints[7];

  void Add(const VFacePartState* other);
  void Add(const VgeTVector* offset); ///< The same offset to every slot.
  void Sub(const VFacePartState* other);
  void Scale(const VgeSVector& factors);
  void Scale(double factor);
  void Copy(const VFacePartState* other); ///< x, y and z only: unlike assignment, w stays.
  void Clear();
};
