#include "mien/actor/actor_face.h"
#include "mien/actor/entries.h"
#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/slots.h"

#include <initializer_list>

using namespace mien;
using namespace mien::detail;

namespace {

/// The lids of an eye only move up and down, between the poses of its templates. The outer corner follows the
/// squint.
void LimitEye(const VFacePart& part, VgeTVector (&points)[7]) {
  using namespace eye;
  const VgeTVector* const rest = part.mDefaultPoints;
  const auto pose_of = [&part](const char* name) -> const VgeTVector* {
    const int j = part.TemplateIndexByName(name);
    return j >= 0 ? part.mTemplates[j]->mPoints : nullptr;
  };
  const auto limit = [](double y, double low, double high) { return y < low ? low : y < high ? y : high; };

  const VgeTVector* const close = pose_of("Close");
  const VgeTVector* const wide_open = pose_of("WideOpen");
  const double closed = close ? close[UpperEye].y : -1.0;
  const double wide = wide_open ? wide_open[UpperEye].y : 1.0;
  SetPoint(points[UpperEye], {rest[UpperEye].x, limit(points[UpperEye].y, closed, wide), rest[UpperEye].z});

  const VgeTVector* const squint = pose_of("Squint");
  const double squinted = squint ? squint[LowerEye].y : 0;
  SetPoint(points[LowerEye], {rest[LowerEye].x, limit(points[LowerEye].y, -1.0, squinted), rest[LowerEye].z});

  if (!squint) return;
  const double t = (points[LowerEye].y + 1) / (squinted + 1);
  const VgeTVector travel = Difference(squint[OutEye], rest[OutEye]);
  SetPoint(points[OutEye],
           {rest[OutEye].x + t * travel.x, rest[OutEye].y + t * travel.y, rest[OutEye].z + t * travel.z});
}

/// Without a marker the chin follows the lower lip.
void EstimateChin(const VFacePart& part, VgeTVector (&points)[7]) {
  using namespace mouth;
  const auto middle_of_lower_lip = [](const VgeTVector* p) {
    return VgeTVector{(p[RightLowerMouth].x + p[LeftLowerMouth].x) / 2,
                      (p[RightLowerMouth].y + p[LeftLowerMouth].y) / 2,
                      (p[RightLowerMouth].z + p[LeftLowerMouth].z) / 2};
  };
  const VgeTVector& rest = part.mDefaultPoints[ChinCenter];
  const VgeTVector moved = Difference(middle_of_lower_lip(points), middle_of_lower_lip(part.mDefaultPoints));
  SetPoint(points[ChinCenter], {rest.x + moved.x, rest.y + moved.y, rest.z + moved.z});
}

} // namespace

// point_j = rest_j + the sum over the part's entries of weight_j * displacement, in the order of groups and
// entries. The displacement of a marker is its position in the part's volume minus its position in the
// reference pose.
void VActorFace::Actor2FaceSolve(VFaceState* out, const VFaceMarkerSetState* in) const {
  const VFace& face = *GetGlobalFace();
  for (int column = 0; column < 4; ++column) SetColumn(out->mGlobal, column, Column(in->mTransform, column));

  const VgeAMatrix to_head = InverseOfOrthogonalAxes(in->mTransform);
  for (int p = 0; p < 9; ++p) {
    const VActorFacePart& part = mParts[p];
    VgeTVector(&points)[7] = out->mParts[p].mPoints;
    for (int j = 0; j < 7; ++j) SetPoint(points[j], face.mParts[p].mDefaultPoints[j]);

    const VgeAMatrix to_volume = InverseOfOrthogonalAxes(part.mMarkerSet.mTransform);
    ForEachEntry(part, [&](const VActorFacePartMarker& entry) {
      const int k = entry.mMarker->mIndex;
      const VgeTVector p_head = TransformPoint(to_head, in->mPositions[k]);
      const VgeTVector p_volume = TransformPoint(to_volume, p_head);
      const VgeTVector displacement = Difference(p_volume, part.mMarkerSet.mPositions[k]);
      for (int j = 0; j < 7; ++j) {
        const double weight = entry.mWeights[j];
        if (weight == 0) continue;
        points[j].x += weight * displacement.x;
        points[j].y += weight * displacement.y;
        points[j].z += weight * displacement.z;
      }
    });
  }

  for (const int p : {RightEye, LeftEye}) LimitEye(face.mParts[p], out->mParts[p].mPoints);

  out->mValid = mParts[Mouth].mGroups[mouth::ChinGroup].GetCount() > 0;
  if (!out->mValid) EstimateChin(face.mParts[Mouth], out->mParts[Mouth].mPoints);
}

void VActorFace::ComputeGlobalPosition(VFaceMarkerSetState* dst, const VFaceMarkerSetState* src,
                                       int count) const {
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(src->mTransform);
  for (int k = 0; k < count; ++k) SetPoint(dst->mPositions[k], TransformPoint(to_head, src->mPositions[k]));
}
