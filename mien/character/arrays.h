#pragma once

// The lists of the character side, so that callers link against the library's copies.

#include "mien/base/array.h"
#include "mien/base/export.h"

class VCharacterFacePart;
class VCharacterFaceShape;
struct VCharacterFaceState;
class VCharacterFaceClusterState;
class VCharacterFaceClusterSetState;

extern template class MIEN_API VArrayTemplate<VCharacterFacePart*, 16>;
extern template class MIEN_API VArrayTemplate<VCharacterFaceShape*, 16>;
extern template class MIEN_API VArrayTemplate<VCharacterFaceState*, 16>;
extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterState*, 16>;
extern template class MIEN_API VArrayTemplate<VCharacterFaceClusterSetState*, 16>;
