// Poses the global face with its mouth half open and measures that pose again.

#include "mien/mien.h"

#include <cstdio>

int main() {
  const VFace& face = *GetGlobalFace();
  const int mouth = face.PartIndexByName("Mouth");
  const int open = face.mParts[mouth].TemplateIndexByName("Open");

  VFaceTemplateState wanted;
  wanted.mParts[mouth].mWeights[open] = 0.5;
  VFaceState pose;
  face.Template2FaceSolve(&pose, &wanted);

  VFaceTemplateState measured;
  face.Face2TemplateSolve(&measured, &pose);
  std::printf("the mouth is open by %.2f\n", measured.mParts[mouth].mWeights[open]);
}
