#include "mien/actor/actor_face.h"
#include "tests/actor/test_actor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace actor_test;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();

/// The positions and sizes of the default face's parts: the quotients of its reference sizes and template
/// scales.
struct Placement {
  double t[3], s[3];
};
constexpr Placement defaults[part_count] = {
    {{0, 2.642, 19.0}, {3.438 / 2, 5.0 / 10, 1.0}},
    {{3.202, 11.601, 18.353}, {2.642 / 2, 1.318 / 6, 0.761}},
    {{-3.202, 11.601, 18.353}, {2.642 / 2, 1.318 / 6, 0.761}},
    {{2.961, 9.808, 18.408}, {1.408 / 2, 1.408 / 2, 0.704}},
    {{-2.961, 9.808, 18.408}, {1.408 / 2, 1.408 / 2, 0.704}},
    {{2.961, 6.308, 18.408}, {2.0, 5.0 / 3, 2.0}},
    {{-2.961, 6.308, 18.408}, {2.0, 5.0 / 3, 2.0}},
    {{2.0, 5.0, 18.408}, {1.408 / 2, 1.408 / 2, 0.704 / 2}},
    {{-2.0, 5.0, 18.408}, {1.408 / 2, 1.408 / 2, 0.704 / 2}},
};

/// The y of point "UpperEye" is 1; its z, which anchors the depth of an eye, is 0.
constexpr double upper_eye_z = 0;

VgeAMatrix DefaultVolume(int part) {
  const Placement& p = defaults[part];
  return ScaleAndTranslation(p.s[0], p.s[1], p.s[2], p.t[0], p.t[1], p.t[2]);
}

/// A volume that no fit gives, sheared and different for each part, so that unchanged elements are detected.
VgeAMatrix Untouched(int part) {
  VgeAMatrix a;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) a.m[column][row] = 1000.0 * (part + 1) + 10 * column + row;
  return a;
}

/// The marker positions of a performer by part and group.
struct Layout {
  std::vector<VgeTVector> groups[part_count][group_count];
};

struct Performer {
  TestActor actor;
  VFaceMarkerSetState set;

  Performer() = default;
  explicit Performer(const Layout& layout) {
    for (int part = 0; part < part_count; ++part)
      for (int group = 0; group < group_count; ++group)
        for (const VgeTVector& position : layout.groups[part][group]) actor.Place(part, group, set, position);
    Untouch();
  }

  void Untouch() {
    for (int part = 0; part < part_count; ++part) actor.Volume(part) = Untouched(part);
  }
  void ExpectAllUntouched() {
    for (int part = 0; part < part_count; ++part)
      EXPECT_TRUE(IsMatrix(actor.Volume(part), Untouched(part))) << "part " << part;
  }
};

// ------------------------------------------------------------------------------------------------------
// A second, simple implementation of the fits.

struct Volume {
  double size[3], centre[3];
};
using Volumes = std::array<std::optional<Volume>, part_count>; // nothing: the part keeps its volume

struct Box {
  bool found = false;
  double min[3] = {infinity, infinity, infinity};
  double max[3] = {-infinity, -infinity, -infinity};
  double centre[3] = {0, 0, 0};

  void Include(const VgeTVector& p) {
    const double xyz[3] = {p.x, p.y, p.z};
    for (int axis = 0; axis < 3; ++axis) {
      min[axis] = std::min(min[axis], xyz[axis]);
      max[axis] = std::max(max[axis], xyz[axis]);
    }
    found = true;
    Recentre();
  }
  void Recentre() {
    for (int axis = 0; axis < 3; ++axis) centre[axis] = (min[axis] + max[axis]) / 2;
  }
};

std::optional<Volumes> SymmetricBoxFit(const Layout& layout) {
  Box box[part_count];
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group)
      if (!(part == Mouth && group == 4))
        for (const VgeTVector& position : layout.groups[part][group]) box[part].Include(position);

  constexpr int lefts[4] = {LeftBrow, LeftEye, LeftCheek, LeftNostril};
  const auto both = [&box](int left) { return box[left].found && box[left + 1].found; };

  // The middle of the face.
  std::vector<double> middles;
  if (box[Mouth].found) middles.push_back(box[Mouth].centre[0]);
  for (const int left : lefts)
    if (both(left)) middles.push_back((box[left].centre[0] + box[left + 1].centre[0]) / 2);
  if (middles.size() < 2) return std::nullopt;
  double x0 = 0;
  for (const double middle : middles) x0 += middle;
  x0 /= static_cast<double>(middles.size());

  // Mirror images about it.
  box[Mouth].centre[0] = x0;
  for (const int left : lefts) {
    if (!both(left)) continue;
    Box &l = box[left], &r = box[left + 1];
    for (int axis = 1; axis < 3; ++axis) {
      l.min[axis] = r.min[axis] = std::min(l.min[axis], r.min[axis]);
      l.max[axis] = r.max[axis] = std::max(l.max[axis], r.max[axis]);
    }
    const double near = std::min(l.min[0] - x0, -(r.max[0] - x0));
    const double far = std::max(l.max[0] - x0, -(r.min[0] - x0));
    l.min[0] = x0 + near, l.max[0] = x0 + far;
    r.min[0] = x0 - far, r.max[0] = x0 - near;
    l.Recentre(), r.Recentre();
  }

  // One scale from the heights above the mouth.
  double measured = 0, by_default = 0;
  for (const int left : lefts) {
    if (!both(left)) continue;
    measured += std::abs(box[Mouth].centre[1] - box[left].centre[1]);
    by_default += std::abs(defaults[Mouth].t[1] - defaults[left + 1].t[1]);
  }
  const double s = measured / by_default;

  // Eyes by their upper lids, brows by the eyes.
  if (both(LeftEye)) {
    for (const int eye : {LeftEye, RightEye}) {
      const std::vector<VgeTVector>& upper_lid = layout.groups[eye][0];
      if (!upper_lid.empty()) box[eye].centre[2] = upper_lid[0].z - defaults[eye].s[2] * upper_eye_z * s;
      if (!both(LeftBrow)) continue;
      const int brow = eye == LeftEye ? LeftBrow : RightBrow;
      for (int axis = 0; axis < 3; ++axis)
        if (axis < 2 || !upper_lid.empty())
          box[brow].centre[axis] =
              box[eye].centre[axis] + (defaults[brow].t[axis] - defaults[eye].t[axis]) * s;
    }
  }

  Volumes volumes;
  const auto write = [&](int part) {
    Volume volume{};
    for (int axis = 0; axis < 3; ++axis) {
      volume.size[axis] = defaults[part].s[axis] * s;
      volume.centre[axis] = box[part].centre[axis];
    }
    volumes[static_cast<std::size_t>(part)] = volume;
  };
  if (box[Mouth].found) {
    write(Mouth);
    for (double& size : volumes[Mouth]->size) size *= 1.1;
  }
  for (const int left : lefts) {
    if (!both(left)) continue;
    write(left), write(left + 1);
    double& lx = volumes[static_cast<std::size_t>(left)]->centre[0];
    double& rx = volumes[static_cast<std::size_t>(left) + 1]->centre[0];
    const double middle = (lx + rx) / 2, pull = left == LeftBrow ? 0.875 : 0.975;
    lx = (lx - middle) * pull + middle;
    rx = (rx - middle) * pull + middle;
  }
  return volumes;
}

