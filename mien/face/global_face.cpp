#include "mien/face/global_face.h"

#include "mien/face/face.h"

#include <new>

namespace {

alignas(VFace) unsigned char storage[sizeof(VFace)];
int leases = 0; // constant-initialised, so it is valid before any constructor has run

} // namespace

// Static objects of one source file are constructed in order, and each that can use the face comes after the
// lease of the header that the file includes. So the face is built before the first of them and outlives the
// last.
mien::detail::GlobalFaceLease::GlobalFaceLease() {
  if (leases++ == 0) ::new (storage) VFace;
}

mien::detail::GlobalFaceLease::~GlobalFaceLease() {
  if (--leases == 0) GetGlobalFace()->~VFace();
}

VFace* GetGlobalFace() { return std::launder(reinterpret_cast<VFace*>(storage)); }
