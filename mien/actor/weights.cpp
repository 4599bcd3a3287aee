#include "mien/actor/actor_face.h"
#include "mien/actor/entries.h"
#include "mien/base/affine.h"
#include "mien/face/face.h"
#include "mien/face/slots.h"

#include <initializer_list>

using namespace mien;
using namespace mien::detail;

void VActorFace::SetupMarkerLocalFromGlobalPosition(const VFaceMarkerSetState* set) {
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(set->mTransform);
  for (VActorFacePart& part : mParts)
    ForEachEntry(part, [&](const VActorFacePartMarker& entry) {
      const int k = entry.mMarker->mIndex;
      SetPoint(part.mMarkerSet.mPositions[k], TransformPoint(to_head, set->mPositions[k]));
    });
}

void VActorFace::SetupComputeNormalisedPosition() {
  if (!SetupAreVolumesSet()) return;
  for (VActorFacePart& part : mParts) {
    const VgeAMatrix to_volume = InverseOfOrthogonalAxes(part.mMarkerSet.mTransform);
    ForEachEntry(part, [&](const VActorFacePartMarker& entry) {
      VgeTVector& position = part.mMarkerSet.mPositions[entry.mMarker->mIndex];
      SetPoint(position, TransformPoint(to_volume, position));
    });
  }
}

void VActorFace::SetupResetWeights() {
  for (const VActorFacePart& part : mParts)
    ForEachEntry(part, [](VActorFacePartMarker& entry) {
      for (double& weight : entry.mWeights) weight = 0;
    });
}

void VActorFace::SetupWeightUnnormalized(int part, int group, int pointCount, const int* points) {
  constexpr double kLargest = 100000; // for a marker on the point, or nearly
  const VgeTVector* const defaults = GetGlobalFace()->mParts[part].mDefaultPoints;
  ForEachEntry(mParts[part].mGroups[group], [&](VActorFacePartMarker& entry) {
    const VgeTVector& marker = mParts[part].mMarkerSet.mPositions[entry.mMarker->mIndex];
    for (int listed = 0; listed < pointCount; ++listed) {
      const int j = points[listed];
      const VgeTVector offset = Difference(defaults[j], marker);
      const double squared = Dot(offset, offset);
      const double reciprocal = 1 / (squared * squared); // infinite on the point itself
      entry.mWeights[j] = reciprocal < kLargest ? reciprocal : kLargest;
    }
  });
}

void VActorFace::SetupWeightNormalized(int part, int groupCount, int pointCount) {
  for (int g = 0; g < groupCount; ++g) {
    const auto& group = mParts[part].mGroups[g];
    for (int j = 0; j < pointCount; ++j) {
      double sum = 0;
      ForEachEntry(group, [&](const VActorFacePartMarker& entry) { sum += entry.mWeights[j]; });
      if (sum > 0) ForEachEntry(group, [&](VActorFacePartMarker& entry) { entry.mWeights[j] /= sum; });
    }
  }
}

// Which group drives which points of its part.
void VActorFace::SetupComputeWeights() {
  const auto drive = [this](int part, int group, std::initializer_list<int> points) {
    SetupWeightUnnormalized(part, group, static_cast<int>(points.size()), points.begin());
  };

  {
    using namespace mouth;
    drive(Mouth, LeftCornerGroup, {LeftMouth});
    drive(Mouth, UpperLipGroup, {LeftUpperMouth, RightUpperMouth});
    drive(Mouth, LowerLipGroup, {LeftLowerMouth, RightLowerMouth});
    drive(Mouth, RightCornerGroup, {RightMouth});
    drive(Mouth, ChinGroup, {ChinCenter});
    SetupWeightNormalized(Mouth, 5, 7);
  }
  for (const int part : {RightBrow, LeftBrow}) {
    using namespace brow;
    const auto& whole = mParts[part].mGroups[BrowGroup];
    if (mParts[part].mGroups[InBrowGroup].GetCount() >= 1) {
      drive(part, InBrowGroup, {InBrow});
      drive(part, BrowGroup, {MidBrow, OutBrow});
    } else {
      drive(part, BrowGroup, {InBrow, MidBrow, OutBrow});
    }
    SetupWeightNormalized(part, 2, 3);
    // A lone marker moves the middle of the brow; the outer end follows it only a little. After the
    // normalisation, which would undo it.
    if (whole.GetCount() == 1) whole[0]->mWeights[OutBrow] *= 0.25;
  }
  for (const int part : {LeftEye, RightEye}) {
    using namespace eye; // its corners have no markers
    drive(part, UpperLidGroup, {UpperEye});
    drive(part, LowerLidGroup, {LowerEye});
    SetupWeightNormalized(part, 2, 4);
  }
  for (const int part : {LeftCheek, RightCheek}) {
    using namespace cheek;
    drive(part, CheekGroup, {InUpperCheek, MidLowerCheek});
    SetupWeightNormalized(part, 1, 2);
  }
  for (const int part : {LeftNostril, RightNostril}) {
    using namespace nostril;
    drive(part, NostrilGroup, {Nostril});
    SetupWeightNormalized(part, 1, 1);
  }
}
