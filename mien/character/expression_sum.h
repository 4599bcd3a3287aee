#pragma once

#include "mien/base/export.h"
#include "mien/character/character_state.h"
#include "mien/face/expression_state.h"
#include "mien/face/template_state.h"

class VCharacterFace;
class VFace;

namespace mien {

/// Turns template and expression weights, frame after frame, into a character's shape weights:
/// VCharacterFace::Actor2CharacterSolve, to the bit, for the expressions of any face instead of the global one's.
///
/// With a VFace for each, whose catalogue are the expressions of one character, and a VCharacterFace made for it, any number
/// of characters are solved at once, each with expressions of its own, on any threads.
class MIEN_API ExpressionSum {
public:
  /// Finds out which of the face's expressions the character defines. The character's define state is that of `face`
  /// (VCharacterFace::SetupDefineState). Both are kept by their addresses and must outlive this object; after a change of
  /// the parts, of the catalogue, or of a definition, make a new one, which allocates nothing.
  ExpressionSum(const VCharacterFace& character, const VFace& face);

  /// Clears `out` and fills the columns of the shapes that the parts have: the sum over the templates of weight * define
  /// state, and that over the expressions. An expression that the character defines drives it directly, any other one
  /// through the templates that it stands for. Allocates nothing, checks nothing, and writes only `out`, which must not
  /// be one of the define states. At most 100 expressions.
  void Solve(VCharacterFaceState& out, const VFaceTemplateState& templates,
             const VFaceExpressionState& expressions) const;

private:
  const VCharacterFace* character_;
  const VFace* face_;
  bool defined_[100] = {}; // by expression
};

} // namespace mien
