#include "mien/actor/actor_face.h"
#include "mien/actor/volume.h"
#include "mien/face/slots.h"

#include <initializer_list>
#include <optional>

using namespace mien::detail;

bool VActorFace::SetupGetPartCenterXYZ(int part, const VFaceMarkerSetState* set, double centre[3]) const {
  Box box(kFarAway);
  for (const auto& group : mParts[part].mGroups) {
    // Of each of the mouth's groups, only the second and the third entry.
    const int begin = part == Mouth ? 1 : 0;
    const int end = part == Mouth && group.GetCount() > 3 ? 3 : group.GetCount();
    for (int i = begin; i < end; ++i) box.Add(set->mPositions[group[i]->mMarker->mIndex]);
  }
  const bool lowered = box.min.x < kFarAway || box.min.y < kFarAway || box.min.z < kFarAway;
  const bool raised = box.max.x > -kFarAway || box.max.y > -kFarAway || box.max.z > -kFarAway;
  if (!lowered || !raised) {
    centre[0] = centre[1] = 0;
    return false;
  }
  const VgeTVector middle = box.Centre();
  centre[0] = middle.x;
  centre[1] = middle.y;
  centre[2] = middle.z;
  return true;
}

namespace {

/// A coordinate of the performer's face and its counterpart on the default face.
struct Sample {
  bool found;
  double measured, placed;
};

/// measured = placed * scale + offset
struct Fit {
  double scale, offset;
};

const Sample* FirstFound(std::initializer_list<const Sample*> samples) {
  for (const Sample* sample : samples)
    if (sample->found) return sample;
  return nullptr;
}

/// The line through two samples; none if there are no two different ones.
std::optional<Fit> LineThrough(const Sample* first, const Sample* second) {
  if (!first || !second || first == second) return std::nullopt;
  const double scale = (first->measured - second->measured) / (first->placed - second->placed);
  return Fit{scale, second->measured - second->placed * scale};
}

struct Centre {
  bool found = false;
  double xyz[3] = {};
};

/// The centres of mouth, brows and eyes, and the positions of these parts on the default face (size of both:
/// parts).
struct Landmarks {
  Centre centres[9];
  VgeTVector placement[9];

  double Placed(int part, int axis) const {
    const VgeTVector& t = placement[part];
    return axis == 0 ? t.x : axis == 1 ? t.y : t.z;
  }

  Sample Of(int part, int axis) const {
    return {centres[part].found, centres[part].xyz[axis], Placed(part, axis)};
  }

  /// The mean of those of the two that are found, and the placement of the right one.
  Sample OfPair(int right, int left, int axis) const {
    const Centre &r = centres[right], &l = centres[left];
    const double measured =
        r.found && l.found ? (r.xyz[axis] + l.xyz[axis]) / 2 : (r.found ? r : l).xyz[axis];
    return {r.found || l.found, measured, Placed(right, axis)};
  }

  std::optional<Fit> FitX() const {
    double ratios = 0;
    int sides = 0;
    const auto add_side = [&](int brow, int eye) {
      const Sample side = Of(centres[brow].found ? brow : eye, 0);
      if (!side.found) return;
      ratios += side.measured / side.placed;
      ++sides;
    };
    add_side(RightBrow, RightEye);
    add_side(LeftBrow, LeftEye);
    if (!centres[Mouth].found || sides == 0) return std::nullopt;
    return Fit{ratios / sides, centres[Mouth].xyz[0]};
  }

  std::optional<Fit> FitY() const {
    const Sample mouth = Of(Mouth, 1), brows = OfPair(RightBrow, LeftBrow, 1),
                 eyes = OfPair(RightEye, LeftEye, 1);
    return LineThrough(FirstFound({&brows, &eyes}), FirstFound({&mouth, &eyes}));
  }

  std::optional<Fit> FitZ() const {
    const Sample mouth = Of(Mouth, 2), brows = OfPair(RightBrow, LeftBrow, 2),
                 eyes = OfPair(RightEye, LeftEye, 2);
    return LineThrough(FirstFound({&mouth, &eyes}), FirstFound({&brows, &eyes, &mouth}));
  }
};

} // namespace

// The default placement, scaled and moved per axis to fit the centres of mouth, brows and eyes.
bool VActorFace::SetupFindVolumesMethod1(const VFaceMarkerSetState* set) {
  Landmarks landmarks;
  VgeSVector scale[9];
  for (int p = 0; p < 9; ++p) SetupGetDefaultVolumesTS(p, &landmarks.placement[p], &scale[p]);
  for (const int p : {Mouth, RightBrow, LeftBrow, RightEye, LeftEye})
    landmarks.centres[p].found = SetupGetPartCenterXYZ(p, set, landmarks.centres[p].xyz);

  const std::optional<Fit> x = landmarks.FitX(), y = landmarks.FitY(), z = landmarks.FitZ();
  if (!x || !y) return false;
  if (!z) return true;
  for (int p = 0; p < 9; ++p) {
    if (mParts[p].GetMarkerCount() == 0) continue;
    const VgeTVector& t = landmarks.placement[p];
    mParts[p].mMarkerSet.mTransform =
        Volume(VgeSVector(scale[p].x * x->scale, scale[p].y * y->scale, scale[p].z * z->scale),
               {t.x * x->scale + x->offset, t.y * y->scale + y->offset, t.z * z->scale + z->offset});
  }
  return true;
}
