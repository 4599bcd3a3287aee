#include "mien/base/elementary.h"
#include "mien/face/face.h"
#include "mien/face/pose.h"

// An earlier mouth solve, kept beside the one in use: it distributes a total of at most 1 among all templates
// by how well the direction of the lips' outline agrees with each template's. The rest pose takes a share of
// the total but has no weight.
void VFace::Face2TemplateSolveMouth(VFaceTemplateState* result, const VFaceState* face) const {
  constexpr int kLipPoints = 6;
  const VFacePart& mouth = mParts[0];
  const int templates = mouth.mTemplates.GetCount();
  const auto agreement = [&](const VFacePartState& pose) {
    return mien::Exp(3.0 * mien::Log(Face2TemplateAIAngle(&pose, &face->mParts[0], kLipPoints, true)));
  };

  double agreements[25];
  double sum = 0;
  for (int j = 0; j < templates; ++j) {
    agreements[j] = agreement(mien::detail::TemplatePose(mouth, j));
    sum += agreements[j];
  }
  sum += agreement(mien::detail::RestPose(mouth));
  if (!(sum > 0)) return;
  for (int j = 0; j < templates; ++j) result->mParts[0].mWeights[j] = agreements[j] / sum;
}
