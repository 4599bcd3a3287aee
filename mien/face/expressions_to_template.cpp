#include "mien/face/face.h"

// Only the template slots that this face has are summed. Expressions at weight 0 are included, and each
// weight is summed in expression order.
void VFace::Expression2TemplateSolve(const VArrayTemplate<VFaceExpression*, 16>& expressions,
                                     VFaceTemplateState* result, const VFaceExpressionState* weights) const {
  result->Clear();
  for (int k = 0; k < expressions.GetCount(); ++k) {
    const double weight = weights->mWeights[k];
    for (int p = 0; p < 9; ++p) {
      const double* const from = expressions[k]->mTemplateState.mParts[p].mWeights;
      double* const to = result->mParts[p].mWeights;
      for (int j = 0; j < mParts[p].mTemplates.GetCount(); ++j) to[j] += weight * from[j];
    }
  }
}
