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

/// The actor's record of one head marker.
struct VActorFaceRBMarker {
  VgeTVector mOffset;  ///< At set-up, from the centroid of the head markers.
  VgeTVector mCurrent; ///< In the latest frame.
};

/// The actor's record of a triangle of three head markers, at set-up.
struct VActorFaceRBTriangle {
  VgeAMatrix mFrame;   ///< Its frame, as computed by `ThreePointsTransform`.
  VgeAMatrix mInverse; ///< The inverse of `mFrame`.
  double mWeight;      ///< Its area.
  double mQuality;     ///< The sine of its smallest angle.
};

extern template class MIEN_API VArrayTemplate<VFaceMarker*, 16>;
extern template class MIEN_API VArrayTemplate<VActorFaceRBMarker*, 16>;
extern template class MIEN_API VArrayTemplate<VActorFaceRBTriangle*, 16>;

/// A performer's face: turns one frame of marker positions into the points of the nine parts.
///
/// Set-up, in this order, with a neutral reference set:
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
/// Per frame, without allocation:
///
///     actor.ReferenceFromRBMarker(frame, reference);   with head markers
///     actor.Actor2FaceSolve(face_state, frame);
///
/// Pointers must be valid and marker indices below 225. Nothing is checked, and nothing is reported except in
/// the results. A copy shares markers, group entries and head records with its source: only one of the two
/// may be destroyed while both list them. Clear `mMarkers`, `mRBMarkers` and `mRBTPI` of the other first.
class MIEN_API VActorFace {
public:
  /// The global face's volumes, without markers.
  VActorFace();
  /// Shares the markers, group entries and head records of the source.
  VActorFace(const VActorFace&) = default;
  /// Shares the markers, group entries and head records of the source. Those listed before are not deleted.
  VActorFace& operator=(const VActorFace&) = default;
  /// Deletes the markers and the head records. The host owns the group entries.
  virtual ~VActorFace();

  // --- Volumes: the position and size of each part in head space.

  /// Sets every part's volume to the global face's placement of the part.
  void SetupInitVolumes();

  /// Fits the volumes to `set`: as boxes made symmetric about the face's middle; if that fails, by fitting
  /// the default placement to the parts' centres; if that fails, as plain boxes. A part without markers keeps
  /// its volume.
  void SetupFindVolumes(const VFaceMarkerSetState* set);

  /// False if the volume of a part with markers is still the identity.
  bool SetupAreVolumesSet() const;

  // --- Rest positions and weights.

  /// Copies the positions of each part's markers in `set` into the part, in the frame of `set->mTransform`.
  void SetupMarkerLocalFromGlobalPosition(const VFaceMarkerSetState* set);

  /// Transforms those copies into the parts' volumes. Does nothing while SetupAreVolumesSet is false. A
  /// marker that a part lists twice is transformed twice.
  void SetupComputeNormalisedPosition();

  /// Sets all weights of all entries to 0.
  void SetupResetWeights();

  /// Weights each entry by the inverse fourth power of the distance between the marker's normalised rest
  /// position and a point's default position, normalised over each group. Call SetupResetWeights first.
  void SetupComputeWeights();

  // --- One frame.

  /// Computes the points of every part, each in its part's normalised space. `out->mValid` becomes whether
  /// there is a chin marker, `out->mGlobal` becomes `in->mTransform`.
  void Actor2FaceSolve(VFaceState* out, const VFaceMarkerSetState* in) const;

  /// Transforms the positions of the first `count` slots of `src` into the frame of `src->mTransform`. `dst`
  /// may be `src`.
  void ComputeGlobalPosition(VFaceMarkerSetState* dst, const VFaceMarkerSetState* src, int count) const;

  // --- The head: its motion is removed with up to five markers on rigid parts of it, in the units and axes
  // --- of the take.

