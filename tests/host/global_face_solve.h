#pragma once

// A character's shape weights computed with the global face: its expressions are in that face's catalogue as
// long as this object exists, its define state in a character of that face, solved by
// VCharacterFace::Actor2CharacterSolve.

#include "host/character/character.h"
#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tests {

class GlobalFaceSolve {
public:
  /// `weights`: by expression of the character.
  GlobalFaceSolve(const mien::Character& character, const std::vector<double>& weights)
      : range_(character.range) {
    for (const mien::Character::Expression& expression : character.expressions)
      catalogue_.Add() = expression.templates;
    std::copy(weights.begin(), weights.end(), weights_.mWeights);
    face_ = std::make_unique<VCharacterFace>();
    for (const mien::Character::Part& part : character.parts)
      AddPart(*face_, static_cast<int>(part.shapes.size()));
    for (std::size_t f = 0; f < 9; ++f)
      for (std::size_t t = 0; t < character.templates[f].size(); ++t)
        Define(*face_->mTemplateStates[f][static_cast<int>(t)], character, character.templates[f][t]);
    for (std::size_t e = 0; e < character.expressions.size(); ++e)
      Define(*face_->mExpressionStates[static_cast<int>(e)], character, character.expressions[e].shapes);
  }

  /// Limits weights to the character's range.
  const Weights& Solve(const VFaceTemplateState& templates) {
    face_->Actor2CharacterSolve(state_, templates, weights_);
    if (range_)
      for (int p = 0; p < face_->mParts.GetCount(); ++p)
        for (int s = 0; s < face_->mParts[p]->mShapes.GetCount(); ++s)
          state_.mWeights[p][s] = std::clamp(state_.mWeights[p][s], range_->least, range_->most);
    return state_.mWeights;
  }

private:
  static void Define(VCharacterFaceState& state, const mien::Character& character,
                     const mien::ShapeWeights& weights) {
    for (const auto& [name, weight] : weights)
      for (std::size_t p = 0; p < character.parts.size(); ++p) {
        const std::vector<std::string>& shapes = character.parts[p].shapes;
        if (const auto at = std::find(shapes.begin(), shapes.end(), name); at != shapes.end())
          state.mWeights[p][at - shapes.begin()] = weight;
      }
  }

  CatalogueOnLoan catalogue_;
  std::unique_ptr<VCharacterFace> face_;
  VFaceExpressionState weights_;
  VCharacterFaceState state_;
  std::optional<mien::Character::Range> range_;
};

} // namespace tests
