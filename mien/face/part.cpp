#include "mien/face/part.h"

template class VArrayTemplate<VFacePartTemplate*, 16>;

VFacePart::~VFacePart() {
  for (int j = 0; j < mTemplates.GetCount(); ++j) delete mTemplates[j];
  mTemplates.Clear();
}
