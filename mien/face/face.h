#pragma once

#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/blend_state.h"
#include "mien/face/expression.h"
#include "mien/face/expression_state.h"
#include "mien/face/face_state.h"
#include "mien/face/global_face.h"
#include "mien/face/part.h"
#include "mien/face/template_state.h"

extern template class MIEN_API VArrayTemplate<VFaceExpression*, 16>;

/// The anatomical face between performer and character: nine parts in a fixed order and a catalogue of expressions.
///
/// | index | part                      | points                                   | templates                      |
/// |-------|---------------------------|------------------------------------------|--------------------------------|
/// | 0     | Mouth                     | LeftMouth, LeftUpperMouth,               | Open, Whistle, CornersUpR,     |
/// |       |                           | RightUpperMouth, RightMouth,             | CornersUpL, CornersDownR,      |
/// |       |                           | RightLowerMouth, LeftLowerMouth,         | CornersDownL, Square           |
/// |       |                           | ChinCenter                               |                                |
/// | 1, 2  | LeftBrow, RightBrow       | InBrow, MidBrow, OutBrow                 | Up, Down                       |
/// | 3, 4  | LeftEye, RightEye         | InEye, UpperEye, OutEye, LowerEye        | Close, Squint, WideOpen        |
/// | 5, 6  | LeftCheek, RightCheek     | InUpperCheek, MidLowerCheek              | Up, Out                        |
/// | 7, 8  | LeftNostril, RightNostril | Nostril                                  | Up                             |
///
/// x grows towards the face's own left, y upward, z out of the face. Every solve addresses parts, points and
/// templates by these indices; a face populated otherwise is not supported.
///
/// The solves read the face and their inputs and write only their results. Pointers must be valid, and a
/// result must not be one of its sources. No argument is checked, nothing is reported, nothing is allocated.
///
/// A face owns its expressions and deletes them; a copy shares expressions and templates with its source, so at most one
/// of the two may be destroyed while both list them: clear `mExpressions` and every part's `mTemplates` of the other.
class MIEN_API VFace {
public:
  /// Builds the default face, its catalogue empty.
  VFace();
  VFace(const VFace&) = default;
  VFace& operator=(const VFace&) = default;
  virtual ~VFace();

  // --- Names. Lookups are exact and case-sensitive; they answer the first match, or -1. No name may be null.

  int PartIndexByName(const char* name) const;
  int ExpressionIndexByName(const char* name) const;
  int ExpressionIndexByRetrieveName(const char* name) const;

  /// Writes into `out` the first of `base`, `base`1, `base`2 ... `base`99 whose name no expression has,
  /// whatever the case of the letters. False where all hundred are taken; `out` then holds the last one
  /// tried. `out` must have room for `base`, two digits and the terminator.
  bool RenameExpression(const char* base, char* out) const;

  /// Appends an expression under the name that RenameExpression finds for `name`, all weights 0, and answers
  /// its index. Answers -1 and changes nothing for an empty name, a catalogue of 99 expressions, no free
  /// name, or a name whose free form is longer than 255 characters. Not while another thread solves.
  int CreateExpression(const char* name);

  // --- From template weights to points.

  /// Each part's points = rest + the sum over its templates of weight * (template - rest). Weights are
  /// neither clamped nor normalised. Leaves `result->mGlobal`, and `mValid` false.
  void Template2FaceSolve(VFaceState* result, const VFaceTemplateState* weights) const;

  /// The rest pose into the nine parts; `mGlobal` and `mValid` stay.
  void SetToDefaultState(VFaceState* result) const;

  /// Points = rest + the sum over the three sources of weight * (source - rest). Leaves `mValid` false.
  void FaceStateBlend(VFaceState* result, const VFaceState* three_sources,
                      const VFaceBlendState* weights) const;

  /// Template weights = the sum over the three sources of weight * source.
  void TemplateStateBlend(VFaceTemplateState* result, const VFaceTemplateState* three_sources,
                          const VFaceBlendState* weights) const;

  // --- From points to template weights.

  /// Measures every template of every part. Weights lie in [0, 1], but for the mouth's "Whistle", which has no limit,
  /// and the brows: "Down" may leave [0, 1], and both are NaN on a template's pose that is the rest pose as well.
  void Face2TemplateSolve(VFaceTemplateState* result, const VFaceState* face) const;

  // --- From expression weights to template weights.

  /// The sum of the expressions' template weights, each times its expression's weight, on the template slots
  /// that this face has. `weights->mWeights[k]` belongs to `expressions[k]`; at most 100 expressions, none
  /// null.
  void Expression2TemplateSolve(const VArrayTemplate<VFaceExpression*, 16>& expressions,
                                VFaceTemplateState* result, const VFaceExpressionState* weights) const;

  VFacePart mParts[9];
  VArrayTemplate<VFaceExpression*, 16> mExpressions; ///< Owned. A list index is an expression's weight slot.

private:
  friend struct VFaceTestAccess; // defined by the tests alone

  // Measures of how far two poses of a part agree, over the point slots 0 to n - 1; n at most 7, unchecked.
  double Face2TemplateAIAngle(const VFacePartState* a, const VFacePartState* b, int n, bool closed) const;
  double Face2TemplateAIDistance(const VFacePartState* a, const VFacePartState* b, int n, bool inverse) const;
  double Face2TemplateAIDistanceAlongAxis(const VFacePartState* a, VgeTVector origin, VgeTVector axis, int n,
                                          bool inverse) const;
  double Face2TemplateAIDistanceExclusive(const VFacePartState* a, const VFacePartState* b, int n,
                                          const bool* use, bool inverse) const;
  double Face2TemplateAIMouthSurface(const VFacePartState* a, const VFacePartState* b, int unused) const;
  double Face2TemplateTriangleArea(const VgeTVector& p, const VgeTVector& q, const VgeTVector& r) const;

  // The solves of the regions. Each writes the weights of one part of a cleared state.
  void Face2TemplateSolveMouth(VFaceTemplateState* result,
                               const VFaceState* face) const; // not called by the driver
  void Face2TemplateSolveMouth2(VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveEye(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveCheek(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveNostril(int part, VFaceTemplateState* result, const VFaceState* face) const;
};
