#include "mien/face/face.h"
#include "mien/face/pose.h"

#include <cmath>

// Each template by inverse-distance weighting between "at rest" and "at the template": 1 on the template's
// pose, 0.5 where it is as far away as the whole brow is from rest. "Up" is measured on the middle of the
// brow, "Down" on its inner end, which a frown draws down and in.
void VFace::Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* face) const {
  enum Template { Up, Down, Templates };
  constexpr bool kMeasuredOn[Templates][3] = {{false, true, false},
                                              {true, false, false}}; // InBrow, MidBrow, OutBrow
  const VFacePart& brow = mParts[part];
  const VFacePartState* const s = &face->mParts[part];
  double* const weights = result->mParts[part].mWeights;

  const VFacePartState rest = mien::RestPose(brow);
  const double from_rest = Face2TemplateAIDistance(&rest, s, brow.mPointCount, false);
  for (int j = 0; j < Templates; ++j) {
    const VFacePartState pose = mien::TemplatePose(brow, j);
    const double from_template = Face2TemplateAIDistanceExclusive(&pose, s, 3, kMeasuredOn[j], false);
    weights[j] = from_rest / (from_rest + from_template);
  }

  // A brow near neither pose is as near to the one as to the other. The gap between the weights, widened by
  // an eighth, moves "Down" away from "Up" or towards and past it; nothing is clamped, so "Down" may leave
  // [0, 1].
  double gap = std::fabs(weights[Up] - weights[Down]);
  if (gap > 0) {
    gap = gap * 2.25 * 0.5;
    weights[Down] += weights[Up] > weights[Down] ? -gap : gap;
  }
}
