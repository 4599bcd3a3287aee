#pragma once

// Simple implementations of the solves to shape weights, step by step as they are defined, each step with its
// own state; and definitions and weights to compare them on.

#include "mien/character/character_face.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

namespace tests {

struct PlainState {
  Weights weights = {};

  void Add(const PlainState& other) {
    for (int p = 0; p < 15; ++p)
      for (int s = 0; s < 500; ++s) weights[p][s] += other.weights[p][s];
  }
};

template <class Term>
void ForEachShape(const VCharacterFace& character, Term term) {
  for (int p = 0; p < character.mParts.GetCount(); ++p)
    for (int s = 0; s < character.mParts[p]->mShapes.GetCount(); ++s) term(p, s);
}

inline void PlainTemplateSolve(const VCharacterFace& character, const VFace& face, PlainState& out,
                               const VFaceTemplateState& templates) {
  ForEachShape(character, [&](int p, int s) {
    for (int f = 0; f < 9; ++f)
      for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t)
        out.weights[p][s] +=
            character.mTemplateStates[f][t]->mWeights[p][s] * templates.mParts[f].mWeights[t];
  });
}

inline void PlainExpressionSolve(const VCharacterFace& character, const VFace& face, PlainState& out,
                                 const VFaceExpressionState& expressions) {
  const int count = face.mExpressions.GetCount();
  ForEachShape(character, [&](int p, int s) {
    for (int e = 0; e < count; ++e)
      out.weights[p][s] += character.mExpressionStates[e]->mWeights[p][s] * expressions.mWeights[e];
  });
}

inline bool PlainIsUsed(const VCharacterFace& character, int expression) {
  bool used = false;
  ForEachShape(character, [&](int p, int s) {
    const double weight = character.mExpressionStates[expression]->mWeights[p][s];
    if (!(weight == 0)) used = true;
  });
  return used;
}

inline void PlainActorSolve(const VCharacterFace& character, const VFace& face, PlainState& out,
                            const VFaceTemplateState& templates, const VFaceExpressionState& expressions) {
  VFaceExpressionState x = expressions;
  VFaceTemplateState t1 = templates, t2;
  PlainState a;
  PlainExpressionSolve(character, face, a, x);
  for (int e = 0; e < face.mExpressions.GetCount(); ++e)
    if (PlainIsUsed(character, e)) x.mWeights[e] = 0;
  for (int e = 0; e < face.mExpressions.GetCount(); ++e)
    for (int f = 0; f < 9; ++f)
      for (int t = 0; t < face.mParts[f].mTemplates.GetCount(); ++t)
        t2.mParts[f].mWeights[t] +=
            x.mWeights[e] * face.mExpressions[e]->mTemplateState.mParts[f].mWeights[t];
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < 25; ++t) t1.mParts[f].mWeights[t] += t2.mParts[f].mWeights[t];
  PlainState b;
  PlainTemplateSolve(character, face, b, t1);
  out.Add(b);
  out.Add(a);
}

// --- Inputs

/// Every definition that the character has.
template <class Action>
inline void ForEachDefinition(const VCharacterFace& character, Action action) {
  for (const auto& states : character.mTemplateStates)
    for (int t = 0; t < states.GetCount(); ++t) action(*states[t]);
  for (int e = 0; e < character.mExpressionStates.GetCount(); ++e) action(*character.mExpressionStates[e]);
  for (int k = 0; k < character.mCharacterExpressionStates.GetCount(); ++k)
    action(*character.mCharacterExpressionStates[k]);
}

/// Definitions for the shapes, and NaN everywhere else, where nothing may be read.
inline void FillDefinitions(VCharacterFace& character, HardNumbers& numbers) {
  ForEachDefinition(character, [&](VCharacterFaceState& state) {
    ForEachShape(character, [&](int p, int s) { state.mWeights[p][s] = numbers.Weight(); });
    FillBeyondShapes(character, state, kNaN);
  });
}

/// Leaves every third expression to the templates, with zeros of both signs.
inline void UndefineSomeExpressions(VCharacterFace& character) {
  for (int e = 0; e < character.mExpressionStates.GetCount(); e += 3)
    ForEachShape(character, [&](int p, int s) {
      character.mExpressionStates[e]->mWeights[p][s] = (p + s) % 2 == 0 ? 0.0 : -0.0;
    });
}

inline void FillAll(VFaceTemplateState& state, HardNumbers& numbers) {
  for (VFacePartTemplateState& part : state.mParts)
    for (double& weight : part.mWeights) weight = numbers.Weight();
}

/// Weights for the templates of the default face, and NaN in the slots that it has no template for.
inline VFaceTemplateState TemplateWeights(HardNumbers& numbers) {
  VFaceTemplateState state;
  for (int f = 0; f < 9; ++f)
    for (int t = 0; t < 25; ++t)
      state.mParts[f].mWeights[t] =
          t < GetGlobalFace()->mParts[f].mTemplates.GetCount() ? numbers.Weight() : kNaN;
  return state;
}

/// Weights for `count` expressions, and NaN after them.
inline VFaceExpressionState ExpressionWeights(int count, HardNumbers& numbers) {
  VFaceExpressionState state;
  for (int e = 0; e < 100; ++e) state.mWeights[e] = e < count ? numbers.Weight() : kNaN;
  return state;
}

} // namespace tests
