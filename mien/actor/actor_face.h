#pragma once

#include "mien/actor/marker.h"
#include "mien/actor/marker_set_state.h"
#include "mien/actor/part.h"
#include "mien/actor/part_marker.h"
#include "mien/base/array.h"
#include "mien/base/export.h"
#include "mien/base/geometry.h"
#include "mien/face/expression_state.h"
#include "mien/face/face_state.h"
#include "mien/face/global_face.h"
#include "mien/face/template_state.h"

/// A head marker as the actor remembers it.
struct VActorFaceRBMarker {
  VgeTVector mOffset;  ///< At set-up, from the centroid of the head markers.
  VgeTVector mCurrent; ///< In the latest frame.
};

/// A triangle of three head markers at set-up.
struct VActorFaceRBTriangle {
  VgeAMatrix mFrame;   ///< Its frame, as `ThreePointsTransform` gives it.
  VgeAMatrix mInverse; ///< Of `mFrame`.
  double mWeight;      ///< Its area.
  double mQuality;     ///< The sine of its smallest angle.
};

extern template class MIEN_API VArrayTemplate<VFaceMarker*, 16>;
extern template class MIEN_API VArrayTemplate<VActorFaceRBMarker*, 16>;
extern template class MIEN_API VArrayTemplate<VActorFaceRBTriangle*, 16>;

/// A performer's face: from one frame of marker positions to the points of the nine parts.
///
/// Set-up, in this order, on a neutral reference set:
///
///     actor.mMarkers, actor.mParts[...].mGroups[...]   filled by the host
///     actor.SetupFindVolumes(reference);
///     actor.SetupMarkerLocalFromGlobalPosition(reference);
///     actor.SetupComputeNormalisedPosition();
///     actor.SetupResetWeights();
///     actor.SetupComputeWeights();
///     actor.SetupRBMarkers(reference);                 with head markers
///     actor.SetupRBTPI(reference);
///
/// and per frame, allocating nothing:
///
///     actor.ReferenceFromRBMarker(frame, reference);   with head markers
///     actor.Actor2FaceSolve(face_state, frame);
///
/// Pointers must be valid and marker indices below 225; nothing is checked, and nothing is reported but by
/// what is written into the results. A face copied from another shares its markers, group entries and head
/// records: at most one of the two may be destroyed while both list them (clear `mMarkers`, `mRBMarkers` and
/// `mRBTPI` of the other).
class MIEN_API VActorFace {
public:
  /// Default volumes of the global face; no markers.
  VActorFace();
  VActorFace(const VActorFace&) = default;
  VActorFace& operator=(const VActorFace&) = default;
  /// Deletes the markers and the head records. Group entries are the host's.
  virtual ~VActorFace();

  // --- Volumes: where each part sits in head space, and how large it is there.

  /// Every part's volume becomes the global face's placement of the part.
  void SetupInitVolumes();

  /// Fits the volumes to `set`: as boxes made symmetric about the face's middle; failing that by fitting the
  /// default placement to the parts' centres; failing that as plain boxes. A part without markers keeps its
  /// volume.
  void SetupFindVolumes(const VFaceMarkerSetState* set);

  /// False where a part with markers still has the identity for a volume.
  bool SetupAreVolumesSet() const;

  // --- Rest positions and weights.

  /// Each part's own copy of its markers' positions in `set`, in the frame of `set->mTransform`.
  void SetupMarkerLocalFromGlobalPosition(const VFaceMarkerSetState* set);

  /// Moves those copies into the parts' volumes. Does nothing while SetupAreVolumesSet is false. A marker
  /// entered twice in one part is moved twice.
  void SetupComputeNormalisedPosition();

  /// All weights of all entries to 0.
  void SetupResetWeights();

  /// Weights by the inverse fourth power of the distance between a marker's normalised rest position and a
  /// point's default position, normalised over each group. Call SetupResetWeights first.
  void SetupComputeWeights();

  // --- One frame.

