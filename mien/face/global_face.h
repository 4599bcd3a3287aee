#pragma once

#include "mien/base/export.h"

/// @file
/// The face that all performers and characters share unless they are given another one.

class VFace;

/// The default face of the process: the same object for every caller from load to unload, never null.
///
/// It exists for the whole life of the static objects of every source file that includes this header, also if
/// the library is linked statically; each header of the library whose objects need the face includes this
/// one. The solves only read the face, so threads may share it. The caller must serialise calls that change
/// its catalogue.
MIEN_API VFace* GetGlobalFace();

namespace mien::detail {

/// Keeps the global face alive while any source file that includes this header may need it. The first lease
/// that is constructed builds the face; the last one that is destroyed destroys it.
struct MIEN_API GlobalFaceLease {
  GlobalFaceLease();
  ~GlobalFaceLease();
  GlobalFaceLease(const GlobalFaceLease&) = delete;
  GlobalFaceLease& operator=(const GlobalFaceLease&) = delete;
};

/// The lease of the source file that includes this header.
[[maybe_unused]] static const GlobalFaceLease global_face_lease;

} // namespace mien::detail