/// The centre that the landmark fit uses: of a mouth, only the second and third marker of each group count.
std::optional<Box> Landmark(const Layout& layout, int part) {
  Box box;
  for (const std::vector<VgeTVector>& group : layout.groups[part])
    for (std::size_t i = 0; i < group.size(); ++i)
      if (part != Mouth || i == 1 || i == 2) box.Include(group[i]);
  if (!box.found) return std::nullopt;
  return box;
}

std::optional<Volumes> LandmarkFit(const Layout& layout) {
  const auto mouth = Landmark(layout, Mouth);
  const auto left_brow = Landmark(layout, LeftBrow), right_brow = Landmark(layout, RightBrow);
  const auto left_eye = Landmark(layout, LeftEye), right_eye = Landmark(layout, RightEye);

  struct Sample {
    double y, z, default_y, default_z;
  };
  const auto pair = [](const std::optional<Box>& a, const std::optional<Box>& b,
                       int right) -> std::optional<Sample> {
    if (!a && !b) return std::nullopt;
    Sample sample{0, 0, defaults[right].t[1], defaults[right].t[2]};
    for (const auto* const one : {&a, &b})
      if (*one) sample.y += (*one)->centre[1], sample.z += (*one)->centre[2];
    if (a && b) sample.y /= 2, sample.z /= 2;
    return sample;
  };
  const auto brows = pair(right_brow, left_brow, RightBrow), eyes = pair(right_eye, left_eye, RightEye);

  // The x fit needs the mouth and another part; with those two, the fits of y and z have their
  // samples too: the brows (or else the eyes) and the mouth.
  if (!mouth || (!brows && !eyes)) return std::nullopt;
  const Sample upper = brows ? *brows : *eyes;

  double scale[3], offset[3];
  double ratios = 0;
  int ratio_count = 0;
  if (right_brow || right_eye) {
    ratios += right_brow ? right_brow->centre[0] / defaults[RightBrow].t[0]
                         : right_eye->centre[0] / defaults[RightEye].t[0];
    ++ratio_count;
  }
  if (left_brow || left_eye) {
    ratios += left_brow ? left_brow->centre[0] / defaults[LeftBrow].t[0]
                        : left_eye->centre[0] / defaults[LeftEye].t[0];
    ++ratio_count;
  }
  scale[0] = ratios / ratio_count;
  offset[0] = mouth->centre[0];
  scale[1] = (upper.y - mouth->centre[1]) / (upper.default_y - defaults[Mouth].t[1]);
  offset[1] = mouth->centre[1] - defaults[Mouth].t[1] * scale[1];
  scale[2] = (mouth->centre[2] - upper.z) / (defaults[Mouth].t[2] - upper.default_z);
  offset[2] = upper.z - upper.default_z * scale[2];

  Volumes volumes;
  for (int part = 0; part < part_count; ++part) {
    bool has_markers = false;
    for (const auto& group : layout.groups[part]) has_markers |= !group.empty();
    if (!has_markers) continue;
    Volume volume{};
    for (int axis = 0; axis < 3; ++axis) {
      volume.size[axis] = defaults[part].s[axis] * scale[axis];
      volume.centre[axis] = defaults[part].t[axis] * scale[axis] + offset[axis];
    }
    volumes[static_cast<std::size_t>(part)] = volume;
  }
  return volumes;
}

// ------------------------------------------------------------------------------------------------------

/// Written elements equal the expectation to `tolerance`; all others keep their bits.
void ExpectVolumes(Performer& performer, const Volumes& expected, double tolerance) {
  for (int part = 0; part < part_count; ++part) {
    const auto& volume = expected[static_cast<std::size_t>(part)];
    if (volume) {
      const VgeAMatrix matrix = ScaleAndTranslation(volume->size[0], volume->size[1], volume->size[2],
                                                    volume->centre[0], volume->centre[1], volume->centre[2]);
      EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(part), matrix, tolerance)) << "part " << part;
    } else {
      EXPECT_TRUE(IsMatrix(performer.actor.Volume(part), Untouched(part))) << "part " << part;
    }
  }
}

/// Positions around the part on a face six times the size of the default one.
VgeTVector SomewhereIn(int part, Random& random) {
  const double* const t = defaults[part].t;
  return Sum(random.PointBetween(-12, 12), {6 * t[0] + 4, 6 * t[1] - 30, 6 * t[2] - 90});
}

void AddSome(Layout& layout, int part, int group, int count, Random& random) {
  for (int i = 0; i < count; ++i) layout.groups[part][group].push_back(SomewhereIn(part, random));
}

// Positions are of the order of 100, scales of the order of 10, and the two ways of adding them differ by a
// few roundings of 1e-14 each.
constexpr double rounding = 1e-11;

} // namespace

// --- Defaults

TEST(DefaultVolumes, AreThoseOfTheTable) {
  TestActor actor;
  for (int part = 0; part < part_count; ++part)
    EXPECT_TRUE(IsMatrix(actor.Volume(part), DefaultVolume(part))) << "part " << part;
}

TEST(DefaultVolumes, AreRestoredByInit) {
  Performer performer;
  performer.Untouch();
  performer.actor.SetupInitVolumes();
  for (int part = 0; part < part_count; ++part)
    EXPECT_TRUE(IsMatrix(performer.actor.Volume(part), DefaultVolume(part))) << "part " << part;
}

TEST(DefaultVolumes, InitChangesOnlyTheVolumes) {
  Performer performer;
  performer.actor.mParts[Mouth].mMatrix = Untouched(3);
  performer.actor.mParts[Mouth].mMarkerSet.mPositions[17] = {1, 2, 3};
  performer.actor.mParts[Mouth].mMarkerSet.mRBTransform = Untouched(4);
  performer.actor.SetupInitVolumes();
  EXPECT_EQ(performer.actor.mParts[Mouth].mMatrix, Untouched(3));
  EXPECT_TRUE(IsPoint(performer.actor.mParts[Mouth].mMarkerSet.mPositions[17], {1, 2, 3}));
  EXPECT_EQ(performer.actor.mParts[Mouth].mMarkerSet.mRBTransform, Untouched(4));
}

TEST(DefaultVolumes, AreReturnedAsTranslationAndScale) {
  const TestActor actor;
  for (int part = 0; part < part_count; ++part) {
    VgeTVector t{7, 7, 7};
    VgeSVector s(7, 7, 7);
    actor.SetupGetDefaultVolumesTS(part, &t, &s);
    const Placement& expected = defaults[part];
    EXPECT_TRUE(IsPoint(t, {expected.t[0], expected.t[1], expected.t[2]})) << "part " << part;
    EXPECT_EQ(s, VgeSVector(expected.s[0], expected.s[1], expected.s[2])) << "part " << part;
  }
}