  /// Records the present head markers of `ref` and writes their centroid to the translation of
  /// `ref->mRBTransform`.
  void SetupRBMarkers(VFaceMarkerSetState* ref);

  /// Records every triangle of the head markers. `ref->mRBValid` becomes 1 if any of them is well shaped (its
  /// smallest angle is above 10 degrees), otherwise 0. Call SetupRBMarkers first; call both again whenever
  /// the present slots change.
  void SetupRBTPI(VFaceMarkerSetState* ref);

  /// Copies the r-th present head marker of `frame` to the r-th record: the frame must have the same slots
  /// present as the reference.
  void UpdateRBMarkersState(const VFaceMarkerSetState* frame);

  /// Sets `frame->mRBTransform` to the rigid motion that carries the reference triangles onto the current
  /// ones, averaged over the triangles that are well shaped in both. If there is none, it becomes the
  /// identity and `frame->mRBValid` becomes 0. Needs SetupRBTPI after the last SetupRBMarkers.
  void SolveRB(VFaceMarkerSetState* frame) const;

  /// Calls both of the above, then sets `frame->mTransform` to the frame of `ref`, moved with the head.
  void ReferenceFromRBMarker(VFaceMarkerSetState* frame, const VFaceMarkerSetState* ref);

  /// For the host's use; only copied.
  int mState = -1;
  /// In the face's part order.
  VActorFacePart mParts[9];
  /// Owned. A marker's index in a set is its `mIndex`, not its position in this list.
  VArrayTemplate<VFaceMarker*, 16> mMarkers;
  /// For the host's use; only constructed and copied, like all members up to the head records.
  VFaceMarkerSetState mSetupState;
  VFaceMarkerSetState mSetupState2;      ///< For the host's use.
  VFaceExpressionState mExpressionState; ///< For the host's use.
  VFaceTemplateState mTemplateStates[3]; ///< For the host's use.
  VFaceState mFaceStates[3];             ///< For the host's use.
  VFaceTemplateState mTemplateState;     ///< For the host's use.
  VFaceState mFaceState;                 ///< For the host's use.
  /// The head records: one per present slot, in slot order. Owned; on the C heap.
  VArrayTemplate<VActorFaceRBMarker*, 16> mRBMarkers;
  /// One per triple of records i < j < k, in lexicographic order. Owned; on the C heap.
  VArrayTemplate<VActorFaceRBTriangle*, 16> mRBTPI;

protected:
  /// Writes the global face's placement and scale of a part. A null output is skipped.
  void SetupGetDefaultVolumesTS(int part, VgeTVector* t, VgeSVector* s) const;

  /// Fits the default placement to the parts' centres. False if that is not possible.
  bool SetupFindVolumesMethod1(const VFaceMarkerSetState* set);
  /// Plain boxes. Always true.
  bool SetupFindVolumesMethod2(const VFaceMarkerSetState* set);
  /// Boxes made symmetric about the face's middle. False if that is not possible.
  bool SetupFindVolumesMethod3(const VFaceMarkerSetState* set);

  /// The box around a part's markers, without the mouth's chin group. False if there are none: the box is
  /// then inside out (min +infinity, max -infinity).
  bool Method3FindBoundingBox(int part, const VFaceMarkerSetState* set, VgeTVector& min, VgeTVector& max,
                              VgeTVector& centre) const;

  /// The centre of the box around a part's markers; of each of the mouth's groups, only the entries 1 and 2
  /// count. False if there are none: x and y become 0, and z is unchanged.
  bool SetupGetPartCenterXYZ(int part, const VFaceMarkerSetState* set, double centre[3]) const;

  /// Computes the raw weights of one group for the listed points, at most 100000 each.
  void SetupWeightUnnormalized(int part, int group, int pointCount, const int* points);

  /// Divides the weights for each of the first `pointCount` points by their sum, in each of the first
  /// `groupCount` groups.
  void SetupWeightNormalized(int part, int groupCount, int pointCount);
};
