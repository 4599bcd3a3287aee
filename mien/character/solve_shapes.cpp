#include "mien/character/character_face.h"
#include "mien/character/weighted_sum.h"
#include "mien/face/face.h"

#include <algorithm>

using namespace mien::detail;

namespace {

/// Without a column to fill, nothing is read: definitions and weights may then be missing.
bool HasShapes(const VCharacterFace& character) {
  for (int p = 0; p < character.mParts.GetCount(); ++p)
    if (character.mParts[p]->mShapes.GetCount() > 0) return true;
  return false;
}

/// Define states and their weights, to be summed in order.
struct Terms {
  static constexpr int kMost =
      9 * 25; // all templates that a face can have weights for; more than its expressions
  const VCharacterFaceState* states[kMost];
  double weights[kMost];
  int count = 0;

  void Add(const VCharacterFaceState* state, double weight) {
    states[count] = state;
    weights[count] = weight;
    ++count;
  }

  /// sum[s] += weight * state, term by term, for each shape s of a part.
  void AddTo(double* sum, int part, int shapes) const {
    const double* rows[kMost];
    for (int k = 0; k < count; ++k) rows[k] = states[k]->mWeights[part];
    AddWeightedRows(sum, shapes, rows, weights, count);
  }
};

void AddTemplates(Terms& terms, const VCharacterFace& character, const VFaceTemplateState& templates) {
  const VFace& face = *GetGlobalFace();
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t)
      terms.Add(character.mTemplateStates[f][t], templates.mParts[f].mWeights[t]);
}

void AddExpressions(Terms& terms, const VCharacterFace& character, const VFaceExpressionState& expressions) {
  for (int e = 0; e < GetGlobalFace()->mExpressions.GetCount(); ++e)
    terms.Add(character.mExpressionStates[e], expressions.mWeights[e]);
}

} // namespace

void VCharacterFace::ActorTemplate2CharacterSolve(VCharacterFaceState& out,
                                                  const VFaceTemplateState& templates) const {
  out.Clear();
  if (!HasShapes(*this)) return;
  Terms terms;
  AddTemplates(terms, *this, templates);
  for (int p = 0; p < mParts.GetCount(); ++p) terms.AddTo(out.mWeights[p], p, mParts[p]->mShapes.GetCount());
}

void VCharacterFace::ActorExpression2CharacterSolve(VCharacterFaceState& out,
                                                    const VFaceExpressionState& expressions) const {
  out.Clear();
  if (!HasShapes(*this)) return;
  Terms terms;
  AddExpressions(terms, *this, expressions);
  for (int p = 0; p < mParts.GetCount(); ++p) terms.AddTo(out.mWeights[p], p, mParts[p]->mShapes.GetCount());
}

// out = (sum over templates) + (sum over expressions), each summed by itself from 0. The former is summed in place: from
// a cleared 0.0 its bits are the same, since a sum that starts there never becomes -0.0.
void VCharacterFace::Actor2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                                          const VFaceExpressionState& expressions) const {
  out.Clear();
  if (!HasShapes(*this)) return;

  // What the character does not define as an expression of its own, it shows through the templates.
  VFaceExpressionState through_templates = expressions;
  ClearUsedExpression(&through_templates);
  VFaceTemplateState all_templates = templates, of_expressions;
  const VFace& face = *GetGlobalFace();
  face.Expression2TemplateSolve(face.mExpressions, &of_expressions, &through_templates);
  all_templates.Add(&of_expressions);

  Terms template_terms, expression_terms;
  AddTemplates(template_terms, *this, all_templates);
  AddExpressions(expression_terms, *this, expressions);

  for (int p = 0; p < mParts.GetCount(); ++p) {
    double* const sum = out.mWeights[p];
    const int shapes = mParts[p]->mShapes.GetCount();
    template_terms.AddTo(sum, p, shapes);
    if (expression_terms.count == 0) continue; // adding 0.0 changes nothing
    double direct[500];
    std::fill_n(direct, shapes, 0.0);
    expression_terms.AddTo(direct, p, shapes);
    for (int s = 0; s < shapes; ++s) sum[s] += direct[s];
  }
}

void VCharacterFace::CharacterExpression2CharacterSolve(VCharacterFaceState& out,
                                                        const VArrayTemplate<double, 16>& weights) const {
  out.Clear();
  if (!HasShapes(*this)) return;
  for (int first = 0; first < mCharacterExpressionCount; first += Terms::kMost) {
    Terms terms;
    for (int k = first; k < std::min(first + Terms::kMost, mCharacterExpressionCount); ++k)
      terms.Add(mCharacterExpressionStates[k], weights[k]);
    for (int p = 0; p < mParts.GetCount(); ++p)
      terms.AddTo(out.mWeights[p], p, mParts[p]->mShapes.GetCount());
  }
}