TEST(DefaultVolumes, ANullOutputIsSkipped) {
  const TestActor actor;
  VgeTVector t;
  VgeSVector s;
  actor.SetupGetDefaultVolumesTS(LeftCheek, &t, nullptr);
  EXPECT_TRUE(IsPoint(t, {2.961, 6.308, 18.408}));
  actor.SetupGetDefaultVolumesTS(LeftCheek, nullptr, &s);
  EXPECT_EQ(s, VgeSVector(2, 5.0 / 3, 2));
  actor.SetupGetDefaultVolumesTS(LeftCheek, nullptr, nullptr);
}

TEST(DefaultVolumes, FollowTheGlobalFaceAtEveryCall) {
  TestActor actor;
  const ChangedGlobalPart eye(LeftEye);
  eye->mCenter = VgeTVector{1, 2, 3};
  eye->mScale = VgeSVector(4, 5, 6);
  VgeTVector t;
  VgeSVector s;
  actor.SetupGetDefaultVolumesTS(LeftEye, &t, &s);
  EXPECT_TRUE(IsPoint(t, {1, 2, 3}));
  EXPECT_EQ(s, VgeSVector(4, 5, 6));
  EXPECT_TRUE(IsMatrix(actor.Volume(LeftEye), DefaultVolume(LeftEye)));
  actor.SetupInitVolumes();
  EXPECT_TRUE(IsMatrix(actor.Volume(LeftEye), ScaleAndTranslation(4, 5, 6, 1, 2, 3)));
}

// --- SetupGetPartCenterXYZ

TEST(PartCentre, IsTheMiddleOfTheBoxOfAllGroups) {
  Performer performer;
  const double coordinates[group_count] = {3, -1, 7, 5, 2};
  for (int group = 0; group < group_count; ++group)
    performer.actor.Place(LeftBrow, group, performer.set,
                          {coordinates[group], 10 * coordinates[group], -coordinates[group]});
  double centre[3] = {9, 9, 9};
  EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(LeftBrow, &performer.set, centre));
  EXPECT_EQ(centre[0], 3.0);
  EXPECT_EQ(centre[1], 30.0);
  EXPECT_EQ(centre[2], -3.0);
}

// The outermost markers of the lips are left out: a corner or chin marker would move the landmark away from
// the mouth's middle.
TEST(PartCentre, OfTheMouthCountsOnlySecondAndThirdMarkerOfEachGroup) {
  Performer performer;
  for (int group = 0; group < group_count; ++group)
    for (int i = 0; i < 5; ++i) {
      const bool counts = i == 1 || i == 2;
      const double x = counts ? 10.0 * group + i : 1000.0 * (i - 2) + group;
      performer.actor.Place(Mouth, group, performer.set, {x, 2 * x, 4 * x});
    }
  double centre[3];
  EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(Mouth, &performer.set, centre));
  EXPECT_EQ(centre[0], 21.5); // from 1 to 42
  EXPECT_EQ(centre[1], 43.0);
  EXPECT_EQ(centre[2], 86.0);
}

TEST(PartCentre, OfAPartWithoutMarkersIsZeroAndKeepsItsDepth) {
  Performer performer;
  for (int part = 0; part < part_count; ++part) {
    double centre[3] = {9, 8, 7};
    EXPECT_FALSE(performer.actor.SetupGetPartCenterXYZ(part, &performer.set, centre));
    EXPECT_EQ(centre[0], 0.0);
    EXPECT_EQ(centre[1], 0.0);
    EXPECT_EQ(centre[2], 7.0);
  }
}

TEST(PartCentre, OfAMouthWithSingleMarkersIsMissing) {
  Performer performer;
  for (int group = 0; group < group_count; ++group)
    performer.actor.Place(Mouth, group, performer.set, {1, 2, 3});
  double centre[3] = {9, 8, 7};
  EXPECT_FALSE(performer.actor.SetupGetPartCenterXYZ(Mouth, &performer.set, centre));
  EXPECT_EQ(centre[0], 0.0);
  EXPECT_EQ(centre[1], 0.0);
  EXPECT_EQ(centre[2], 7.0);
}

TEST(PartCentre, UsesTheMarkersSlotNotItsPositionInTheList) {
  Performer performer;
  VActorFacePartMarker* const entry = performer.actor.Place(LeftCheek, 0);
  entry->mMarker->mIndex = 224;
  performer.set.mPositions[0] = {1, 1, 1};
  performer.set.mPositions[224] = {4, 5, 6};
  double centre[3];
  EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre));
  EXPECT_EQ(centre[0], 4.0);
  EXPECT_EQ(centre[1], 5.0);
  EXPECT_EQ(centre[2], 6.0);
}

// The box starts from 1e8 and -1e8, not from infinity: markers beyond in every coordinate are ignored.
TEST(PartCentre, IgnoresMarkersBeyondAHundredMillion) {
  for (const double far : {1e8, 2e8, -1e8, -2e8}) {
    Performer performer;
    performer.actor.Place(LeftCheek, 0, performer.set, {far, far, far});
    double centre[3] = {9, 8, 7};
    EXPECT_FALSE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre)) << far;
    EXPECT_EQ(centre[0], 0.0);
    EXPECT_EQ(centre[1], 0.0);
    EXPECT_EQ(centre[2], 7.0);
  }
}

TEST(PartCentre, OneCoordinateBeyondAHundredMillionUsesTheInitialBox) {
  Performer performer;
  performer.actor.Place(LeftCheek, 0, performer.set, {2e8, 4, 6});
  double centre[3];
  EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre));
  EXPECT_EQ(centre[0], 1.5e8);
  EXPECT_EQ(centre[1], 4.0);
  EXPECT_EQ(centre[2], 6.0);
}

TEST(PartCentre, OneCoordinateWithinAHundredMillionIsEnough) {
  for (const double far : {2e8, -2e8})
    for (int axis = 0; axis < 3; ++axis) {
      double xyz[3] = {far, far, far};
      xyz[axis] = 4;
      Performer performer;
      performer.actor.Place(LeftCheek, 0, performer.set, {xyz[0], xyz[1], xyz[2]});
      double centre[3];
      EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre));
      for (int i = 0; i < 3; ++i) EXPECT_EQ(centre[i], i == axis ? 4 : 0.75 * far) << "axis " << i;
    }
}

TEST(PartCentre, IgnoresNaNCoordinates) {
  Performer performer;
  performer.actor.Place(LeftCheek, 0, performer.set, {no_number, 1, 2});
  performer.actor.Place(LeftCheek, 0, performer.set, {3, 5, no_number});
  performer.actor.Place(LeftCheek, 0, performer.set, {no_number, no_number, no_number});
  double centre[3];
  EXPECT_TRUE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre));
  EXPECT_EQ(centre[0], 3.0);
  EXPECT_EQ(centre[1], 3.0);
  EXPECT_EQ(centre[2], 2.0);
}

