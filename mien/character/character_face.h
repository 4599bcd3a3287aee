#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/character/character_state.h"
#include "mien/character/part.h"
#include "mien/face/expression_state.h"
#include "mien/face/global_face.h"
#include "mien/face/template_state.h"

/// A character that the solved face drives: its parts with their shapes and clusters, and for each template and each
/// expression of the global face the shape weights that it produces at full weight (the define state).
///
/// The define state may be that of another face instead, whose catalogue has other expressions. Then mien::ExpressionSum
/// takes the place of Actor2CharacterSolve; nor do ActorExpression2CharacterSolve, IsExpressionUsed and ClearUsedExpression
/// apply, which mean the global face's expressions.
///
/// The host fills `mParts` (at most 15, of at most 500 shapes each) and the define state through the members. The
/// solves allocate nothing, check nothing, and write only their results.
///
/// A character owns its parts and define states and destroys them, but not its character expressions, of which only
/// ExpressionDelete releases one. A copy shares all of them with its source, so at most one of the two may be destroyed
/// while both list them: clear the lists of the other first.
class MIEN_API VCharacterFace {
public:
  /// With a cleared define state for the global face as it is now.
  VCharacterFace();
  /// With a cleared define state for `face`, which is read here and not kept.
  explicit VCharacterFace(const VFace& face);
  VCharacterFace(const VCharacterFace&) = default;
  VCharacterFace& operator=(const VCharacterFace&) = default;
  virtual ~VCharacterFace();

  // --- The define state.

  /// Appends a cleared state for each template of each part, and for each expression, of the global face. After a
  /// change of the global face: ClearDefineState first.
  void SetupDefineState();
  void SetupDefineState(const VFace& face); ///< The same for any face.
  void ClearDefineState();

  /// Whether the define state of the global face's expression has any weight but 0 (a NaN is one) on the shapes that
  /// the parts have. False for an index that the catalogue has not.
  bool IsExpressionUsed(int expression) const;

  /// Sets the weights of all used expressions to 0.
  void ClearUsedExpression(VFaceExpressionState* weights) const;

  // --- Parts and the character's own expressions.

  /// The shapes of a part; of a cluster part, its cluster poses. 0 for an index that the character has not, and for a
  /// part of another type.
  int GetPartShapeCount(int part) const;

  /// Writes into `out` the first of `base`, "`base` 1" ... "`base` 99" that no part is named, whatever the case of the
  /// letters. False where all hundred are taken; `out` then holds the last one. `out` must have room for `base`, a
  /// blank, two digits and the terminator.
  bool GetUniquePartName(const char* base, char* out) const;

  /// Appends a cleared character expression, value 0. Its index is the former count.
  void ExpressionCreate();

  /// Removes a character expression; those behind it move down. False for an index that there is not.
  bool ExpressionDelete(int index);

  // --- Solves to shape weights. They clear `out`, and fill the columns of the shapes that the parts have.
  // --- `out` must not be one of the states that they sum.

  /// The sum over the templates of weight * define state, in the order of face parts and templates.
  void ActorTemplate2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates) const;

  /// The sum over the global face's expressions of weight * define state, in catalogue order.
  void ActorExpression2CharacterSolve(VCharacterFaceState& out,
                                      const VFaceExpressionState& expressions) const;

  /// Both: an expression that the character defines drives it directly, any other one through the templates that it
  /// stands for.
  void Actor2CharacterSolve(VCharacterFaceState& out, const VFaceTemplateState& templates,
                            const VFaceExpressionState& expressions) const;

  /// The sum over the character's own expressions; `weights` holds at least as many.
  void CharacterExpression2CharacterSolve(VCharacterFaceState& out,
                                          const VArrayTemplate<double, 16>& weights) const;

  // --- Solves to clusters.

  /// For every cluster part p, its clusters into `sets[p]`; the sets of other parts stay.
  void Character2ClusterSolve(VCharacterFaceClusterSetState* sets, const VCharacterFaceState& state) const;

  /// One cluster part: local transforms blended from the rest pose towards the poses of the shapes that drive clusters
  /// (translations linearly, rotations as Euler offsets, scalings geometrically), then the global ones. Leaves a part
  /// whose cluster solve is not enabled. The rest set, and the sets of the shapes that drive
  /// clusters, have at least the clusters of `set` and share none with it.
  void Character2ClusterSolve(VCharacterFaceClusterSetState* set, const VCharacterFaceState& state,
                              int part) const;

  VArrayTemplate<VCharacterFacePart*, 16>
      mParts; ///< Owned. A list index is a row of a state. No null elements.
  VArrayTemplate<VCharacterFaceState*, 16> mTemplateStates[9]; ///< By face part and template. Owned.
  VArrayTemplate<VCharacterFaceState*, 16> mExpressionStates;  ///< By the global face's expression. Owned.
  VArrayTemplate<VCharacterFaceState*, 16> mCharacterExpressionStates;
  int mCharacterExpressionCount = 0;
  VArrayTemplate<double, 16> mCharacterExpressionValues; ///< The host's; kept in step with the list.
  VCharacterFaceState mState;                            ///< The host's working state; no solve uses it.
};
