#pragma once

#include "host/animation/eye_angles.h"
#include "host/character/character.h"
#include "host/character/gaze_shapes.h"
#include "mien/character/character_face.h"
#include "mien/character/expression_sum.h"
#include "mien/face/expression_state.h"
#include "mien/face/face.h"
#include "mien/face/template_state.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// Weights by the names of a character's expressions.
using ExpressionWeights = std::vector<std::pair<std::string, double>>;

/// Turns template weights, frame after frame, into the shape weights and cluster transforms of a character. A
/// frame allocates nothing. Any number may exist at once, each used by one thread at a time: they share
/// nothing.
class CharacterSolver {
public:
  /// `character` is as ReadCharacter returns it: at most 99 expressions, their names different and of 1 to
  /// 255 bytes. `expressions` is added to every frame. Throws InputError for an expression that the character
  /// does not have.
  explicit CharacterSolver(const Character& character, const ExpressionWeights& expressions = {});
  CharacterSolver(const CharacterSolver&) = delete;
  CharacterSolver& operator=(const CharacterSolver&) = delete;

  /// From now on these shapes, by their names among the 52, have the weights that Solve gets, and not those
  /// that templates produce. Shapes of any spelling; expressions still add to them.
  void UseFitted(const std::vector<std::string>& names);

  /// `fitted` (size: names of UseFitted) are the weights of these. `eyes` adds weight to the shapes that follow them (GazeShape); null where it is not known where they
  /// look. What the character makes of a frame: `mWeights[p][s]` is shape s of part p, `mClusters[p]` the part's
  /// clusters. Valid until the next call.
  const VCharacterFaceState& Solve(const VFaceTemplateState& templates, const Eyes* eyes = nullptr,
                                   std::span<const double> fitted = {});

private:
  void AddParts(const Character& character);
  void AddDefinitions(const Character& character);

  /// Has the character's expressions in its catalogue.
  std::unique_ptr<VFace> face_ = std::make_unique<VFace>();
  std::unique_ptr<VCharacterFace> character_;
  std::optional<ExpressionSum> shapes_;
  std::unique_ptr<VCharacterFaceState> state_ = std::make_unique<VCharacterFaceState>();
  VFaceExpressionState expressions_;
  std::optional<Character::Range> range_;
  std::vector<GazeShape> gaze_;

  struct FittedShape {
    std::size_t part, shape;
    std::size_t fitted; // index among the fitted ones
    double expressions; // what expressions add
  };
  std::vector<FittedShape> fitted_;
};

} // namespace mien