TEST(PartCentre, OfOnlyNaNsIsMissing) {
  Performer performer;
  performer.actor.Place(LeftCheek, 0, performer.set, {no_number, no_number, no_number});
  double centre[3] = {9, 8, 7};
  EXPECT_FALSE(performer.actor.SetupGetPartCenterXYZ(LeftCheek, &performer.set, centre));
  EXPECT_EQ(centre[0], 0.0);
  EXPECT_EQ(centre[1], 0.0);
  EXPECT_EQ(centre[2], 7.0);
}

// --- Method3FindBoundingBox

TEST(BoundingBox, SpansAllGroupsOfAPart) {
  Performer performer;
  for (int group = 0; group < group_count; ++group)
    performer.actor.Place(RightNostril, group, performer.set, {1.0 * group, -2.0 * group, 4.0 * group + 1});
  VgeTVector min, max, centre;
  EXPECT_TRUE(performer.actor.Method3FindBoundingBox(RightNostril, &performer.set, min, max, centre));
  EXPECT_TRUE(IsPoint(min, {0, -8, 1}));
  EXPECT_TRUE(IsPoint(max, {4, 0, 17}));
  EXPECT_TRUE(IsPoint(centre, {2, -4, 9}));
}

TEST(BoundingBox, OfTheMouthLeavesOutTheChin) {
  Performer performer;
  for (int group = 0; group < group_count; ++group)
    performer.actor.Place(Mouth, group, performer.set, {1.0 * group, -2.0 * group, 4.0 * group + 1});
  VgeTVector min, max, centre;
  EXPECT_TRUE(performer.actor.Method3FindBoundingBox(Mouth, &performer.set, min, max, centre));
  EXPECT_TRUE(IsPoint(min, {0, -6, 1}));
  EXPECT_TRUE(IsPoint(max, {3, 0, 13}));
  EXPECT_TRUE(IsPoint(centre, {1.5, -3, 7}));
}

TEST(BoundingBox, OfTheMouthCountsEveryMarkerOfAGroup) {
  Performer performer;
  for (int i = 0; i < 5; ++i) performer.actor.Place(Mouth, 1, performer.set, {1.0 * i, 0, 0});
  VgeTVector min, max, centre;
  EXPECT_TRUE(performer.actor.Method3FindBoundingBox(Mouth, &performer.set, min, max, centre));
  EXPECT_TRUE(IsPoint(min, {0, 0, 0}));
  EXPECT_TRUE(IsPoint(max, {4, 0, 0}));
}

TEST(BoundingBox, OfNothingIsInsideOut) {
  Performer performer;
  performer.actor.Place(Mouth, 4, performer.set, {1, 2, 3}); // a chin without lips is not a mouth
  for (int part = 0; part < part_count; ++part) {
    VgeTVector min, max, centre;
    EXPECT_FALSE(performer.actor.Method3FindBoundingBox(part, &performer.set, min, max, centre));
    EXPECT_TRUE(IsPoint(min, {infinity, infinity, infinity}));
    EXPECT_TRUE(IsPoint(max, {-infinity, -infinity, -infinity}));
  }
}

TEST(BoundingBox, OfOneMarkerIsThatMarker) {
  Performer performer;
  performer.actor.Place(LeftEye, 1, performer.set, {2e8, -2e8, 3e9}); // no initial value of 1e8 here
  VgeTVector min, max, centre;
  EXPECT_TRUE(performer.actor.Method3FindBoundingBox(LeftEye, &performer.set, min, max, centre));
  EXPECT_TRUE(IsPoint(min, {2e8, -2e8, 3e9}));
  EXPECT_TRUE(IsPoint(max, {2e8, -2e8, 3e9}));
  EXPECT_TRUE(IsPoint(centre, {2e8, -2e8, 3e9}));
}

TEST(BoundingBox, IgnoresNaNCoordinates) {
  Performer performer;
  performer.actor.Place(LeftEye, 0, performer.set, {no_number, 1, 2});
  performer.actor.Place(LeftEye, 0, performer.set, {4, no_number, 6});
  VgeTVector min, max, centre;
  EXPECT_TRUE(performer.actor.Method3FindBoundingBox(LeftEye, &performer.set, min, max, centre));
  EXPECT_TRUE(IsPoint(min, {4, 1, 2}));
  EXPECT_TRUE(IsPoint(max, {4, 1, 6}));
  EXPECT_TRUE(IsPoint(centre, {4, 1, 4}));
}

TEST(BoundingBox, NeedsANumberInEveryAxis) {
  for (int axis = 0; axis < 3; ++axis) {
    Performer performer;
    double xyz[3] = {1, 2, 3};
    xyz[axis] = no_number;
    performer.actor.Place(LeftEye, 0, performer.set, {xyz[0], xyz[1], xyz[2]});
    VgeTVector min, max, centre;
    EXPECT_FALSE(performer.actor.Method3FindBoundingBox(LeftEye, &performer.set, min, max, centre)) << axis;
  }
}

// --- Method 2, plain boxes

TEST(PlainBoxFit, CentresOnTheBoxAndTakesItsSize) {
  Performer performer;
  performer.actor.Place(RightCheek, 0, performer.set, {-10, 4, 1});
  performer.actor.Place(RightCheek, 3, performer.set, {-4, 6, 9});
  performer.Untouch();
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(RightCheek), ScaleAndTranslation(6, 2, 8, -7, 5, 5)));
}

TEST(PlainBoxFit, CountsAllMarkersOfTheMouth) {
  Performer performer;
  for (int group = 0; group < group_count; ++group)
    performer.actor.Place(Mouth, group, performer.set, {1.0 * group, 2.0 * group, 3.0 * group});
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(Mouth), ScaleAndTranslation(4, 8, 12, 2, 4, 6)));
}

TEST(PlainBoxFit, ReplacesSizesOfZero) {
  struct {
    double spread[3], size[3];
  } const cases[] = {
      {{0, 0, 0}, {1, 1, 1}}, {{6, 0, 0}, {6, 6, 1}}, {{0, 6, 0}, {6, 6, 1}}, {{0, 0, 6}, {1, 1, 6}},
      {{6, 4, 0}, {6, 4, 1}}, {{6, 0, 4}, {6, 6, 4}}, {{0, 6, 4}, {6, 6, 4}}, {{6, 4, 2}, {6, 4, 2}},
  };
  for (const auto& c : cases) {
    Performer performer;
    performer.actor.Place(LeftNostril, 0, performer.set, {10, 20, 30});
    performer.actor.Place(LeftNostril, 0, performer.set,
                          {10 + c.spread[0], 20 + c.spread[1], 30 + c.spread[2]});
    EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
    EXPECT_TRUE(IsMatrix(performer.actor.Volume(LeftNostril),
                         ScaleAndTranslation(c.size[0], c.size[1], c.size[2], 10 + c.spread[0] / 2,
                                             20 + c.spread[1] / 2, 30 + c.spread[2] / 2)));
  }
}

TEST(PlainBoxFit, OfASingleMarkerIsAUnitBoxAtTheMarker) {
  Performer performer;
  performer.actor.Place(LeftBrow, 1, performer.set, {3, 4, 5});
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(LeftBrow), ScaleAndTranslation(1, 1, 1, 3, 4, 5)));
}

