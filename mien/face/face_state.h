#pragma once

#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/part_state.h"

/// The positions of the points of all nine parts, and the head frame they were measured in.
struct MIEN_API VFaceState {
  VgeAMatrix
      mGlobal; ///< The head's frame. Carried along: copied by assignment, untouched by the operations below.
  VFacePartState mParts[9]; ///< In the face's part order.
  bool mValid = false;      ///< Whether the chin was measured rather than estimated; the mouth solve asks.

  void Add(const VFaceState* other);
  void Add(const VgeTVector* offset); ///< The same offset to every slot of every part.
  void Sub(const VFaceState* other);
  void Scale(const VgeSVector& factors);
  void Scale(double factor);
  void Copy(const VFaceState* other); ///< Points (x, y, z) and `mValid`; unlike assignment, not `mGlobal`.
  void Clear();                       ///< Points to zero, `mValid` to false; `mGlobal` stays.
};
