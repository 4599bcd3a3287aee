#pragma once

#include "mien/base/export.h"

class VFace;

/// The default face of the process: the same object for every caller from load to unload, never null. It is there for
/// static objects of every source file that includes this header (each header of the library whose objects need the
/// face does), also where the library is linked statically. It is only read by the solves, so threads may share it;
/// calls that change its catalogue are the caller's to serialise.
MIEN_API VFace* GetGlobalFace();

namespace mien::detail {

/// Keeps the global face alive while any source file that includes this header may need it: the first one constructed
/// builds the face, the last one destroyed destroys it.
struct MIEN_API GlobalFaceLease {
  GlobalFaceLease();
  ~GlobalFaceLease();
  GlobalFaceLease(const GlobalFaceLease&) = delete;
  GlobalFaceLease& operator=(const GlobalFaceLease&) = delete;
};

[[maybe_unused]] static const GlobalFaceLease global_face_lease;

} // namespace mien::detail