TEST(PlainBoxFit, KeepsTheVolumesOfPartsWithoutMarkers) {
  for (int only = 0; only < part_count; ++only) {
    Performer performer;
    performer.actor.Place(only, 4, performer.set, {3, 4, 5});
    performer.Untouch();
    EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
    for (int part = 0; part < part_count; ++part)
      EXPECT_TRUE(IsMatrix(performer.actor.Volume(part),
                           part == only ? ScaleAndTranslation(1, 1, 1, 3, 4, 5) : Untouched(part)));
  }
}

TEST(PlainBoxFit, SucceedsWithoutAnyMarker) {
  Performer performer;
  performer.Untouch();
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
  performer.ExpectAllUntouched();
}

TEST(PlainBoxFit, IgnoresNaNCoordinates) {
  Performer performer;
  performer.actor.Place(LeftBrow, 0, performer.set, {no_number, 4, 5});
  performer.actor.Place(LeftBrow, 0, performer.set, {3, 8, no_number});
  performer.actor.Place(LeftBrow, 0, performer.set, {5, no_number, 9});
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod2(&performer.set));
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(LeftBrow), ScaleAndTranslation(2, 4, 4, 4, 6, 7)));
}

// --- Method 1, landmarks

TEST(LandmarkFitOfVolumes, WorkedByHand) {
  // A face of twice the default width, three times its height and four times its depth, moved by (0, 10,
  // -20).
  Layout layout;
  const auto at = [](double x, double y, double z) { return VgeTVector{2 * x, 3 * y + 10, 4 * z - 20}; };
  layout.groups[Mouth][1] = {{90, 90, 90},
                             at(0, 2.642, 19)}; // the first marker of a mouth group does not count
  layout.groups[RightBrow][0] = {at(-3.202, 11.601, 18.353)};
  layout.groups[LeftBrow][0] = {at(3.202, 11.601, 18.353)};
  layout.groups[LeftCheek][0] = {{1, 2, 3}}; // placed, but no landmark

  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod1(&performer.set));
  // 1e-12: positions of up to 60 through three roundings.
  EXPECT_TRUE(
      IsMatrixNear(performer.actor.Volume(Mouth), ScaleAndTranslation(3.438, 1.5, 4, 0, 17.926, 56), 1e-12));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(LeftBrow),
                           ScaleAndTranslation(2.642, 0.659, 3.044, 6.404, 44.803, 53.412), 1e-12));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(RightBrow),
                           ScaleAndTranslation(2.642, 0.659, 3.044, -6.404, 44.803, 53.412), 1e-12));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(LeftCheek),
                           ScaleAndTranslation(4, 5, 8, 5.922, 28.924, 53.632), 1e-12));
  for (const int part : {LeftEye, RightEye, RightCheek, LeftNostril, RightNostril})
    EXPECT_TRUE(IsMatrix(performer.actor.Volume(part), Untouched(part))) << "part " << part;
}

// The width is measured from x = 0, not from the mouth: a face beside the origin gets two very different
// ratios. Their mean is still its width, and the offset is the mouth's x.
TEST(LandmarkFitOfVolumes, MeasuresTheWidthFromTheOrigin) {
  Layout layout;
  layout.groups[Mouth][1] = {{}, {10, 0, 19}};
  layout.groups[RightBrow][0] = {{10 - 3.202, 8.959, 18.353}};
  layout.groups[LeftBrow][0] = {{10 + 3.202, 8.959, 18.353}};
  Performer both(layout);
  EXPECT_TRUE(both.actor.SetupFindVolumesMethod1(&both.set));
  EXPECT_NEAR(both.actor.Volume(Mouth).m[0][0], 1.719, 1e-12);
  EXPECT_NEAR(both.actor.Volume(Mouth).m[3][0], 10, 1e-12);

  layout.groups[RightBrow][0].clear();
  Performer left(layout);
  EXPECT_TRUE(left.actor.SetupFindVolumesMethod1(&left.set));
  EXPECT_NEAR(left.actor.Volume(Mouth).m[0][0], 1.719 * (13.202 / 3.202), 1e-12);
  EXPECT_NEAR(left.actor.Volume(LeftBrow).m[3][0], 13.202 + 10, 1e-12);
}

TEST(LandmarkFitOfVolumes, PrefersBrowsToEyes) {
  Layout with_brows;
  with_brows.groups[Mouth][0] = {{}, {0, 1, 2}, {1, 2, 3}};
  with_brows.groups[RightBrow][0] = {{-5, 20, 1}};
  with_brows.groups[LeftBrow][0] = {{6, 22, 2}};
  Layout with_eyes = with_brows;
  with_eyes.groups[RightEye][0] = {{-50, 200, 10}};
  with_eyes.groups[LeftEye][0] = {{60, 220, 20}};

  Performer a(with_brows), b(with_eyes);
  EXPECT_TRUE(a.actor.SetupFindVolumesMethod1(&a.set));
  EXPECT_TRUE(b.actor.SetupFindVolumesMethod1(&b.set));
  for (const int part : {Mouth, LeftBrow, RightBrow})
    EXPECT_EQ(a.actor.Volume(part), b.actor.Volume(part)) << "part " << part;
}

TEST(LandmarkFitOfVolumes, AgreesWithASimpleImplementation) {
  int fitted = 0, refused = 0;
  for (int present = 0; present < 32; ++present) // mouth, both brows, both eyes
    for (int mouth_shape = 0; mouth_shape < 3; ++mouth_shape)
      for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE("present " + std::to_string(present) + ", mouth " + std::to_string(mouth_shape) +
                     ", round " + std::to_string(round));
        Random random(static_cast<std::uint64_t>(present * 1000 + mouth_shape * 100 + round));
        Layout layout;
        // A mouth without a centre has single markers; otherwise some group has more.
        for (int group = 0; group < group_count; ++group)
          if (mouth_shape != 0) AddSome(layout, Mouth, group, random.Below(2), random);
        if (present & 1)
          AddSome(layout, Mouth, mouth_shape == 2 ? 4 : random.Below(4), 2 + random.Below(4), random);
        for (int part = LeftBrow; part <= RightEye; ++part)
          if (present & 1 << part)
            for (int i = 1 + random.Below(3); i > 0; --i)
              AddSome(layout, part, random.Below(group_count), 1, random);
        for (int part = LeftCheek; part <= RightNostril; ++part)
          AddSome(layout, part, random.Below(group_count), random.Below(3), random);

        Performer performer(layout);
        const auto expected = LandmarkFit(layout);
        ASSERT_EQ(performer.actor.SetupFindVolumesMethod1(&performer.set), expected.has_value());
        ExpectVolumes(performer, expected.value_or(Volumes()), rounding);
        if (HasFailure()) return; // one layout is enough
        ++(expected ? fitted : refused);
      }
  EXPECT_GT(fitted, 500);
  EXPECT_GT(refused, 500);
}

