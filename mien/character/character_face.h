#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/character_state.h"
#include "mien/character/part.h"
#include "mien/face/expression_state.h"
#include "mien/face/global_face.h"
#include "mien/face/template_state.h"

/// A character that the solved face drives: its parts with their shapes and clusters, and its define state,
/// which contains, for each template and each expression of the global face, the shape weights that it
/// produces at weight 1.
///
/// The define state may belong to another face, whose catalogue has other expressions. mien::ExpressionSum
/// then replaces Actor2CharacterSolve. ActorExpression2CharacterSolve, IsExpressionUsed and
/// ClearUsedExpression always refer to the global face's expressions and do not apply.
///
/// The host fills `mParts` (at most 15 parts of at most 500 shapes) and the define state through the members.
/// The solves allocate nothing, check nothing, and write only their results.
///
/// A character owns its parts and define states and destroys them. It does not destroy its character
/// expressions; only ExpressionDelete releases one. A copy shares all of them with its source, so only one of
/// the two may be destroyed while both list them: clear the lists of the other first.
class MIEN_API VCharacterFace {
public:
  /// With a cleared define state for the global face as it is now.
  VCharacterFace();
  /// With a cleared define state for `face`. Does not keep a reference to `face`.
  explicit VCharacterFace(const VFace& face);
  /// Shares the parts, define states and character expressions of the source.
  VCharacterFace(const VCharacterFace&) = default;
  /// Shares the parts, define states and character expressions of the source. Those listed before are not
  /// destroyed.
  VCharacterFace& operator=(const VCharacterFace&) = default;
  /// Destroys the parts and the define states, not the character expressions.
  virtual ~VCharacterFace();

  // --- The define state.

  /// Appends a cleared state for each template of each part, and for each expression, of the global face.
  /// After a change of the global face, call ClearDefineState first.
  void SetupDefineState();
  /// The same for any face.
  void SetupDefineState(const VFace& face);
  /// Destroys the states of all templates and expressions and empties their lists.
  void ClearDefineState();

  /// Whether the define state of an expression of the global face has any weight other than 0 (NaN included)
  /// on the shapes that the parts have. False for an index outside the catalogue.
  bool IsExpressionUsed(int expression) const;

  /// Sets the weights of all used expressions to 0.
  void ClearUsedExpression(VFaceExpressionState* weights) const;

  // --- Parts and the character's own expressions.

  /// The number of a part's shapes; of a cluster part, of its cluster poses. 0 for an index outside `mParts`
  /// and for a part of any other type.
  int GetPartShapeCount(int part) const;

  /// Writes to `out` the first of `base`, "`base` 1" ... "`base` 99" that no part has as its name, ignoring
  /// case. False if all hundred are taken; `out` then contains the last one. `out` must have room for `base`,
  /// a blank, two digits and the terminator.
  bool GetUniquePartName(const char* base, char* out) const;

  /// Appends a cleared character expression with value 0. Its index is the previous count.
  void ExpressionCreate();

  /// Removes a character expression; those after it move down by one. False for an index outside the list.
  bool ExpressionDelete(int index);

  // --- Solves to shape weights. They clear `out`, and fill the columns of the shapes that the parts have.
  // --- `out` must not be one of the states that they sum.

  /// The sum over the templates of weight * define state, in the order of face parts and templates.
  void ActorTemplate2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates) const;

  /// The sum over the global face's expressions of weight * define state, in catalogue order.
  void ActorExpression2CharacterSolve(VCharacterFaceState& out,
                                      const VFaceExpressionState& expressions) const;

  /// Both sums. An expression that the character defines drives it directly; any other expression drives it
  /// through the templates that the expression consists of, and makes every shape NaN if its weight is
  /// infinite or NaN.
  void Actor2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                            const VFaceExpressionState& expressions) const;

  /// The sum over the character's own expressions. `weights` has at least as many elements.
  void CharacterExpression2CharacterSolve(VCharacterFaceState& out,
                                          const VArrayTemplate<double, 16>& weights) const;

  // --- Solves to clusters.

  /// Writes the clusters of every cluster part p to `sets[p]`. The sets of other parts are unchanged.
  void Character2ClusterSolve(VCharacterFaceClusterSetState* sets, const VCharacterFaceState& state) const;

  /// Solves one cluster part: blends the local transforms from the rest pose towards the poses of the shapes
  /// that drive clusters (translations linearly, rotations as Euler offsets, scalings geometrically), then
  /// computes the global ones. Does nothing if the part's cluster solve is not enabled. The rest set and the
  /// sets of the shapes that drive clusters must have at least as many clusters as `set`, and share none with
  /// it.
  void Character2ClusterSolve(VCharacterFaceClusterSetState* set, const VCharacterFaceState& state,
                              int part) const;

  /// An index in this list is a row of a state. No null elements. Owned.
  VArrayTemplate<VCharacterFacePart*, 16> mParts;
  /// The define state by part and template of the face. Owned.
  VArrayTemplate<VCharacterFaceState*, 16> mTemplateStates[9];
  /// The define state by expression of the face. Owned.
  VArrayTemplate<VCharacterFaceState*, 16> mExpressionStates;
  /// The character's own expressions. Not destroyed with the character.
  VArrayTemplate<VCharacterFaceState*, 16> mCharacterExpressionStates;
  /// The number of character expressions.
  int mCharacterExpressionCount = 0;
  /// One value per character expression, for the host's use. ExpressionCreate and ExpressionDelete keep its
  /// length.
  VArrayTemplate<double, 16> mCharacterExpressionValues;
  /// A working state for the host's use; no solve reads or writes it.
  VCharacterFaceState mState;
};
