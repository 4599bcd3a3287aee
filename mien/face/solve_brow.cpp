#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/slots.h"

#include <cmath>

using namespace mien;
using namespace mien::detail;

// Each template is measured by inverse-distance weighting between "at rest" and "at the template": 1 on the
// template's pose, 0.5 where the template is as far away as the whole brow is from rest. "Up" is measured on
// the middle of the brow, "Down" on its inner end, which a frown moves down and in.
void VFace::Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* face) const {
  using namespace brow;
  const VFacePart& definition = mParts[part];
  const VgeTVector* const s = face->mParts[part].mPoints;
  double* const weights = result->mParts[part].mWeights;

  const double from_rest = SummedDistance(definition.mDefaultPoints, s, definition.mPointCount);
  const auto closeness = [&](Template j, Point measured) {
    return from_rest / (from_rest + Distance(definition.mTemplates[j]->mPoints[measured], s[measured]));
  };
  weights[Up] = closeness(Up, MidBrow);
  weights[Down] = closeness(Down, InBrow);

  // Away from rest both weights rise, whichever way the brow moves. "Down" is therefore moved away from "Up"
  // by 1.125 times the difference between them. Nothing is clamped, so it may leave [0, 1].
  double gap = std::fabs(weights[Up] - weights[Down]);
  if (gap > 0) {
    gap = gap * 2.25 * 0.5;
    weights[Down] += weights[Up] > weights[Down] ? -gap : gap;
  }
}
