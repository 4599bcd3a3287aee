#pragma once

// A synthetic performer: 45 face markers on all nine parts, five head markers, and as many frames of talking,
// blinking and nodding as a test needs. Every number is computed with +, -, *, / and sqrt, which IEEE 754
// rounds the same everywhere, so every build has the same bits.

#include "mien/actor/actor_face.h"
#include "tests/random.h"

#include <cmath>
#include <cstdint>
#include <memory>

namespace tests {

class SyntheticPerformer {
public:
  static constexpr int kMarkerCount = 45, kHeadMarkerCount = 5;

  /// Set up on the neutral pose, head markers included.
  SyntheticPerformer() {
    // In millimetres, in the head's frame; the right side mirrors the left one.
    // mouth: left corner, upper lip, lower lip, right corner, chin
    AddToBothMouthCorners(25, 13, 92);
    AddToMouth(1, 4, 18, 99);
    AddToMouth(1, 12, 17, 97);
    AddToMouth(2, 4, 8, 98);
    AddToMouth(2, 12, 9, 96);
    AddToMouth(4, 7, -11, 94);
    Add(0, 4, 0, -12, 95);
    // brows: the brow, then the inner brow
    AddToBothSides(1, 0, 10, 56, 94);
    AddToBothSides(1, 0, 18, 60, 93);
    AddToBothSides(1, 0, 26, 60, 90);
    AddToBothSides(1, 0, 33, 55, 84);
    AddToBothSides(1, 1, 7, 53, 95);
    // eyes: upper lid, lower lid
    AddToBothSides(3, 0, 13, 52, 91);
    AddToBothSides(3, 0, 19, 52, 90);
    AddToBothSides(3, 1, 13, 45, 91);
    AddToBothSides(3, 1, 19, 44, 90);
    // cheeks, nostrils
    AddToBothSides(5, 0, 24, 36, 90);
    AddToBothSides(5, 0, 34, 36, 82);
    AddToBothSides(5, 0, 20, 26, 92);
    AddToBothSides(5, 0, 30, 26, 86);
    AddToBothSides(5, 0, 36, 20, 76);
    AddToBothSides(7, 0, 9, 25, 97);
    AddToBothSides(7, 0, 7, 23, 98);

    const VgeTVector head[kHeadMarkerCount] = {
        {0, 85, 80, 1}, {60, 70, 40, 1}, {-58, 72, 38, 1}, {30, 95, 55, 1}, {-35, 90, 60, 1}};
    for (int i = 0; i < kHeadMarkerCount; ++i) {
      mReference.mRBPositions[i] = head[i];
      mReference.mRBPresent[i] = true;
    }

    mActor.SetupFindVolumes(&mReference);
    mActor.SetupMarkerLocalFromGlobalPosition(&mReference);
    mActor.SetupComputeNormalisedPosition();
    mActor.SetupResetWeights();
    mActor.SetupComputeWeights();
    mActor.SetupRBMarkers(&mReference);
    mActor.SetupRBTPI(&mReference);
  }

  SyntheticPerformer(const SyntheticPerformer&) = delete;
  SyntheticPerformer& operator=(const SyntheticPerformer&) = delete;

  VActorFace& Actor() { return mActor; }
  const VFaceMarkerSetState& Reference() const { return mReference; }
  int MarkerCount() const { return mCount; }

  /// All 45 markers and the head markers of frame `number`, in camera space. Allocates nothing.
  void Film(int number, VFaceMarkerSetState& frame) const {
    const HeadPose head(number);
    Random noise(static_cast<std::uint64_t>(number) * 2654435761u + 17);
    for (int i = 0; i < mCount; ++i) {
      VgeTVector p = mReference.mPositions[i];
      Gesture(number, mEntries[i], p);
      p.x += noise.Between(-0.2, 0.2);
      p.y += noise.Between(-0.2, 0.2);
      p.z += noise.Between(-0.2, 0.2);
      frame.mPositions[i] = head.Carry(p);
    }
    for (int i = 0; i < kHeadMarkerCount; ++i) {
      frame.mRBPositions[i] = head.Carry(mReference.mRBPositions[i]);
      frame.mRBPresent[i] = true;
    }
  }

private:
  struct Entry : VActorFacePartMarker {
    int part = 0, group = 0;
  };

