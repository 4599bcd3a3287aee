#include "mien/face/face.h"
#include "tests/install/static_initialisation.h"

#include <cstdio>
#include <cstdlib>

double MeasureOpening() {
  const VFace& face = *GetGlobalFace();
  VFaceTemplateState wanted;
  wanted.mParts[0].mWeights[0] = 1;
  VFaceState pose;
  face.Template2FaceSolve(&pose, &wanted);
  VFaceTemplateState measured;
  face.Face2TemplateSolve(&measured, &pose);
  return measured.mParts[0].mWeights[0];
}

double opening_before_main; // zero before any constructor runs

namespace {

const struct Solver {
  Solver() { opening_before_main = MeasureOpening(); }
  ~Solver() {
    if (MeasureOpening() != opening_before_main) std::_Exit(1);
    std::puts("after main as before it");
    std::fflush(stdout);
  }
} solver;

} // namespace
