#pragma once

/// @file
/// How the solves to shape weights read a define state and sum it. Not installed.

#include "mien/character/character_face.h"
#include "mien/character/weighted_sum.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace mien::detail {

/// Whether any part has a shape. Without one the solves read nothing: definitions and weights may then be
/// missing.
inline bool HasShapes(const VCharacterFace& character) {
  for (int p = 0; p < character.mParts.GetCount(); ++p)
    if (character.mParts[p]->mShapes.GetCount() > 0) return true;
  return false;
}

/// Whether the character defines an expression: any weight other than 0 (NaN included) on the shapes of its
/// parts.
bool IsDefined(const VCharacterFace& character, int expression);

/// Define states and their weights, to be summed in order.
struct Terms {
  // All templates for which a face can have weights. It can have fewer expressions.
  static constexpr int kMost = 9 * 25;
  const VCharacterFaceState* states[kMost];
  double weights[kMost];
  int count = 0;

  void Add(const VCharacterFaceState* state, double weight) {
    states[count] = state;
    weights[count] = weight;
    ++count;
  }

  /// Adds the terms of all templates of the face.
  void AddTemplates(const VCharacterFace& character, const VFace& face, const VFaceTemplateState& templates);

  /// sum[s] = the sum of weight * state, term by term from 0.0, for each shape s of a part.
  void Sum(double* sum, int part, int shapes) const {
    const double* rows[kMost];
    for (int k = 0; k < count; ++k) rows[k] = states[k]->mWeights[part];
    SumWeightedRows(sum, shapes, rows, weights, count);
  }
};

/// Calls `sum(row, part, shapes)` for each part that has shapes, and clears everything else in `out`. `sum`
/// gets rows that are not cleared.
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

inline void SumParts(VCharacterFaceState& out, const VCharacterFace& character, const Terms& terms) {
  SumParts(out, character, [&](double* sum, int part, int shapes) { terms.Sum(sum, part, shapes); });
}

} // namespace mien::detail
