#include "mien/face/face.h"
#include "mien/face/ramp.h"

// "WideOpen" and "Close": the height of the upper lid above and below rest. "Squint": the height of the lower
// lid.
void VFace::Face2TemplateSolveEye(int part, VFaceTemplateState* result, const VFaceState* face) const {
  enum Point { InEye, UpperEye, OutEye, LowerEye };
  enum Template { Close, Squint, WideOpen };
  const VFacePart& eye = mParts[part];
  const auto pose_y = [&eye](Template j, Point point) { return eye.mTemplates[j]->mPoints[point].y; };
  double* const weights = result->mParts[part].mWeights;

  const double upper = face->mParts[part].mPoints[UpperEye].y;
  const double upper_rest = eye.mDefaultPoints[UpperEye].y;
  if (upper > upper_rest) {
    weights[WideOpen] = mien::RampUp(upper, upper_rest, pose_y(WideOpen, UpperEye));
    weights[Close] = 0.0;
  } else if (upper < upper_rest) {
    const double closed = pose_y(Close, UpperEye);
    weights[Close] = closed > upper ? 1.0 : mien::Clamp01((upper - upper_rest) / (closed - upper_rest));
    weights[WideOpen] = 0.0;
  }

  // Without a test of direction: a lower lid that moves down divides to a negative number and is clamped to
  // 0.
  const double lower = face->mParts[part].mPoints[LowerEye].y;
  const double lower_rest = eye.mDefaultPoints[LowerEye].y;
  weights[Squint] = mien::Clamp01((lower - lower_rest) / (pose_y(Squint, LowerEye) - lower_rest));
}
