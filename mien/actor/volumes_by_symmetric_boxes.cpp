#include "mien/actor/actor_face.h"
#include "mien/actor/entries.h"
#include "mien/actor/volume.h"
#include "mien/face/face.h"
#include "mien/face/slots.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace mien::detail;

bool VActorFace::Method3FindBoundingBox(int part, const VFaceMarkerSetState* set, VgeTVector& min,
                                        VgeTVector& max, VgeTVector& centre) const {
  Box box(std::numeric_limits<double>::infinity());
  for (int g = 0; g < 5; ++g) {
    if (part == Mouth && g == mouth::ChinGroup) continue; // the lips determine where the mouth is
    ForEachEntry(mParts[part].mGroups[g],
                 [&](const VActorFacePartMarker& entry) { box.Add(set->mPositions[entry.mMarker->mIndex]); });
  }
  min = box.min;
  max = box.max;
  if (!(max.x >= min.x && max.y >= min.y && max.z >= min.z)) return false;
  centre = box.Centre();
  return true;
}

namespace {

struct Pair {
  int left, right;
};

constexpr Pair kBrows = {LeftBrow, RightBrow}, kEyes = {LeftEye, RightEye}, kCheeks = {LeftCheek, RightCheek},
               kNostrils = {LeftNostril, RightNostril};

struct FoundBox {
  bool found = false;
  Box box{std::numeric_limits<double>::infinity()};
  VgeTVector centre; // a face without a mouth box uses this default: height 0
};

/// Makes the two boxes mirror images of each other about x0, each large enough for both.
void MakeSymmetric(FoundBox& left, FoundBox& right, double x0) {
  VgeTVector &lmin = left.box.min, &lmax = left.box.max, &rmin = right.box.min, &rmax = right.box.max;
  lmin.y = rmin.y = std::min(lmin.y, rmin.y);
  lmax.y = rmax.y = std::max(lmax.y, rmax.y);
  lmin.z = rmin.z = std::min(lmin.z, rmin.z);
  lmax.z = rmax.z = std::max(lmax.z, rmax.z);

  const double low = std::min(lmin.x - x0, -(rmax.x - x0));
  const double high = std::max(lmax.x - x0, -(rmin.x - x0));
  lmin.x = low + x0;
  lmax.x = high + x0;
  rmax.x = -low + x0;
  rmin.x = -high + x0;

  left.centre = left.box.Centre();
  right.centre = right.box.Centre();
}

} // namespace

// Boxes around the markers, made symmetric about the face's middle, determine the positions. One scale for
// the whole face, from the heights of the pairs above the mouth, determines the sizes.
bool VActorFace::SetupFindVolumesMethod3(const VFaceMarkerSetState* set) {
  FoundBox parts[9];
  VgeTVector placement[9];
  VgeSVector scale[9];
  for (int p = 0; p < 9; ++p) {
    parts[p].found = Method3FindBoundingBox(p, set, parts[p].box.min, parts[p].box.max, parts[p].centre);
    SetupGetDefaultVolumesTS(p, &placement[p], &scale[p]);
  }
  const auto found = [&parts](const Pair& pair) { return parts[pair.left].found && parts[pair.right].found; };

  // The face's middle.
  double x_sum = 0;
  int x_count = 0;
  if (parts[Mouth].found) {
    x_sum += parts[Mouth].centre.x;
    ++x_count;
  }
  for (const Pair& pair : {kBrows, kEyes, kCheeks, kNostrils}) {
    if (!found(pair)) continue;
    x_sum += (parts[pair.left].centre.x + parts[pair.right].centre.x) / 2;
    ++x_count;
  }
  if (x_count < 2) return false;
  const double x0 = x_sum / x_count;

  parts[Mouth].centre.x = x0;
  for (const Pair& pair : {kBrows, kEyes, kCheeks, kNostrils})
    if (found(pair)) MakeSymmetric(parts[pair.left], parts[pair.right], x0);

  // One scale for the face.
  double measured = 0, placed = 0;
  int pairs = 0;
  for (const Pair& pair : {kEyes, kBrows, kCheeks, kNostrils}) {
    if (!found(pair)) continue;
    measured += std::fabs(parts[Mouth].centre.y - parts[pair.right].centre.y);
    placed += std::fabs(placement[Mouth].y - placement[pair.right].y);
    ++pairs;
  }
  if (pairs == 0) return false;
  const double s = (measured / pairs) / (placed / pairs);

  // The eyes' depth comes from their upper lids, and the brows are placed from the eyes.
  if (found(kEyes)) {
    for (const int side : {0, 1}) {
      const int eye_part = LeftEye + side, brow_part = LeftBrow + side;
      const auto& lid = mParts[eye_part].mGroups[eye::UpperLidGroup];
      VgeTVector& centre = parts[eye_part].centre;
      const bool anchored = lid.GetCount() > 0;
      if (anchored) {
        const double lid_z = GetGlobalFace()->mParts[eye_part].mDefaultPoints[eye::UpperEye].z;
        centre.z = set->mPositions[lid[0]->mMarker->mIndex].z - scale[eye_part].z * lid_z * s;
      }
      if (found(kBrows)) {
        parts[brow_part].centre.x = centre.x + (placement[brow_part].x - placement[eye_part].x) * s;
        parts[brow_part].centre.y = centre.y + (placement[brow_part].y - placement[eye_part].y) * s;
        if (anchored)
          parts[brow_part].centre.z = centre.z + (placement[brow_part].z - placement[eye_part].z) * s;
      }
    }
  }

  const auto write = [&](int p) {
    mParts[p].mMarkerSet.mTransform =
        Volume(VgeSVector(scale[p].x * s, scale[p].y * s, scale[p].z * s), parts[p].centre);
  };
  // Markers are a little outside the features that they follow.
  const auto pull_together = [this](const Pair& pair, double factor) {
    double& left = mParts[pair.left].mMarkerSet.mTransform.m[3][0];
    double& right = mParts[pair.right].mMarkerSet.mTransform.m[3][0];
    const double middle = (left + right) / 2;
    left = (left - middle) * factor + middle;
    right = (right - middle) * factor + middle;
  };
  if (parts[Mouth].found) {
    write(Mouth);
    VgeAMatrix& volume = mParts[Mouth].mMarkerSet.mTransform; // lips reach beyond their markers
    for (int axis = 0; axis < 3; ++axis) volume.m[axis][axis] *= 1.1;
  }
  for (const Pair& pair : {kBrows, kEyes, kCheeks, kNostrils}) {
    if (!found(pair)) continue;
    write(pair.right);
    write(pair.left);
    pull_together(pair, pair.left == LeftBrow ? 0.875 : 0.975);
  }
  return true;
}
