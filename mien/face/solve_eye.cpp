#include "mien/face/face.h"
#include "mien/face/limits.h"
#include "mien/face/slots.h"

using namespace mien::detail;

// "WideOpen" and "Close": the height of the upper lid above and below rest. "Squint": the height of the lower
// lid.
void VFace::Face2TemplateSolveEye(int part, VFaceTemplateState* result, const VFaceState* face) const {
  using namespace eye;
  const VFacePart& definition = mParts[part];
  const auto pose_y = [&definition](Template j, Point point) {
    return definition.mTemplates[j]->mPoints[point].y;
  };
  double* const weights = result->mParts[part].mWeights;

  const double upper = face->mParts[part].mPoints[UpperEye].y;
  const double upper_rest = definition.mDefaultPoints[UpperEye].y;
  if (upper > upper_rest) {
    weights[WideOpen] = RampUp(upper, upper_rest, pose_y(WideOpen, UpperEye));
    weights[Close] = 0.0;
  } else if (upper < upper_rest) {
    const double closed = pose_y(Close, UpperEye);
    weights[Close] = closed > upper ? 1.0 : Clamp01NanToOne((upper - upper_rest) / (closed - upper_rest));
    weights[WideOpen] = 0.0;
  }

  // The direction needs no test: a lower lid that moves down gives a negative quotient, which is clamped to
  // 0.
  const double lower = face->mParts[part].mPoints[LowerEye].y;
  const double lower_rest = definition.mDefaultPoints[LowerEye].y;
  weights[Squint] = Clamp01NanToOne((lower - lower_rest) / (pose_y(Squint, LowerEye) - lower_rest));
}