// --- Method 3, symmetric boxes

TEST(SymmetricBoxFitOfVolumes, WorkedByHand) {
  Layout layout;
  layout.groups[Mouth][0] = {{-3.5, -2, 10}};
  layout.groups[Mouth][3] = {{4.5, 2, 12}};
  layout.groups[Mouth][4] = {{50, -50, 50}}; // the chin is not in the mouth's box
  // 14.332 is twice the height of the default eyes above the default mouth, 17.918 that of the brows: the
  // scale is 2.
  layout.groups[LeftEye][0] = {{2, 15.332, 9}};
  layout.groups[LeftEye][1] = {{8, 13.332, 7}};
  layout.groups[RightEye][0] = {{-9, 14.832, 8}, {-9, 14.332, 80}}; // the lid's first marker anchors the eye
  layout.groups[RightEye][1] = {{-3, 14.332, 7}};
  layout.groups[LeftBrow][0] = {{1, 17.918, 40}, {11, 17.918, 40}};
  layout.groups[RightBrow][0] = {{-9, 17.918, 40}, {-3, 17.918, 40}};

  // The middle: mouth 0.5, eyes -0.5, brows 0.
  // The eyes span 2 to 9 on both sides: 5.5, moved to 5.3625. The brows are above them by twice the
  // default: 0.241 to the side (5.982, pulled to 5.23425), 1.793 up, 0.055 back.
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  const double e = 1e-13; // a few roundings of numbers around 10
  TestActor& actor = performer.actor;
  EXPECT_TRUE(IsMatrixNear(actor.Volume(Mouth), ScaleAndTranslation(3.7818, 1.1, 2.2, 0, 0, 11), e));
  EXPECT_TRUE(
      IsMatrixNear(actor.Volume(LeftEye), ScaleAndTranslation(1.408, 1.408, 1.408, 5.3625, 14.332, 9), e));
  EXPECT_TRUE(
      IsMatrixNear(actor.Volume(RightEye), ScaleAndTranslation(1.408, 1.408, 1.408, -5.3625, 14.332, 8), e));
  EXPECT_TRUE(IsMatrixNear(actor.Volume(LeftBrow),
                           ScaleAndTranslation(2.642, 1.318 / 3, 1.522, 5.23425, 17.918, 8.89), e));
  EXPECT_TRUE(IsMatrixNear(actor.Volume(RightBrow),
                           ScaleAndTranslation(2.642, 1.318 / 3, 1.522, -5.23425, 17.918, 7.89), e));
  for (int part = LeftCheek; part <= RightNostril; ++part)
    EXPECT_TRUE(IsMatrix(actor.Volume(part), Untouched(part))) << "part " << part;
}

TEST(SymmetricBoxFitOfVolumes, BoxesGrowToMirrorImages) {
  // Cheeks and mouth around x = 0; the left box reaches further out, the right one further in.
  Layout layout;
  layout.groups[Mouth][0] = {{-1, 0, 0}, {1, 0, 0}};
  layout.groups[LeftCheek][0] = {{4, 10, 5}, {12, 20, 6}};
  layout.groups[RightCheek][0] = {{-10, 14, 1}, {-2, 30, 2}, {-6, 12, 9}};
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  // The middle is the mean of 0 and 1. From there the left box spans 3.5 to 11.5, the right one 2.5 to 10.5;
  // both together 2.5 to 11.5. y from 10 to 30, z from 1 to 9.
  const double s = 20 / (6.308 - 2.642), e = 1e-13;
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(LeftCheek),
                           ScaleAndTranslation(2 * s, 5.0 / 3 * s, 2 * s, 0.5 + 7 * 0.975, 20, 5), 4 * e));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(RightCheek),
                           ScaleAndTranslation(2 * s, 5.0 / 3 * s, 2 * s, 0.5 - 7 * 0.975, 20, 5), 4 * e));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(Mouth),
                           ScaleAndTranslation(1.719 * s * 1.1, 0.55 * s, 1.1 * s, 0.5, 0, 0), 4 * e));
}

TEST(SymmetricBoxFitOfVolumes, AnIncompletePairDoesNotCount) {
  Layout layout;
  layout.groups[Mouth][0] = {{-1, 0, 0}, {1, 2, 0}};
  layout.groups[LeftEye][0] = {{9, 30, 10}};
  layout.groups[RightEye][0] = {{-9, 30, 10}};
  Performer whole(layout);
  layout.groups[LeftCheek][0] = {{70, 80, 90}};
  Performer with_half(layout);
  EXPECT_TRUE(whole.actor.SetupFindVolumesMethod3(&whole.set));
  EXPECT_TRUE(with_half.actor.SetupFindVolumesMethod3(&with_half.set));
  for (int part = 0; part < part_count; ++part)
    EXPECT_EQ(with_half.actor.Volume(part), whole.actor.Volume(part)) << "part " << part;
  EXPECT_EQ(with_half.actor.Volume(LeftCheek), Untouched(LeftCheek));
}

TEST(SymmetricBoxFitOfVolumes, NeedsTwoValuesForTheMiddle) {
  Layout mouth;
  mouth.groups[Mouth][0] = {{-1, 0, 0}, {1, 2, 0}};
  Layout mouth_and_half = mouth;
  mouth_and_half.groups[LeftEye][0] = {{9, 30, 10}};
  mouth_and_half.groups[RightBrow][0] = {{-9, 30, 10}};
  Layout pair;
  pair.groups[LeftEye][0] = {{9, 30, 10}};
  pair.groups[RightEye][0] = {{-9, 30, 10}};
  Layout pair_and_chin = pair;
  pair_and_chin.groups[Mouth][4] = {{0, -9, 0}};
  for (const Layout& layout : {Layout(), mouth, mouth_and_half, pair, pair_and_chin}) {
    Performer performer(layout);
    EXPECT_FALSE(performer.actor.SetupFindVolumesMethod3(&performer.set));
    performer.ExpectAllUntouched();
  }
}

// Without a mouth the heights are measured from 0: two pairs are enough, and the mouth's volume stays.
TEST(SymmetricBoxFitOfVolumes, TwoPairsAreEnough) {
  Layout layout;
  layout.groups[LeftCheek][0] = {{10, 12, 3}};
  layout.groups[RightCheek][0] = {{-10, 12, 3}};
  layout.groups[LeftNostril][0] = {{4, 6.048, 5}};
  layout.groups[RightNostril][0] = {{-4, 6.048, 5}};
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  const double s = (12 + 6.048) / ((6.308 - 2.642) + (5 - 2.642)); // 18.048 / 6.024
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(Mouth), Untouched(Mouth)));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(LeftCheek),
                           ScaleAndTranslation(2 * s, 5.0 / 3 * s, 2 * s, 9.75, 12, 3), 1e-13));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(RightNostril),
                           ScaleAndTranslation(0.704 * s, 0.704 * s, 0.352 * s, -3.9, 6.048, 5), 1e-13));
}

