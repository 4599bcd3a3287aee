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

/// The anatomical face between performer and character: nine parts in a fixed order and a catalogue of
/// expressions.
///
/// | index | part                      | points                            | templates                  |
/// |-------|---------------------------|-----------------------------------|----------------------------|
/// | 0     | Mouth                     | LeftMouth, LeftUpperMouth,        | Open, Whistle, CornersUpR, |
/// |       |                           | RightUpperMouth, RightMouth,      | CornersUpL, CornersDownR,  |
/// |       |                           | RightLowerMouth, LeftLowerMouth,  | CornersDownL, Square       |
/// |       |                           | ChinCenter                        |                            |
/// | 1, 2  | LeftBrow, RightBrow       | InBrow, MidBrow, OutBrow          | Up, Down                   |
/// | 3, 4  | LeftEye, RightEye         | InEye, UpperEye, OutEye, LowerEye | Close, Squint, WideOpen    |
/// | 5, 6  | LeftCheek, RightCheek     | InUpperCheek, MidLowerCheek       | Up, Out                    |
/// | 7, 8  | LeftNostril, RightNostril | Nostril                           | Up                         |
///
/// x grows towards the face's own left, y upward, z out of the face. All solves address parts, points and
/// templates by these indices; a face with other contents is not supported.
///
/// The solves read the face and their inputs, and write only their results. Pointers must be valid, and a
/// result must not be one of its sources. The solves check no argument, report nothing and allocate nothing.
///
/// A face owns its expressions and deletes them. A copy shares expressions and templates with its source, so
/// only one of the two may be destroyed while both list them: clear `mExpressions` and every part's
/// `mTemplates` of the other first.
class MIEN_API VFace {
public:
  /// Builds the default face with an empty catalogue.
  VFace();
  /// Shares the templates and the expressions of the source.
  VFace(const VFace&) = default;
  /// Shares the templates and the expressions of the source. Those listed before are not deleted.
  VFace& operator=(const VFace&) = default;
  /// Deletes the templates and the expressions.
  virtual ~VFace();

  // --- Names. Lookups are exact and case-sensitive. They return the first match, or -1. No name may be null.

  /// The index of the part of this name, 0 to 8, or -1.
  int PartIndexByName(const char* name) const;
  /// The catalogue index of the expression with this `mName`, or -1.
  int ExpressionIndexByName(const char* name) const;
  /// The catalogue index of the expression with this `mRetrieveName`, or -1.
  int ExpressionIndexByRetrieveName(const char* name) const;

  /// Writes to `out` the first of `base`, `base`1, `base`2 ... `base`99 that no expression has as its name,
  /// ignoring case. False if all hundred are taken; `out` then contains the last one tried. `out` must have
  /// room for `base`, two digits and the terminator.
  bool RenameExpression(const char* base, char* out) const;

  /// Appends an expression, all weights 0, under the name that RenameExpression finds for `name`, and returns
  /// its index. Returns -1 and changes nothing if `name` is empty, the catalogue has 99 expressions, no name
  /// is free, or the free name is longer than 255 characters. Must not run while another thread solves.
  int CreateExpression(const char* name);

  // --- From template weights to points.

  /// Each part's points = rest + the sum over its templates of weight * (template - rest). Weights are
  /// neither clamped nor normalised. `result->mGlobal` is unchanged; `mValid` becomes false.
  void Template2FaceSolve(VFaceState* result, const VFaceTemplateState* weights) const;

  /// Sets the nine parts to the rest pose. `mGlobal` and `mValid` are unchanged.
  void SetToDefaultState(VFaceState* result) const;

  /// Points = rest + the sum over the three sources of weight * (source - rest). `mValid` becomes false.
  void FaceStateBlend(VFaceState* result, const VFaceState* three_sources,
                      const VFaceBlendState* weights) const;

  /// Template weights = the sum over the three sources of weight * source.
  void TemplateStateBlend(VFaceTemplateState* result, const VFaceTemplateState* three_sources,
                          const VFaceBlendState* weights) const;

  // --- From points to template weights.

  /// Measures every template of every part. Weights are in [0, 1], with two exceptions. The mouth's "Whistle"
  /// has no upper limit. A brow's "Down" may leave [0, 1], and both weights of a brow are NaN on a template's
  /// pose that is the rest pose as well.
  void Face2TemplateSolve(VFaceTemplateState* result, const VFaceState* face) const;

  // --- From expression weights to template weights.

  /// The sum of the expressions' template weights, each times its expression's weight, on the template slots
  /// that this face has. `weights->mWeights[k]` belongs to `expressions[k]`. At most 100 expressions, none
  /// null.
  void Expression2TemplateSolve(const VArrayTemplate<VFaceExpression*, 16>& expressions,
                                VFaceTemplateState* result, const VFaceExpressionState* weights) const;

  /// By the indices of the table above.
  VFacePart mParts[9];
  /// The catalogue: an index in this list is an expression's weight slot. Owned.
  VArrayTemplate<VFaceExpression*, 16> mExpressions;

private:
  friend struct VFaceTestAccess; // defined only by the tests

  // Measures of how well two poses of a part agree, over the point slots 0 to n - 1; n is at most 7,
  // unchecked.
  double Face2TemplateAIAngle(const VFacePartState* a, const VFacePartState* b, int n, bool closed) const;
  double Face2TemplateAIDistance(const VFacePartState* a, const VFacePartState* b, int n, bool inverse) const;
  double Face2TemplateAIDistanceAlongAxis(const VFacePartState* a, VgeTVector origin, VgeTVector axis, int n,
                                          bool inverse) const;
  double Face2TemplateAIDistanceExclusive(const VFacePartState* a, const VFacePartState* b, int n,
                                          const bool* use, bool inverse) const;
  double Face2TemplateAIMouthSurface(const VFacePartState* a, const VFacePartState* b, int unused) const;
  double Face2TemplateTriangleArea(const VgeTVector& p, const VgeTVector& q, const VgeTVector& r) const;

  // The solves of the regions. Each writes the weights of one part of a cleared state. Face2TemplateSolve
  // uses the second one for the mouth; the first is not called.
  void Face2TemplateSolveMouth(VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveMouth2(VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveBrow(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveEye(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveCheek(int part, VFaceTemplateState* result, const VFaceState* face) const;
  void Face2TemplateSolveNostril(int part, VFaceTemplateState* result, const VFaceState* face) const;
};
