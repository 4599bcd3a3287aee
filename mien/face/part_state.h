#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"

/// The positions of one part's seven point slots, in the part's template space: a rest pose, a template's
/// pose, a measured pose, or the difference of two of them.
///
/// The operations work on x, y and z of all seven slots, even if the part uses fewer. Only construction and
/// assignment copy w. A state may be combined with itself.
struct MIEN_API VFacePartState {
  /// By point slot.
  VgeTVector mPoints[7];

  /// Adds another state, slot by slot.
  void Add(const VFacePartState* other);
  /// Adds the same offset to every slot.
  void Add(const VgeTVector* offset);
  /// Subtracts another state, slot by slot.
  void Sub(const VFacePartState* other);
  /// Multiplies every slot by a factor per axis.
  void Scale(const VgeSVector& factors);
  /// Multiplies every slot by a factor.
  void Scale(double factor);
  /// Copies x, y and z; unlike assignment, not w.
  void Copy(const VFacePartState* other);
  /// Sets every slot to zero.
  void Clear();
};
