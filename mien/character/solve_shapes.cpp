#include "mien/character/character_face.h"
#include "mien/character/weighted_sum.h"
#include "mien/face/face.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>

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

  /// sum[s] = the sum of weight * state, term by term from 0.0, for each shape s of a part.
  void Sum(double* sum, int part, int shapes) const {
    const double* rows[kMost];
    for (int k = 0; k < count; ++k) rows[k] = states[k]->mWeights[part];
    SumWeightedRows(sum, shapes, rows, weights, count);
  }
};

void AddTemplates(Terms& terms, const VCharacterFace& character, const VFaceTemplateState& templates) {
  const VFace& face = *GetGlobalFace();
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t)
      terms.Add(character.mTemplateStates[f][t], templates.mParts[f].mWeights[t]);
}

/// Clears what `sum(row, part, shapes)`, called for each part that has shapes, leaves; what it sums need not be cleared first.
template <class Sum>
void SumParts(VCharacterFaceState& out, const VCharacterFace& character, Sum sum) {
  const int parts = character.mParts.GetCount();
  for (int p = 0; p < parts; ++p) {
    const int shapes = character.mParts[p]->mShapes.GetCount();
    if (shapes > 0) sum(out.mWeights[p], p, shapes);
    std::fill(out.mWeights[p] + shapes, std::end(out.mWeights[p]), 0.0);
  }
  std::memset(&out.mWeights[parts], 0, static_cast<std::size_t>(15 - parts) * sizeof out.mWeights[0]); // 0.0

  for (VCharacterFaceClusterSetState& set : out.mClusters)
    for (int c = 0; c < set.mClusters.GetCount(); ++c) set.mClusters[c]->ClearState();
}

void SumParts(VCharacterFaceState& out, const VCharacterFace& character, const Terms& terms) {
  SumParts(out, character, [&](double* sum, int part, int shapes) { terms.Sum(sum, part, shapes); });
}

} // namespace

void VCharacterFace::ActorTemplate2CharacterSolve(VCharacterFaceState& out,
                                                  const VFaceTemplateState& templates) const {
  if (!HasShapes(*this)) return out.Clear();
  Terms terms;
  AddTemplates(terms, *this, templates);
  SumParts(out, *this, terms);
}

void VCharacterFace::ActorExpression2CharacterSolve(VCharacterFaceState& out,
                                                    const VFaceExpressionState& expressions) const {
  if (!HasShapes(*this)) return out.Clear();
  Terms terms;
  for (int e = 0; e < GetGlobalFace()->mExpressions.GetCount(); ++e)
    terms.Add(mExpressionStates[e], expressions.mWeights[e]);
  SumParts(out, *this, terms);
}

// out = (sum over templates) + (sum over expressions), each summed by itself from 0.0.
void VCharacterFace::Actor2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                                          const VFaceExpressionState& expressions) const {
  if (!HasShapes(*this)) return out.Clear();
  const VFace& face = *GetGlobalFace();

  // What the character does not define as an expression of its own, it shows through the templates. Directly it is then
  // a sum of zeros, which changes nothing unless its weight is infinite or not a number.
  VFaceExpressionState through_templates = expressions;
  Terms expression_terms;
  for (int e = 0; e < face.mExpressions.GetCount(); ++e) {
    const bool used = IsExpressionUsed(e);
    if (used) through_templates.mWeights[e] = 0;
    if (used || !std::isfinite(expressions.mWeights[e]))
      expression_terms.Add(mExpressionStates[e], expressions.mWeights[e]);
  }
  VFaceTemplateState all_templates = templates, of_expressions;
  face.Expression2TemplateSolve(face.mExpressions, &of_expressions, &through_templates);
  all_templates.Add(&of_expressions);
  Terms template_terms;
  AddTemplates(template_terms, *this, all_templates);

  SumParts(out, *this, [&](double* sum, int part, int shapes) {
    template_terms.Sum(sum, part, shapes);
    if (expression_terms.count == 0) return; // no sum is -0.0, so adding 0.0 changes nothing
    double direct[500];
    expression_terms.Sum(direct, part, shapes);
    for (int s = 0; s < shapes; ++s) sum[s] += direct[s];
  });
}

void VCharacterFace::CharacterExpression2CharacterSolve(VCharacterFaceState& out,
                                                        const VArrayTemplate<double, 16>& weights) const {
  SumParts(out, *this, [&](double* sum, int part, int shapes) {
    const double* rows[Terms::kMost];
    double row_weights[Terms::kMost], so_far[500];
    int count = 0;
    const auto add = [&](const double* row, double weight) {
      rows[count] = row;
      row_weights[count] = weight;
      ++count;
    };
    for (int k = 0; k < mCharacterExpressionCount; ++k) {
      if (count ==
          Terms::kMost) { // goes on from the sum so far; it is not -0.0, so 0.0 + sum * 1.0 has its bits
        SumWeightedRows(sum, shapes, rows, row_weights, count);
        std::copy_n(sum, shapes, so_far);
        count = 0;
        add(so_far, 1.0);
      }
      add(mCharacterExpressionStates[k]->mWeights[part], weights[k]);
    }
    SumWeightedRows(sum, shapes, rows, row_weights, count);
  });
}
