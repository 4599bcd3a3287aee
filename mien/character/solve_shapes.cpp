#include "mien/character/character_face.h"
#include "mien/character/define_state.h"
#include "mien/character/expression_sum.h"
#include "mien/character/weighted_sum.h"
#include "mien/face/face.h"

#include <algorithm>

using namespace mien;
using namespace mien::detail;

void VCharacterFace::ActorTemplate2CharacterSolve(VCharacterFaceState& out,
                                                  const VFaceTemplateState& templates) const {
  if (!HasShapes(*this)) return out.Clear();
  Terms terms;
  terms.AddTemplates(*this, *GetGlobalFace(), templates);
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

void VCharacterFace::Actor2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                                          const VFaceExpressionState& expressions) const {
  ExpressionSum(*this, *GetGlobalFace()).Solve(out, templates, expressions);
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
      // Continue from the sum so far. It is not -0.0, so 0.0 + sum * 1.0 has the same bits.
      if (count == Terms::kMost) {
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
