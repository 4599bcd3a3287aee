#include "mien/batch/face_constants.h"

#include "mien/actor/actor_face.h"
#include "mien/base/affine.h"
#include "mien/base/rigid.h"
#include "mien/batch/face_batch.h"
#include "mien/face/face.h"
#include "mien/face/slots.h"

#include <cmath>

namespace mien::detail::batch {

namespace {

Way WayTo(const VgeTVector& full) { return {Unit(full), Length(full)}; }

double Width(const VgeTVector* points) {
  using namespace mouth;
  return std::fabs(points[LeftMouth].x - points[LeftUpperMouth].x) +
         std::fabs(points[LeftUpperMouth].x - points[RightUpperMouth].x);
}

MouthConstants MouthOf(const VFacePart& part, bool chin_is_measured) {
  using namespace mouth;
  const VgeTVector* const rest = part.mDefaultPoints;
  const auto pose = [&part](Template j) { return part.mTemplates[j]->mPoints; };
  const auto height = [](const VgeTVector* points, Point point, Point base) {
    return points[point].y - points[base].y;
  };
  const auto opening = [&](Point point) { return WayTo(Difference(pose(Open)[point], rest[point])); };
  const auto side = [&](Point upper, Point lower) {
    const double rest_gap = height(rest, upper, lower);
    return MouthConstants::Side{rest_gap, WayTo({0, height(pose(Square), upper, lower) - rest_gap, 0})};
  };
  const auto corner = [&](Point point, Point lip, Template up) {
    const double base = height(rest, point, lip);
    return MouthConstants::Corner{base, height(pose(up), point, lip) - base};
  };
  return {.chin_is_measured = chin_is_measured,
          .open_chin = opening(ChinCenter),
          .open_left = opening(LeftLowerMouth),
          .open_right = opening(RightLowerMouth),
          .square_left = side(LeftUpperMouth, LeftLowerMouth),
          .square_right = side(RightUpperMouth, RightLowerMouth),
          .whistle_width = Width(pose(Whistle)),
          .rest_width = Width(rest),
          .right = corner(RightMouth, RightUpperMouth, CornersUpR),
          .left = corner(LeftMouth, LeftUpperMouth, CornersUpL),
          .middle_of_lower_lip = {(rest[RightLowerMouth].x + rest[LeftLowerMouth].x) / 2,
                                  (rest[RightLowerMouth].y + rest[LeftLowerMouth].y) / 2,
                                  (rest[RightLowerMouth].z + rest[LeftLowerMouth].z) / 2}};
}

BrowConstants BrowOf(const VFacePart& part) {
  using namespace brow;
  return {part.mTemplates[Up]->mPoints[MidBrow], part.mTemplates[Down]->mPoints[InBrow]};
}

// The lids' limits are from the templates of these names, the weights from those in these slots.
EyeConstants EyeOf(const VFacePart& part) {
  using namespace eye;
  const auto named = [&part](const char* name) -> const VgeTVector* {
    const int j = part.TemplateIndexByName(name);
    return j >= 0 ? part.mTemplates[j]->mPoints : nullptr;
  };
  const auto pose_y = [&part](Template j, Point point) { return part.mTemplates[j]->mPoints[point].y; };
  const VgeTVector *const close = named("Close"), *const wide = named("WideOpen"),
                          *const squint = named("Squint");
  const VgeTVector travel = squint ? Difference(squint[OutEye], part.mDefaultPoints[OutEye]) : VgeTVector();
  return {.highest_upper = wide ? wide[UpperEye].y : 1.0,
          .lowest_upper = close ? close[UpperEye].y : -1.0,
          .highest_lower = squint ? squint[LowerEye].y : 0,
          .has_squint = squint != nullptr,
          .travel = travel,
          .closed = pose_y(Close, UpperEye),
          .wide_open = pose_y(WideOpen, UpperEye),
          .squinted = pose_y(Squint, LowerEye)};
}

} // namespace

FaceConstants::FaceConstants(const VActorFace& actor, const VFace& face, const VFaceMarkerSetState& reference)
    : head_markers(actor.mRBMarkers.GetCount()),
      head_in_rigid_body(Product(InverseOfOrthogonalAxes(reference.mRBTransform), reference.mTransform)),
      mouth(
          MouthOf(face.mParts[Mouth], actor.mParts[Mouth].mGroups[detail::mouth::ChinGroup].GetCount() > 0)) {
  int t = 0;
  for (int i = 0; i < head_markers; ++i)
    for (int j = i + 1; j < head_markers; ++j)
      for (int k = j + 1; k < head_markers; ++k, ++t)
        if (actor.mRBTPI[t]->mQuality > kSineOf10Degrees)
          triangles[triangle_count++] = {i, j, k, actor.mRBTPI[t]->mInverse};

  for (int p = 0; p < 9; ++p) {
    const VFacePart& definition = face.mParts[p];
    const VActorFacePart& performed = actor.mParts[p];
    Part& part = parts[p];
    for (int j = 0; j < 7; ++j) part.rest[j] = definition.mDefaultPoints[j];
    part.point_count = definition.mPointCount;
    part.volume = performed.mMarkerSet.mTransform;
    part.to_volume = InverseOfOrthogonalAxes(performed.mMarkerSet.mTransform);
    part.first_entry = mEntries.size();
    for (const auto& group : performed.mGroups)
      for (int i = 0; i < group.GetCount(); ++i) {
        const int marker = group[i]->mMarker->mIndex;
        const std::size_t first_pull = mPulls.size();
        for (int j = 0; j < 7; ++j)
          if (group[i]->mWeights[j] != 0) mPulls.push_back({j, group[i]->mWeights[j]});
        mEntries.push_back({marker, performed.mMarkerSet.mPositions[marker], first_pull, mPulls.size()});
      }
    part.end_of_entries = mEntries.size();

    const int templates =
        (p < 8 ? FaceBatch::kFirstTemplate[p + 1] : FaceBatch::kTemplates) - FaceBatch::kFirstTemplate[p];
    for (int j = 0; j < templates; ++j)
      for (int i = 0; i < 7; ++i)
        deltas[FaceBatch::kFirstTemplate[p] + j][i] =
            Difference(definition.mTemplates[j]->mPoints[i], definition.mDefaultPoints[i]);
  }

  entries = mEntries.data();
  pulls = mPulls.data();

  for (int side = 0; side < 2; ++side) {
    brows[side] = BrowOf(face.mParts[LeftBrow + side]);
    eyes[side] = EyeOf(face.mParts[LeftEye + side]);
    const VFacePart &cheek = face.mParts[LeftCheek + side], &nostril = face.mParts[LeftNostril + side];
    const auto pose = [](const VFacePart& part, int j) { return part.mTemplates[j]->mPoints; };
    using namespace detail;
    cheeks_up[side] = {cheek.mDefaultPoints[cheek::InUpperCheek].y,
                       pose(cheek, cheek::Up)[cheek::InUpperCheek].y};
    cheeks_out[side] = {cheek.mDefaultPoints[cheek::MidLowerCheek].z,
                        pose(cheek, cheek::Out)[cheek::MidLowerCheek].z};
    nostrils_up[side] = {nostril.mDefaultPoints[nostril::Nostril].y,
                         pose(nostril, nostril::Up)[nostril::Nostril].y};
  }
}

} // namespace mien::detail::batch