TEST(SymmetricBoxFitOfVolumes, AnEyeWithoutUpperLidMarkerKeepsItsBoxesDepthAndItsBrowToo) {
  Layout layout;
  layout.groups[Mouth][0] = {{0, 0, 0}};
  layout.groups[LeftEye][1] = {{10, 14.332, 3},
                               {10, 14.332, 7}}; // lower lid only: the depth of the pair's box
  layout.groups[RightEye][0] = {{-10, 14.332, 9}};
  layout.groups[LeftBrow][0] = {{10, 17.918, 20}};
  layout.groups[RightBrow][0] = {{-10, 17.918, 26}};
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  EXPECT_NEAR(performer.actor.Volume(LeftEye).m[3][2], 6, 1e-13);   // (3 + 9) / 2
  EXPECT_NEAR(performer.actor.Volume(LeftBrow).m[3][2], 23, 1e-13); // (20 + 26) / 2
  EXPECT_NEAR(performer.actor.Volume(RightEye).m[3][2], 9, 1e-13);
  EXPECT_NEAR(performer.actor.Volume(RightBrow).m[3][2], 9 - 2 * 0.055, 1e-13);
  // In x and y, the left brow is still placed relative to its eye.
  EXPECT_NEAR(performer.actor.Volume(LeftBrow).m[3][0], (10 + 2 * 0.241) * 0.875, 1e-13);
  EXPECT_NEAR(performer.actor.Volume(LeftBrow).m[3][1], 14.332 + 2 * 1.793, 1e-13);
}

TEST(SymmetricBoxFitOfVolumes, BrowsWithoutEyesUseTheirOwnBoxes) {
  Layout layout;
  layout.groups[Mouth][0] = {{0, 0, 0}};
  layout.groups[LeftEye][0] = {{10, 50, 3}}; // an incomplete pair
  layout.groups[LeftBrow][0] = {{8, 17.918, 20}};
  layout.groups[RightBrow][0] = {{-8, 17.918, 26}};
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  EXPECT_TRUE(IsMatrixNear(performer.actor.Volume(LeftBrow),
                           ScaleAndTranslation(2.642, 1.318 / 3, 1.522, 7, 17.918, 23), 1e-13));
  EXPECT_TRUE(IsMatrix(performer.actor.Volume(LeftEye), Untouched(LeftEye)));
}

TEST(SymmetricBoxFitOfVolumes, TheLidAnchorsTheEyeAtTheHeightOfItsDefaultPoint) {
  Layout layout;
  layout.groups[Mouth][0] = {{0, 0, 0}};
  layout.groups[LeftEye][0] = {{10, 14.332, 9}};
  layout.groups[RightEye][0] = {{-10, 14.332, 9}};
  const ChangedGlobalPart left_eye(LeftEye);
  left_eye->mDefaultPoints[1].z = 0.5;
  Performer performer(layout);
  EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
  EXPECT_NEAR(performer.actor.Volume(LeftEye).m[3][2], 9 - 0.704 * 0.5 * 2, 1e-13);
  EXPECT_NEAR(performer.actor.Volume(RightEye).m[3][2], 9, 1e-13);
}

// The final adjustments do not change volumes that the fit did not write: a second call must not move a pair
// further in.
TEST(SymmetricBoxFitOfVolumes, FinalAdjustmentsDoNotChangeVolumesOfEarlierFits) {
  Layout layout;
  layout.groups[LeftCheek][0] = {{10, 12, 3}};
  layout.groups[RightCheek][0] = {{-10, 12, 3}};
  layout.groups[LeftNostril][0] = {{4, 6.048, 5}};
  layout.groups[RightNostril][0] = {{-4, 6.048, 5}};
  Performer performer(layout);
  for (int call = 0; call < 2; ++call) {
    EXPECT_TRUE(performer.actor.SetupFindVolumesMethod3(&performer.set));
    for (const int part : {Mouth, LeftBrow, RightBrow, LeftEye, RightEye})
      EXPECT_TRUE(IsMatrix(performer.actor.Volume(part), Untouched(part))) << "part " << part;
    EXPECT_NEAR(performer.actor.Volume(LeftCheek).m[3][0], 9.75, 1e-13);
  }
}

TEST(SymmetricBoxFitOfVolumes, AgreesWithASimpleImplementation) {
  // Per pair: none, left only, right only, both; with and without mouth (or only its chin); the upper
  // lids visible or not.
  int fitted = 0, refused = 0;
  for (int pairs = 0; pairs < 256; ++pairs)
    for (int mouth = 0; mouth < 3; ++mouth)
      for (int lids = 0; lids < 4; ++lids) {
        SCOPED_TRACE("pairs " + std::to_string(pairs) + ", mouth " + std::to_string(mouth) + ", lids " +
                     std::to_string(lids));
        Random random(static_cast<std::uint64_t>(pairs * 12 + mouth * 4 + lids));
        Layout layout;
        if (mouth == 1) AddSome(layout, Mouth, 4, 1 + random.Below(2), random);
        if (mouth == 2)
          for (int i = 1 + random.Below(5); i > 0; --i) AddSome(layout, Mouth, random.Below(4), 1, random);
        if (mouth == 2) AddSome(layout, Mouth, 4, random.Below(2), random);
        for (int part = LeftBrow; part <= RightNostril; ++part) {
          if (!(pairs >> (part - 1) & 1)) continue;
          const bool eye = part == LeftEye || part == RightEye;
          const bool lid_seen = lids >> (part == RightEye ? 1 : 0) & 1;
          if (eye && lid_seen) AddSome(layout, part, 0, 1 + random.Below(2), random);
          AddSome(layout, part, eye ? 1 : random.Below(group_count), 1 + random.Below(3), random);
        }

        Performer performer(layout);
        const auto expected = SymmetricBoxFit(layout);
        ASSERT_EQ(performer.actor.SetupFindVolumesMethod3(&performer.set), expected.has_value());
        ExpectVolumes(performer, expected.value_or(Volumes()), rounding);
        if (HasFailure()) return; // one layout is enough
        ++(expected ? fitted : refused);
      }
  EXPECT_GT(fitted, 500);
  EXPECT_GT(refused, 100);
}

TEST(SymmetricBoxFitOfVolumes, AMirroredFaceGetsMirroredVolumes) {
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    Random random(seed);
    Layout layout, mirrored;
    for (int part = 0; part < part_count; ++part) {
      const int other = part == Mouth ? Mouth : part % 2 == 1 ? part + 1 : part - 1;
      for (int group = 0; group < 2; ++group) {
        AddSome(layout, part, group, 2, random);
        for (const VgeTVector& p : layout.groups[part][group])
          mirrored.groups[other][group].push_back({-p.x, p.y, p.z});
      }
    }
    Performer a(layout), b(mirrored);
    ASSERT_TRUE(a.actor.SetupFindVolumesMethod3(&a.set));
    ASSERT_TRUE(b.actor.SetupFindVolumesMethod3(&b.set));
    for (int part = 0; part < part_count; ++part) {
      const int other = part == Mouth ? Mouth : part % 2 == 1 ? part + 1 : part - 1;
      VgeAMatrix expected = a.actor.Volume(part);
      expected.m[3][0] = -expected.m[3][0];
      EXPECT_TRUE(IsMatrixNear(b.actor.Volume(other), expected, rounding))
          << "seed " << seed << ", part " << part;
    }
  }
}

