#include "mien/face/face.h"

#include <initializer_list>

// The mouth first, then region by region, the right side before the left.
void VFace::Face2TemplateSolve(VFaceTemplateState* result, const VFaceState* face) const {
  result->Clear();
  Face2TemplateSolveMouth2(result, face);
  for (const int part : {2, 1}) Face2TemplateSolveBrow(part, result, face);
  for (const int part : {4, 3}) Face2TemplateSolveEye(part, result, face);
  for (const int part : {6, 5}) Face2TemplateSolveCheek(part, result, face);
  for (const int part : {8, 7}) Face2TemplateSolveNostril(part, result, face);
}