  void Add(int part, int group, double x, double y, double z) {
    auto marker = std::make_unique<VFaceMarker>();
    marker->mIndex = mCount;
    Entry& entry = mEntries[mCount];
    entry.part = part, entry.group = group, entry.mMarker = marker.get();
    mActor.mMarkers.Add(marker.release()); // the actor deletes its markers
    mActor.mParts[part].mGroups[group].Add(&entry);
    mReference.mPositions[mCount++] = {x, y, z, 1};
  }
  void AddToMouth(int group, double x, double y, double z) {
    Add(0, group, x, y, z), Add(0, group, -x, y, z);
  }
  void AddToBothMouthCorners(double x, double y, double z) { Add(0, 0, x, y, z), Add(0, 3, -x, y, z); }
  void AddToBothSides(int left_part, int group, double x, double y, double z) {
    Add(left_part, group, x, y, z), Add(left_part + 1, group, -x, y, z);
  }

  /// From 0 to 1 and back once in `period` frames, along parabolas: smooth enough, and without a sine.
  static double Wave(int number, int period) {
    const double t = static_cast<double>(number % period) / period;
    return 4 * t * (1 - t);
  }

  /// Several gestures at the same time, each with its own period; all of them exceed the templates slightly.
  static void Gesture(int number, const Entry& entry, VgeTVector& p) {
    const double side = p.x < 0 ? -1 : 1;
    const double open = Wave(number, 97), smile = 2 * Wave(number, 211) - 1, pucker = Wave(number, 173);
    switch (entry.part) {
    case 0:
      if (entry.group == 4) p.y -= 22 * open, p.z -= 6 * open;
      if (entry.group == 2) p.y -= 20 * open, p.z -= 5 * open + 4 * pucker;
      if (entry.group == 1) p.y += 4 * Wave(number, 131), p.z += 4 * pucker;
      if (entry.group == 0 || entry.group == 3) p.y += 9 * smile - 6 * open, p.x += side * 3 * smile;
      p.x -= 0.6 * pucker * p.x;
      break;
    case 1:
    case 2:
      p.y += 10 * (Wave(number, 83 + entry.part) - 0.4);
      break;
    case 3:
    case 4:
      p.y += (entry.group == 0 ? -12 : 4) * Wave(number, 41 + entry.part) + (entry.group == 0 ? 2 : -1);
      break;
    case 5:
    case 6:
      p.y += 7 * Wave(number, 149) - 2, p.z += 9 * Wave(number, 113 + entry.part) - 2;
      break;
    default:
      p.y += 4 * Wave(number, 59 + entry.part) - 1;
      break;
    }
  }

  /// Rotates and moves the head: a unit quaternion whose vector part varies, and a translation.
  struct HeadPose {
    double rotation[3][3], translation[3]; // rotation[row][column]

    explicit HeadPose(int number) {
      double w = 1, x = 0.4 * (Wave(number, 307) - 0.5), y = 0.8 * (Wave(number, 401) - 0.5),
             z = 0.3 * (Wave(number, 251) - 0.5);
      const double length = std::sqrt(w * w + x * x + y * y + z * z);
      w /= length, x /= length, y /= length, z /= length;
      rotation[0][0] = 1 - 2 * (y * y + z * z), rotation[0][1] = 2 * (x * y - z * w),
      rotation[0][2] = 2 * (x * z + y * w);
      rotation[1][0] = 2 * (x * y + z * w), rotation[1][1] = 1 - 2 * (x * x + z * z),
      rotation[1][2] = 2 * (y * z - x * w);
      rotation[2][0] = 2 * (x * z - y * w), rotation[2][1] = 2 * (y * z + x * w),
      rotation[2][2] = 1 - 2 * (x * x + y * y);
      translation[0] = 300 * (Wave(number, 503) - 0.5);
      translation[1] = 1500 + 80 * Wave(number, 353);
      translation[2] = -200 * Wave(number, 601);
    }

    VgeTVector Carry(const VgeTVector& p) const {
      const auto row = [&](int i) {
        return rotation[i][0] * p.x + rotation[i][1] * p.y + rotation[i][2] * p.z + translation[i];
      };
      return {row(0), row(1), row(2), 1};
    }
  };

  VFaceMarkerSetState mReference;
  Entry mEntries[kMarkerCount];
  int mCount = 0;
  VActorFace mActor; // last, because its groups point to the entries
};

} // namespace tests
