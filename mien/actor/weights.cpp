#include "mien/actor/actor_face.h"
#include "mien/actor/volume.h"
#include "mien/face/face.h"

#include <initializer_list>

using namespace mien;

void VActorFace::SetupMarkerLocalFromGlobalPosition(const VFaceMarkerSetState* set) {
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(set->mTransform);
  for (VActorFacePart& part : mParts)
    for (const auto& group : part.mGroups)
      for (int i = 0; i < group.GetCount(); ++i) {
        const int k = group[i]->mMarker->mIndex;
        SetPoint(part.mMarkerSet.mPositions[k], TransformPoint(to_head, set->mPositions[k]));
      }
}

void VActorFace::SetupComputeNormalisedPosition() {
  if (!SetupAreVolumesSet()) return;
  for (VActorFacePart& part : mParts) {
    const VgeAMatrix to_volume = InverseOfOrthogonalAxes(part.mMarkerSet.mTransform);
    for (const auto& group : part.mGroups)
      for (int i = 0; i < group.GetCount(); ++i) {
        VgeTVector& position = part.mMarkerSet.mPositions[group[i]->mMarker->mIndex];
        SetPoint(position, TransformPoint(to_volume, position));
      }
  }
}

void VActorFace::SetupResetWeights() {
  for (VActorFacePart& part : mParts)
    for (const auto& group : part.mGroups)
      for (int i = 0; i < group.GetCount(); ++i)
        for (double& weight : group[i]->mWeights) weight = 0;
}

void VActorFace::SetupWeightUnnormalized(int part, int group, int pointCount, const int* points) {
  constexpr double kLargest = 100000; // for a marker on the point, or nearly
  const auto& entries = mParts[part].mGroups[group];
  for (int i = 0; i < entries.GetCount(); ++i) {
    VActorFacePartMarker& entry = *entries[i];
    const VgeTVector& marker = mParts[part].mMarkerSet.mPositions[entry.mMarker->mIndex];
    for (int listed = 0; listed < pointCount; ++listed) {
      const int j = points[listed];
      const VgeTVector offset = Difference(GetGlobalFace()->mParts[part].mDefaultPoints[j], marker);
      const double squared = Dot(offset, offset);
      const double reciprocal = 1 / (squared * squared); // infinite on the point itself
      entry.mWeights[j] = reciprocal < kLargest ? reciprocal : kLargest;
    }
  }
}

void VActorFace::SetupWeightNormalized(int part, int groupCount, int pointCount) {
  for (int g = 0; g < groupCount; ++g) {
    const auto& entries = mParts[part].mGroups[g];
    for (int j = 0; j < pointCount; ++j) {
      double sum = 0;
      for (int i = 0; i < entries.GetCount(); ++i) sum += entries[i]->mWeights[j];
      if (!(sum > 0)) continue;
      for (int i = 0; i < entries.GetCount(); ++i) entries[i]->mWeights[j] /= sum;
    }
  }
}

// Which group drives which points of its part.
void VActorFace::SetupComputeWeights() {
  const auto drive = [this](int part, int group, std::initializer_list<int> points) {
    SetupWeightUnnormalized(part, group, static_cast<int>(points.size()), points.begin());
  };

  drive(Mouth, 0, {0});    // left corner
  drive(Mouth, 1, {1, 2}); // upper lip
  drive(Mouth, 2, {5, 4}); // lower lip
  drive(Mouth, 3, {3});    // right corner
  drive(Mouth, 4, {6});    // chin
  SetupWeightNormalized(Mouth, 5, 7);

  for (const int brow : {RightBrow, LeftBrow}) {
    const auto& outer = mParts[brow].mGroups[0];
    const auto& inner = mParts[brow].mGroups[1];
    if (inner.GetCount() >= 1) {
      drive(brow, 1, {0});
      drive(brow, 0, {1, 2});
    } else {
      drive(brow, 0, {0, 1, 2});
    }
    SetupWeightNormalized(brow, 2, 3);
    // A lone marker moves the middle of the brow; the outer end follows it only a little. After the
    // normalisation, which would undo it.
    if (outer.GetCount() == 1) outer[0]->mWeights[2] *= 0.25;
  }

  for (const int eye : {LeftEye, RightEye}) {
    drive(eye, 0, {1}); // upper lid
    drive(eye, 1, {3}); // lower lid; the corners have no markers
    SetupWeightNormalized(eye, 2, 4);
  }
  for (const int cheek : {LeftCheek, RightCheek}) {
    drive(cheek, 0, {0, 1});
    SetupWeightNormalized(cheek, 1, 2);
  }
  for (const int nostril : {LeftNostril, RightNostril}) {
    drive(nostril, 0, {0});
    SetupWeightNormalized(nostril, 1, 1);
  }
}