TEST(SymmetricBoxFitOfVolumes, GrowsAndMovesWithTheFace) {
  Random random(7);
  Layout layout;
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < 2; ++group) AddSome(layout, part, group, 2, random);
  const VgeTVector move{100, -200, 300};
  const double grow = 25.4; // the same face in other units
  Layout moved = layout;
  for (auto& part : moved.groups)
    for (auto& group : part)
      for (VgeTVector& p : group) p = Sum(Times(grow, p), move);

  Performer a(layout), b(moved);
  ASSERT_TRUE(a.actor.SetupFindVolumesMethod3(&a.set));
  ASSERT_TRUE(b.actor.SetupFindVolumesMethod3(&b.set));
  for (int part = 0; part < part_count; ++part) {
    const VgeAMatrix& v = a.actor.Volume(part);
    EXPECT_TRUE(IsMatrixNear(b.actor.Volume(part),
                             ScaleAndTranslation(v.m[0][0] * grow, v.m[1][1] * grow, v.m[2][2] * grow,
                                                 v.m[3][0] * grow + move.x, v.m[3][1] * grow + move.y,
                                                 v.m[3][2] * grow + move.z),
                             1e-10)) // positions of up to 3000
        << "part " << part;
  }
}

// --- The three in their order

TEST(FindVolumes, UsesTheFirstMethodThatSucceeds) {
  Layout symmetric; // a pair and the mouth: the symmetric fit, which both the others could replace
  symmetric.groups[Mouth][0] = {{-4, -2, 10}, {0, 0, 11}, {4, 2, 12}};
  symmetric.groups[LeftEye][0] = {{8, 20, 9}};
  symmetric.groups[RightEye][0] = {{-9, 21, 8}};
  Performer first(symmetric), third(symmetric);
  ASSERT_TRUE(third.actor.SetupFindVolumesMethod3(&third.set));
  first.actor.SetupFindVolumes(&first.set);
  for (int part = 0; part < part_count; ++part) EXPECT_EQ(first.actor.Volume(part), third.actor.Volume(part));

  Layout landmarks = symmetric; // an incomplete pair
  landmarks.groups[LeftEye][0].clear();
  Performer second(landmarks), one(landmarks);
  ASSERT_TRUE(one.actor.SetupFindVolumesMethod1(&one.set));
  second.actor.SetupFindVolumes(&second.set);
  for (int part = 0; part < part_count; ++part) EXPECT_EQ(second.actor.Volume(part), one.actor.Volume(part));
  EXPECT_FALSE(second.actor.Volume(RightEye) == Untouched(RightEye));

  Layout boxes; // a single pair
  boxes.groups[LeftEye][0] = {{8, 20, 9}, {10, 22, 13}};
  boxes.groups[RightEye][0] = {{-9, 21, 8}};
  Performer last(boxes);
  last.actor.SetupFindVolumes(&last.set);
  EXPECT_TRUE(IsMatrix(last.actor.Volume(LeftEye), ScaleAndTranslation(2, 2, 4, 9, 21, 11)));
  EXPECT_TRUE(IsMatrix(last.actor.Volume(RightEye), ScaleAndTranslation(1, 1, 1, -9, 21, 8)));
  EXPECT_TRUE(IsMatrix(last.actor.Volume(Mouth), Untouched(Mouth)));
}

TEST(FindVolumes, KeepsPartsWithoutMarkersInEveryMethod) {
  Random random(3);
  for (int present = 0; present < 512; ++present) {
    Layout layout;
    for (int part = 0; part < part_count; ++part)
      if (present >> part & 1) AddSome(layout, part, random.Below(group_count), 1 + random.Below(3), random);
    Performer performer(layout);
    performer.actor.SetupFindVolumes(&performer.set);
    if (HasFailure()) return; // one layout is enough
    for (int part = 0; part < part_count; ++part)
      if (!(present >> part & 1)) {
        EXPECT_TRUE(IsMatrix(performer.actor.Volume(part), Untouched(part))) << "present " << present;
      }
  }
}

TEST(FindVolumes, WithoutMarkersTheDefaultsStay) {
  TestActor actor;
  const VFaceMarkerSetState set;
  actor.SetupFindVolumes(&set);
  for (int part = 0; part < part_count; ++part)
    EXPECT_TRUE(IsMatrix(actor.Volume(part), DefaultVolume(part))) << "part " << part;
}

TEST(FindVolumes, ReadsTheSetsPositionsWithoutItsFrame) {
  Layout layout;
  Random random(11);
  for (int part = 0; part < part_count; ++part) AddSome(layout, part, 0, 3, random);
  Performer plain(layout), framed(layout);
  framed.set.mTransform = Rigid({1, 2, 3}, 1, {4, 5, 6});
  plain.actor.SetupFindVolumes(&plain.set);
  framed.actor.SetupFindVolumes(&framed.set);
  for (int part = 0; part < part_count; ++part)
    EXPECT_EQ(plain.actor.Volume(part), framed.actor.Volume(part));
}

// --- SetupAreVolumesSet

TEST(VolumesSet, DefaultsAre) {
  TestActor actor;
  EXPECT_TRUE(actor.SetupAreVolumesSet());
  for (int part = 0; part < part_count; ++part) actor.Place(part, 0);
  EXPECT_TRUE(actor.SetupAreVolumesSet());
}

TEST(VolumesSet, FalseForAnyPartWithMarkersAndIdentity) {
  for (int part = 0; part < part_count; ++part)
    for (int group = 0; group < group_count; ++group) {
      TestActor actor;
      actor.Volume(part) = VgeAMatrix();
      EXPECT_TRUE(actor.SetupAreVolumesSet()) << "a part without markers does not matter";
      actor.Place(part, group);
      EXPECT_FALSE(actor.SetupAreVolumesSet()) << "part " << part << ", group " << group;
    }
}

TEST(VolumesSet, OnlyTheExactIdentityCounts) {
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) {
      TestActor actor;
      actor.Place(LeftCheek, 0);
      actor.Volume(LeftCheek) = VgeAMatrix();
      double& element = actor.Volume(LeftCheek).m[column][row];
      element = std::nextafter(element, 2.0);
      EXPECT_TRUE(actor.SetupAreVolumesSet()) << "column " << column << " row " << row;
    }
}

TEST(VolumesSet, NegativeZerosAreZerosAndNaNsAreNot) {
  TestActor actor;
  actor.Place(LeftCheek, 0);
  actor.Volume(LeftCheek) = VgeAMatrix();
  actor.Volume(LeftCheek).m[1][0] = -0.0;
  EXPECT_FALSE(actor.SetupAreVolumesSet());
  actor.Volume(LeftCheek).m[1][0] = no_number;
  EXPECT_TRUE(actor.SetupAreVolumesSet());
}