  /// The points of every part, each in its part's normalised space; `out->mValid` tells that a chin marker
  /// exists. `out->mGlobal` becomes `in->mTransform`.
  void Actor2FaceSolve(VFaceState* out, const VFaceMarkerSetState* in) const;

  /// The positions of the first `count` slots of `src` in the frame of `src->mTransform`. `dst` may be `src`.
  void ComputeGlobalPosition(VFaceMarkerSetState* dst, const VFaceMarkerSetState* src, int count) const;

  // --- The head: removing its motion by up to five markers on rigid parts of it. Units and axes are the
  // take's.

  /// Remembers the present head markers of `ref`; writes their centroid into the translation of
  /// `ref->mRBTransform`.
  void SetupRBMarkers(VFaceMarkerSetState* ref);

  /// Remembers every triangle of the head markers; `ref->mRBValid` tells whether any is well shaped: its
  /// smallest angle above 10 degrees. Needs SetupRBMarkers; both anew whenever the present slots change.
  void SetupRBTPI(VFaceMarkerSetState* ref);

  /// The r-th present head marker of `frame` goes to the r-th record: a frame must present the slots of the
  /// reference.
  void UpdateRBMarkersState(const VFaceMarkerSetState* frame);

  /// Needs SetupRBTPI since the last SetupRBMarkers. `frame->mRBTransform`: the rigid motion that carries the reference triangles onto the current ones,
  /// averaged over those well shaped in both; the identity, and `frame->mRBValid` 0, where there is none.
  void SolveRB(VFaceMarkerSetState* frame) const;

  /// Both of the above, then `frame->mTransform`: where the frame of `ref` has gone with the head.
  void ReferenceFromRBMarker(VFaceMarkerSetState* frame, const VFaceMarkerSetState* ref);

  int mState = -1;          ///< The host's; only copied.
  VActorFacePart mParts[9]; ///< In the face's part order.
  VArrayTemplate<VFaceMarker*, 16>
      mMarkers;                     ///< Owned. The index in a set is `mIndex`, not the place in this list.
  VFaceMarkerSetState mSetupState;  ///< This and what follows, up to the head records, is the host's to use:
  VFaceMarkerSetState mSetupState2; ///< only constructed and copied here.
  VFaceExpressionState mExpressionState;
  VFaceTemplateState mTemplateStates[3];
  VFaceState mFaceStates[3];
  VFaceTemplateState mTemplateState;
  VFaceState mFaceState;
  VArrayTemplate<VActorFaceRBMarker*, 16> mRBMarkers; ///< One per present slot, in slot order. Owned; C heap.
  VArrayTemplate<VActorFaceRBTriangle*, 16> mRBTPI;   ///< One per i < j < k, in that order. Owned; C heap.

protected:
  /// The global face's placement and scale of a part; a null output is skipped.
  void SetupGetDefaultVolumesTS(int part, VgeTVector* t, VgeSVector* s) const;

  bool SetupFindVolumesMethod1(const VFaceMarkerSetState* set); ///< Landmark fit of the default placement.
  bool SetupFindVolumesMethod2(const VFaceMarkerSetState* set); ///< Plain boxes; never fails.
  bool SetupFindVolumesMethod3(const VFaceMarkerSetState* set); ///< Symmetric boxes.

  /// The box of a part's markers, without the mouth's chin group. False for a part without one (the box is
  /// then inside out: min +infinity, max -infinity).
  bool Method3FindBoundingBox(int part, const VFaceMarkerSetState* set, VgeTVector& min, VgeTVector& max,
                              VgeTVector& centre) const;

  /// The centre of the box of a part's markers; of the mouth's groups only the entries 1 and 2 count. Without
  /// any, false: x and y become 0, and z stays as it was.
  bool SetupGetPartCenterXYZ(int part, const VFaceMarkerSetState* set, double centre[3]) const;

  /// Raw weights of one group towards the listed points, at most 100000 each.
  void SetupWeightUnnormalized(int part, int group, int pointCount, const int* points);

  /// Divides the weights towards each of the first points by their sum, in each of the first groups.
  void SetupWeightNormalized(int part, int groupCount, int pointCount);
};
