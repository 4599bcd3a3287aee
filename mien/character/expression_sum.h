#pragma once

#include "mien/base/export.h"
#include "mien/character/character_state.h"
#include "mien/face/expression_state.h"
#include "mien/face/template_state.h"

class VCharacterFace;
class VFace;

namespace mien {

/// Turns template and expression weights into a character's shape weights, frame by frame. Gives the same
/// bits as VCharacterFace::Actor2CharacterSolve, but for the expressions of any face instead of the global
/// face.
///
/// Give each character its own VFace, whose catalogue contains the character's expressions, and a
/// VCharacterFace made for that face. Any number of characters can then be solved at the same time, on any
/// threads.
class MIEN_API ExpressionSum {
public:
  /// Finds out which of the face's expressions, at most 100 (not checked), the character defines. The
  /// character's define state must belong to `face` (VCharacterFace::SetupDefineState). Both are kept by
  /// address and must outlive this object. After a change of the parts, the catalogue or a definition,
  /// construct a new one; that allocates nothing.
  ExpressionSum(const VCharacterFace& character, const VFace& face);
  ExpressionSum(VCharacterFace&& character, const VFace& face) = delete;
  ExpressionSum(const VCharacterFace& character, VFace&& face) = delete;
  ExpressionSum(VCharacterFace&& character, VFace&& face) = delete;

  /// Clears `out` and fills the columns of the shapes that the parts have with two sums of weight * define
  /// state: over the templates and over the expressions. An expression that the character defines drives it
  /// directly; any other expression drives it through the templates that the expression consists of, and
  /// makes every shape NaN if its weight is infinite or NaN. Allocates nothing, checks nothing, and writes
  /// only `out`, which must not be one of the define states.
  void Solve(VCharacterFaceState& out, const VFaceTemplateState& templates,
             const VFaceExpressionState& expressions) const;

private:
  const VCharacterFace* character_;
  const VFace* face_;
  bool defined_[100] = {}; // by expression
};

} // namespace mien
