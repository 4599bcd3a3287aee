#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/part_state.h"

/// The positions of the points of all nine parts, and the head frame in which they were measured.
///
/// The operations work on x, y and z of all slots of all parts. A state may be combined with itself.
struct MIEN_API VFaceState {
  /// The head's frame. Assignment copies it; the operations below leave it unchanged.
  VgeAMatrix mGlobal;
  /// In the face's part order.
  VFacePartState mParts[9];
  /// Whether the chin was measured rather than estimated. The mouth's solve reads it.
  bool mValid = false;

  /// Adds another state, slot by slot.
  void Add(const VFaceState* other);
  /// Adds the same offset to every slot of every part.
  void Add(const VgeTVector* offset);
  /// Subtracts another state, slot by slot.
  void Sub(const VFaceState* other);
  /// Multiplies every slot by a factor per axis.
  void Scale(const VgeSVector& factors);
  /// Multiplies every slot by a factor.
  void Scale(double factor);
  /// Copies the points (x, y, z) and `mValid`; unlike assignment, not `mGlobal`.
  void Copy(const VFaceState* other);
  /// Sets the points to zero and `mValid` to false.
  void Clear();
};
