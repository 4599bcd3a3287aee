#include "mien/actor/actor_face.h"
#include "mien/actor/volume.h"

#include <initializer_list>
#include <optional>

using namespace mien;

bool VActorFace::SetupGetPartCenterXYZ(int part, const VFaceMarkerSetState* set, double centre[3]) const {
  Box box(kBeyondAnyTake);
  for (const auto& group : mParts[part].mGroups) {
    // The first marker of a mouth group is its outermost: left out, the centre stays with the lips.
    const int begin = part == Mouth ? 1 : 0;
    const int end = part == Mouth && group.GetCount() > 3 ? 3 : group.GetCount();
    for (int i = begin; i < end; ++i) box.Add(set->mPositions[group[i]->mMarker->mIndex]);
  }
  const bool lowered = box.min.x < kBeyondAnyTake || box.min.y < kBeyondAnyTake || box.min.z < kBeyondAnyTake;
  const bool raised =
      box.max.x > -kBeyondAnyTake || box.max.y > -kBeyondAnyTake || box.max.z > -kBeyondAnyTake;
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

/// A height or depth of the performer's face and its counterpart on the default face.
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

/// The line through two samples; none where there are not two different ones.
std::optional<Fit> LineThrough(const Sample* first, const Sample* second) {
  if (!first || !second || first == second) return std::nullopt;
  const double scale = (first->measured - second->measured) / (first->placed - second->placed);
  return Fit{scale, second->measured - second->placed * scale};
}

} // namespace

// The default placement, scaled and moved per axis to fit the centres of mouth, brows and eyes.
bool VActorFace::SetupFindVolumesMethod1(const VFaceMarkerSetState* set) {
  struct {
    bool found;
    double centre[3];
  } parts[5] = {};
  VgeTVector placement[9];
  VgeSVector scale[9];
  for (int p = 0; p < 9; ++p) SetupGetDefaultVolumesTS(p, &placement[p], &scale[p]);
  for (const int p : {Mouth, RightBrow, LeftBrow, RightEye, LeftEye})
    parts[p].found = SetupGetPartCenterXYZ(p, set, parts[p].centre);

  const auto pair = [&](int right, int left, int axis, double placed) {
    const auto &r = parts[right], &l = parts[left];
    const double measured = r.found && l.found ? (r.centre[axis] + l.centre[axis]) / 2
                            : r.found          ? r.centre[axis]
                                               : l.centre[axis];
    return Sample{r.found || l.found, measured, placed};
  };
  const auto mouth_at = [&](int axis, double placed) {
    return Sample{parts[Mouth].found, parts[Mouth].centre[axis], placed};
  };

  std::optional<Fit> y;
  {
    const Sample mouth = mouth_at(1, placement[Mouth].y);
    const Sample brows = pair(RightBrow, LeftBrow, 1, placement[RightBrow].y);
    const Sample eyes = pair(RightEye, LeftEye, 1, placement[RightEye].y);
    y = LineThrough(FirstFound({&brows, &eyes}), FirstFound({&mouth, &eyes}));
  }

  std::optional<Fit> x;
  {
    double ratios = 0;
    int sides = 0;
    for (const auto& [brow, eye] : {std::pair{RightBrow, RightEye}, std::pair{LeftBrow, LeftEye}}) {
      const int side = parts[brow].found ? brow : eye;
      if (!parts[side].found) continue;
      ratios += parts[side].centre[0] / placement[side].x;
      ++sides;
    }
    if (parts[Mouth].found && sides > 0) x = Fit{ratios / sides, parts[Mouth].centre[0]};
  }

  std::optional<Fit> z;
  {
    const Sample mouth = mouth_at(2, placement[Mouth].z);
    const Sample brows = pair(RightBrow, LeftBrow, 2, placement[RightBrow].z);
    const Sample eyes = pair(RightEye, LeftEye, 2, placement[RightEye].z);
    z = LineThrough(FirstFound({&mouth, &eyes}), FirstFound({&brows, &eyes, &mouth}));
  }

  if (!x || !y) return false;
  if (!z) return true;
  for (int p = 0; p < 9; ++p)
    mParts[p].mMarkerSet.mTransform =
        Volume(VgeSVector(scale[p].x * x->scale, scale[p].y * y->scale, scale[p].z * z->scale),
               {placement[p].x * x->scale + x->offset, placement[p].y * y->scale + y->offset,
                placement[p].z * z->scale + z->offset});
  return true;
}
