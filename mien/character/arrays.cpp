#include "mien/character/arrays.h"

template class VArrayTemplate<VCharacterFacePart*, 16>;
template class VArrayTemplate<VCharacterFaceShape*, 16>;
template class VArrayTemplate<VCharacterFaceState*, 16>;
template class VArrayTemplate<VCharacterFaceClusterState*, 16>;
template class VArrayTemplate<VCharacterFaceClusterSetState*, 16>;
