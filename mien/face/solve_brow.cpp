#include "mien/face/face.h"
#include "mien/face/pose.h"
#include "mien/face/slots.h"

#include <cmath>
#include <initializer_list>

using namespace mien::detail;

// Each template by inverse-distance weighting between "at rest" and "at the template": 1 on the template's
// pose, 0.5 where it is as far away as the whole brow is from rest. "Up" is measured on the middle of the
// brow, "Down" on its inner end, which a frown draws down and in.
void VFace::Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* face) const {
  using namespace brow;
  // clang-format off
  constexpr bool kMeasuredOn[][3] = {{false, true,  false},  // Up: MidBrow
                                     {true,  false, false}}; // Down: InBrow
  // clang-format on
  const VFacePart& definition = mParts[part];
  const VFacePartState* const s = &face->mParts[part];
  double* const weights = result->mParts[part].mWeights;

  const VFacePartState rest = RestPose(definition);
  const double from_rest = Face2TemplateAIDistance(&rest, s, definition.mPointCount, false);
  for (const Template j : {Up, Down}) {
    const VFacePartState pose = TemplatePose(definition, j);
    const double from_template = Face2TemplateAIDistanceExclusive(&pose, s, 3, kMeasuredOn[j], false);
    weights[j] = from_rest / (from_rest + from_template);
  }

  // Away from rest both weights rise, whichever way the brow went. "Down" is therefore moved away from "Up", by 1.125
  // times the gap between them; nothing is clamped, so it may leave [0, 1].
  double gap = std::fabs(weights[Up] - weights[Down]);
  if (gap > 0) {
    gap = gap * 2.25 * 0.5;
    weights[Down] += weights[Up] > weights[Down] ? -gap : gap;
  }
}
