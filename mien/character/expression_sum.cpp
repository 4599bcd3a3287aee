#include "mien/character/expression_sum.h"

#include "mien/character/character_face.h"
#include "mien/character/define_state.h"
#include "mien/face/face.h"

#include <cmath>

namespace mien {

using detail::Terms;

ExpressionSum::ExpressionSum(const VCharacterFace& character, const VFace& face)
    : character_(&character), face_(&face) {
  for (int e = 0; e < face.mExpressions.GetCount(); ++e) defined_[e] = detail::IsDefined(character, e);
}

// out = (sum over templates) + (sum over expressions), each summed separately from 0.0.
void ExpressionSum::Solve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                          const VFaceExpressionState& expressions) const {
  if (!detail::HasShapes(*character_)) return out.Clear();

  // An expression that the character does not define drives it through the templates. Its direct term is a
  // sum of zeros, which changes nothing unless the weight is infinite or NaN.
  VFaceExpressionState through_templates = expressions;
  Terms expression_terms;
  for (int e = 0; e < face_->mExpressions.GetCount(); ++e) {
    if (defined_[e]) through_templates.mWeights[e] = 0;
    if (defined_[e] || !std::isfinite(expressions.mWeights[e]))
      expression_terms.Add(character_->mExpressionStates[e], expressions.mWeights[e]);
  }
  VFaceTemplateState all_templates = templates, of_expressions;
  face_->Expression2TemplateSolve(face_->mExpressions, &of_expressions, &through_templates);
  all_templates.Add(&of_expressions);
  Terms template_terms;
  template_terms.AddTemplates(*character_, *face_, all_templates);

  detail::SumParts(out, *character_, [&](double* sum, int part, int shapes) {
    template_terms.Sum(sum, part, shapes);
    if (expression_terms.count == 0) return; // no sum is -0.0, so adding 0.0 changes nothing
    double direct[500];
    expression_terms.Sum(direct, part, shapes);
    for (int s = 0; s < shapes; ++s) sum[s] += direct[s];
  });
}

} // namespace mien
