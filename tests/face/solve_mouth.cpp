#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace tests;

enum Template { kOpen, kWhistle, kCornersUpR, kCornersUpL, kCornersDownR, kCornersDownL, kSquare };
enum Slot { kLeft, kLeftUpper, kRightUpper, kRight, kRightLower, kLeftLower, kChin };

struct MouthWeights {
  double weights[7];
  double operator[](int template_index) const { return weights[template_index]; }
};

MouthWeights Solve(const VFace& face, const VFaceState& pose) {
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveMouth2(&result, &pose);
  MouthWeights mouth;
  std::copy_n(result.mParts[kMouth].mWeights, 7, mouth.weights);
  return mouth;
}

void ExpectWeights(const MouthWeights& actual, const MouthWeights& expected, double tolerance = 0) {
  static const char* const names[7] = {"Open",         "Whistle",      "CornersUpR", "CornersUpL",
                                       "CornersDownR", "CornersDownL", "Square"};
  for (int j = 0; j < 7; ++j)
    EXPECT_LE(std::abs(actual[j] - expected[j]), tolerance) << names[j] << " " << actual[j];
}

MouthWeights Only(int template_index, double weight) {
  MouthWeights mouth{};
  mouth.weights[template_index] = weight;
  return mouth;
}

constexpr MouthWeights kNothing{};

// A mouth on which every step of the solve is exact in doubles.
//
//  - at rest: lip gaps 2, width (left corner to left upper to right upper) 6, corners 1 below their upper lip
//  - "Open": the chin and the lower lip 4 down
//  - "Square": the upper lip 1 up and the lower lip 1 down, which opens the gaps by 2
//  - "Whistle": width 2, and 1 forward
//  - "CornersUp": the corner 2 up; "CornersDown": the corner 1 down
struct RoundMouth : VFace {
  VFacePart& mouth = mParts[kMouth];

  RoundMouth() {
    const double rest[7][3] = {{4, 0, 0},   {2, 1, 0},  {-2, 1, 0}, {-4, 0, 0},
                               {-2, -1, 0}, {2, -1, 0}, {0, -4, 0}};
    for (int slot = 0; slot < 7; ++slot) {
      SetXyz(mouth.mDefaultPoints[slot], rest[slot][0], rest[slot][1], rest[slot][2]);
      for (int j = 0; j < 7; ++j) SetXyz(Target(j, slot), rest[slot][0], rest[slot][1], rest[slot][2]);
    }
    Target(kOpen, kChin).y = -8;
    Target(kOpen, kLeftLower).y = Target(kOpen, kRightLower).y = -5;
    Target(kSquare, kLeftUpper).y = Target(kSquare, kRightUpper).y = 2;
    Target(kSquare, kLeftLower).y = Target(kSquare, kRightLower).y = -2;
    const double whistle_x[6] = {1.5, 0.5, -0.5, -1.5, -0.5, 0.5};
    for (int slot = 0; slot < 6; ++slot)
      Target(kWhistle, slot).x = whistle_x[slot], Target(kWhistle, slot).z = 1;
    Target(kCornersUpR, kRight).y = 2;
    Target(kCornersUpL, kLeft).y = 2;
    Target(kCornersDownR, kRight).y = -1;
    Target(kCornersDownL, kLeft).y = -1;
  }

  VgeTVector& Target(int template_index, int slot) { return mouth.mTemplates[template_index]->mPoints[slot]; }

  // The rest pose with a measured chin.
  VFaceState Rest() const {
    VFaceState pose = RestPose(*this);
    pose.mValid = true;
    return pose;
  }
};

VgeTVector& Point(VFaceState& pose, int slot) { return pose.mParts[kMouth].mPoints[slot]; }

TEST(MouthSolve, RestPoseGivesZeroWeights) {
  const VFace face;
  VFaceState pose = RestPose(face);
  for (const bool measured_chin : {false, true}) {
    pose.mValid = measured_chin;
    ExpectWeights(Solve(face, pose), kNothing);
  }
}

// --- Open.

TEST(MouthSolve, AMeasuredChinDeterminesOpen) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kChin).y = -6;
  EXPECT_EQ(Solve(face, pose)[kOpen], 0.5);
  Point(pose, kLeftLower).y = Point(pose, kRightLower).y = -100;
  EXPECT_EQ(Solve(face, pose)[kOpen], 0.5);
}

TEST(MouthSolve, TheLowerLipDeterminesOpenIfTheChinWasNotMeasured) {
  const RoundMouth face;
  VFaceState pose = RestPose(face);
  SetXyz(Point(pose, kChin), kNaN, kNaN, kNaN);
  Point(pose, kLeftLower).y = -1 - 4 * 0.25;
  Point(pose, kRightLower).y = -1 - 4 * 0.75;
  EXPECT_EQ(Solve(face, pose)[kOpen], 0.5); // the mean of the two
}

TEST(MouthSolve, RisingHalfOfTheLowerLipCancelsTheOther) {
  const RoundMouth face;
  VFaceState pose = RestPose(face);
  Point(pose, kLeftLower).y = -1 + 4;
  Point(pose, kRightLower).y = -1 - 4;
  EXPECT_EQ(Solve(face, pose)[kOpen], 0); // limited after the mean, not before
}

TEST(MouthSolve, ChinOnTheTemplateOpensFully) {
  const VFace face;
  VFaceState pose = RestPose(face);
  pose.mValid = true;
  Point(pose, kChin) = face.mParts[kMouth].mTemplates[kOpen]->mPoints[kChin];
  EXPECT_DOUBLE_EQ(Solve(face, pose)[kOpen], 1);
}

TEST(MouthSolve, ChinMovedTwiceAsFarStillOpensFully) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kChin).y = -4 - 2 * 4;
  EXPECT_EQ(Solve(face, pose)[kOpen], 1);
}

TEST(MouthSolve, RaisedChinDoesNotOpenAndNothingIsRemoved) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kChin).y = 0;
  // Subtracting a negative opening would pull the lower lip down and read as "Square".
  ExpectWeights(Solve(face, pose), kNothing);
}

TEST(MouthSolve, ChinMovedAcrossItsOpeningDirectionDoesNotOpen) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  SetXyz(Point(pose, kChin), 3, -4, 5);
  ExpectWeights(Solve(face, pose), kNothing);
}

TEST(MouthSolve, OpeningIsTheProjectionOntoTheTemplatesDirection) {
  RoundMouth face;
  SetXyz(face.Target(kOpen, kChin), 0, -4 - 3, -4); // 5 long
  VFaceState pose = face.Rest();
  SetXyz(Point(pose, kChin), 0, -4 - 2.5, 0);          // 2.5 down: 1.5 along the direction
  EXPECT_DOUBLE_EQ(Solve(face, pose)[kOpen], 1.5 / 5); // the unit vector (0, -0.6, -0.8) is rounded
}

// The subtracted opening has no limit: however wide the mouth, the remainder is the mouth as if it were
// closed.
TEST(MouthSolve, OpeningWiderThanTheTemplateIsSubtractedInFull) {
  const RoundMouth face;
  for (const double opening : {0.25, 1.0, 2.0, 8.0}) {
    VFaceState pose = face.Rest();
    Engage(pose, face, kMouth, kOpen, opening);
    Engage(pose, face, kMouth, kSquare, 0.5);
    MouthWeights expected = Only(kSquare, 0.5);
    expected.weights[kOpen] = std::min(opening, 1.0);
    ExpectWeights(Solve(face, pose), expected);
  }
}

TEST(MouthSolve, DefaultMouthOpenedByAnyAmountReadsOnlyOpen) {
  const VFace face;
  for (const bool measured_chin : {false, true})
    for (const double opening : {0.0, 0.1, 0.5, 0.9, 1.0, 1.5, 2.0, 3.0}) {
      VFaceState pose = RestPose(face);
      pose.mValid = measured_chin;
      Engage(pose, face, kMouth, kOpen, opening);
      // Subtracting up to three times a delta of 7 leaves rounding errors of an ulp of 32, 7e-15, over
      // strokes down to 0.6.
      ExpectWeights(Solve(face, pose), Only(kOpen, std::min(opening, 1.0)), 1e-13);
    }
}

TEST(MouthSolve, OpenTemplateWithoutAStrokeNeverOpens) {
  RoundMouth face;
  face.Target(kOpen, kChin) = face.mouth.mDefaultPoints[kChin];
  VFaceState pose = face.Rest();
  ExpectWeights(Solve(face, pose), kNothing);
  Point(pose, kChin).y = -10;
  ExpectWeights(Solve(face, pose), kNothing);

  face.Target(kOpen, kLeftLower) = face.mouth.mDefaultPoints[kLeftLower];
  face.Target(kOpen, kRightLower) = face.mouth.mDefaultPoints[kRightLower];
  pose.mValid = false;
  ExpectWeights(Solve(face, pose), kNothing);
}

TEST(MouthSolve, ChinThatIsNotANumberDoesNotOpen) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kChin).y = kNaN;
  ExpectWeights(Solve(face, pose), kNothing);
}

// The infinite opening is subtracted and leaves NaN points, on which no later template is measured.
TEST(MouthSolve, InfinitelyLowChinOnlyOpensFully) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kChin).y = -kInfinity;
  ExpectWeights(Solve(face, pose), Only(kOpen, 1));
}

// --- Square.

TEST(MouthSolve, SquareIsTheMeanOfTheTwoLipGaps) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeftUpper).y += 0.5;  // gap 0.5 of 2: a quarter
  Point(pose, kRightLower).y -= 1.5; // gap 1.5 of 2: three quarters
  EXPECT_EQ(Solve(face, pose)[kSquare], 0.5);
}

TEST(MouthSolve, SquareIsLimitedToOneAsAWhole) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeftLower).y -= 3; // a contribution of 1.5, which compensates 0.25 on the other side
  Point(pose, kRightLower).y -= 0.5;
  EXPECT_EQ(Solve(face, pose)[kSquare], 0.875);
  Point(pose, kLeftLower).y -= 10;
  EXPECT_EQ(Solve(face, pose)[kSquare], 1);
}

TEST(MouthSolve, NarrowingGapCountsAsZeroAndNotAgainstTheOtherSide) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeftLower).y += 2;
  Point(pose, kRightLower).y -= 2;
  EXPECT_EQ(Solve(face, pose)[kSquare], 0.5);
  Point(pose, kRightLower).y = 0;
  EXPECT_EQ(Solve(face, pose)[kSquare], 0);
}

TEST(MouthSolve, SquareIsVerticalOnly) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  for (const int slot : {kLeftUpper, kRightUpper, kRightLower, kLeftLower}) {
    Point(pose, slot).z = 5;
    Point(pose, slot).x *= 1.5;
  }
  EXPECT_EQ(Solve(face, pose)[kSquare], 0);
}

TEST(MouthSolve, SquareTemplateThatNarrowsTheGapIsMeasuredByNarrowing) {
  RoundMouth face;
  for (const int slot : {kLeftUpper, kRightUpper}) face.Target(kSquare, slot).y = 0.5;
  for (const int slot : {kLeftLower, kRightLower}) face.Target(kSquare, slot).y = -0.5;
  VFaceState pose = face.Rest();
  Point(pose, kLeftLower).y = Point(pose, kRightLower).y = -0.5; // gaps 0.5 narrower, of 1
  EXPECT_EQ(Solve(face, pose)[kSquare], 0.5);
}

// A change of the gap projected onto a stroke of 0 is 0, not infinite.
TEST(MouthSolve, SquareTemplateWithoutAStrokeIsNeverSquare) {
  RoundMouth face;
  for (const int slot : {kLeftUpper, kRightUpper, kRightLower, kLeftLower})
    face.Target(kSquare, slot) = face.mouth.mDefaultPoints[slot];
  VFaceState pose = face.Rest();
  EXPECT_EQ(Solve(face, pose)[kSquare], 0);
  Point(pose, kLeftLower).y = Point(pose, kRightLower).y = -3;
  EXPECT_EQ(Solve(face, pose)[kSquare], 0);
}

TEST(MouthSolve, SquareIsSubtractedWithItsLimitedWeight) {
  RoundMouth face;
  face.Target(kSquare, kLeft).x = 3; // a square mouth narrower by 1
  VFaceState pose = face.Rest();
  Engage(pose, face, kMouth, kSquare, 1);
  ExpectWeights(Solve(face, pose), Only(kSquare, 1));
  Engage(pose, face, kMouth, kSquare, 1);       // twice the template: only one of the two is removed,
  EXPECT_EQ(Solve(face, pose)[kWhistle], 0.25); // and the narrowing of the other remains
}

// --- Whistle.

TEST(MouthSolve, WhistleIsTheNarrowingOfTheMouth) {
  const RoundMouth face;
  for (const double amount : {0.25, 0.5, 1.0}) {
    VFaceState pose = face.Rest();
    Engage(pose, face, kMouth, kWhistle, amount);
    ExpectWeights(Solve(face, pose), Only(kWhistle, amount));
  }
}

TEST(MouthSolve, MouthNarrowerThanTheTemplateReadsAboveOne) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  for (int slot = 0; slot < 6; ++slot) Point(pose, slot).x = 0; // width 0, where the template has 2
  ExpectWeights(Solve(face, pose), Only(kWhistle, 1.5));
}

TEST(MouthSolve, MouthWiderThanRestDoesNotWhistle) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeft).x = 5;
  ExpectWeights(Solve(face, pose), kNothing);
}

// The amount has no limit on either side: narrowing a mouth whose template is wider than rest is a negative
// whistle.
TEST(MouthSolve, TemplateWiderThanRestGivesANegativeWhistle) {
  RoundMouth face;
  face.Target(kWhistle, kLeft).x = 6; // width 6.5
  VFaceState pose = face.Rest();
  Point(pose, kLeft).x = 3.75; // width 5.75: half as much narrower as the template is wider
  EXPECT_EQ(Solve(face, pose)[kWhistle], -0.5);
}

// The width runs from the left corner over the two upper-lip points; the right corner is not on the path.
TEST(MouthSolve, RightCornerDoesNotAffectTheWidth) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kRight).x = -1;
  ExpectWeights(Solve(face, pose), kNothing);
  Point(pose, kRight).x = kNaN;
  ExpectWeights(Solve(face, pose), kNothing);
  pose = face.Rest();
  Point(pose, kLeft).x = 3;
  EXPECT_EQ(Solve(face, pose)[kWhistle], 0.25);
}

TEST(MouthSolve, WidthFoldsBackOnCrossingPoints) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeft).x = 1; // 1 inside the left upper point: |1 - 2| + 4
  EXPECT_EQ(Solve(face, pose)[kWhistle], 0.25);
}

TEST(MouthSolve, WidthIsMeasuredOnlyAcrossTheFace) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  for (int slot = 0; slot < 6; ++slot) Point(pose, slot).z = 9 - 2 * slot;
  ExpectWeights(Solve(face, pose), kNothing);
}

TEST(MouthSolve, WhistleIsSubtractedInFullBeforeTheCorners) {
  RoundMouth face;
  face.Target(kWhistle, kLeft).y = face.Target(kWhistle, kRight).y = 1;
  for (const double amount : {0.5, 1.0, 1.25}) {
    VFaceState pose = face.Rest();
    Engage(pose, face, kMouth, kWhistle, amount);
    ExpectWeights(Solve(face, pose), Only(kWhistle, amount));
  }
}

TEST(MouthSolve, WidthThatIsNotANumberDoesNotWhistle) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kLeft).x = kNaN;
  ExpectWeights(Solve(face, pose), kNothing);
}

// The quotient is not limited: it is infinite, and after its subtraction no corner has moved.
TEST(MouthSolve, WhistleTemplateAsWideAsRestGivesAnInfiniteWhistle) {
  RoundMouth face;
  for (int slot = 0; slot < 6; ++slot) face.Target(kWhistle, slot) = face.mouth.mDefaultPoints[slot];
  VFaceState pose = face.Rest();
  ExpectWeights(Solve(face, pose), kNothing); // not narrower than rest: no quotient
  Point(pose, kLeft).x = 3;
  Point(pose, kLeft).y = Point(pose, kRight).y = 2;
  const MouthWeights weights = Solve(face, pose);
  EXPECT_EQ(weights[kWhistle], kInfinity);
  for (const int corner : {kCornersUpR, kCornersUpL, kCornersDownR, kCornersDownL})
    EXPECT_EQ(weights[corner], 0);
}

// --- Corners.

struct Corner {
  int corner, upper, up, down;
};
constexpr Corner kCorners[] = {{kRight, kRightUpper, kCornersUpR, kCornersDownR},
                               {kLeft, kLeftUpper, kCornersUpL, kCornersDownL}};

TEST(MouthSolve, RaisedCornerIsUp) {
  const RoundMouth face;
  for (const Corner& side : kCorners) {
    VFaceState pose = face.Rest();
    Point(pose, side.corner).y = 0.5;
    ExpectWeights(Solve(face, pose), Only(side.up, 0.25));
    Point(pose, side.corner).y = 2;
    ExpectWeights(Solve(face, pose), Only(side.up, 1));
    Point(pose, side.corner).y = 7;
    ExpectWeights(Solve(face, pose), Only(side.up, 1));
  }
}

// Down is measured against the stroke of the corner's UP template, 2 here, though its own template moves
// by 1.
TEST(MouthSolve, LoweredCornerIsDownOnTheSpanOfUp) {
  const RoundMouth face;
  for (const Corner& side : kCorners) {
    VFaceState pose = face.Rest();
    Point(pose, side.corner).y = -1; // exactly the template's own pose
    ExpectWeights(Solve(face, pose), Only(side.down, 0.5));
    Point(pose, side.corner).y = -2;
    ExpectWeights(Solve(face, pose), Only(side.down, 1));
    Point(pose, side.corner).y = -9;
    ExpectWeights(Solve(face, pose), Only(side.down, 1));
  }
}

TEST(MouthSolve, PosesOfTheDownTemplatesAreNotRead) {
  VFace face;
  Numbers numbers(61);
  const VFaceState pose = numbers.PoseAround(face, 2);
  const MouthWeights before = Solve(face, pose);
  for (const int down : {kCornersDownR, kCornersDownL})
    for (VgeTVector& point : face.mParts[kMouth].mTemplates[down]->mPoints) SetXyz(point, kNaN, kNaN, kNaN);
  ExpectWeights(Solve(face, pose), before);
}

TEST(MouthSolve, CornerIsMeasuredAgainstItsOwnUpperLipPoint) {
  const RoundMouth face;
  for (const Corner& side : kCorners) {
    VFaceState pose = face.Rest();
    for (int slot = 0; slot < 6; ++slot) Point(pose, slot).y += 3; // the whole mouth higher: no corner moved
    ExpectWeights(Solve(face, pose), kNothing);
    Point(pose, side.upper).y -= 1; // a lowered upper lip is a raised corner
    ExpectWeights(Solve(face, pose), Only(side.up, 0.5));
  }
}

TEST(MouthSolve, BothCornersAreIndependent) {
  const RoundMouth face;
  VFaceState pose = face.Rest();
  Point(pose, kRight).y = 0.5;
  Point(pose, kLeft).y = -1.5;
  MouthWeights expected = Only(kCornersUpR, 0.25);
  expected.weights[kCornersDownL] = 0.75;
  ExpectWeights(Solve(face, pose), expected);
}

// 0 / 0 is neither up nor, after the limit, down; any displacement over a stroke of 0 is full.
TEST(MouthSolve, CornersWithoutAStrokeAreFullImmediately) {
  RoundMouth face;
  for (const Corner& side : kCorners) {
    face.Target(side.up, side.corner).y = 0;
    VFaceState pose = face.Rest();
    ExpectWeights(Solve(face, pose), kNothing);
    Point(pose, side.corner).y = 1e-9;
    ExpectWeights(Solve(face, pose), Only(side.up, 1));
    Point(pose, side.corner).y = -1e-9;
    ExpectWeights(Solve(face, pose), Only(side.down, 1));
  }
}

TEST(MouthSolve, CornerThatIsNotANumberIsNeitherUpNorDown) {
  const RoundMouth face;
  for (const Corner& side : kCorners) {
    VFaceState pose = face.Rest();
    Point(pose, side.corner).y = kNaN;
    ExpectWeights(Solve(face, pose), kNothing);
  }
}

TEST(MouthSolve, BothCornerWeightsOfASideAreWritten) {
  const RoundMouth face;
  for (const double y : {-1.0, 0.0, 1.0}) {
    VFaceState pose = face.Rest();
    Point(pose, kRight).y = Point(pose, kLeft).y = y;
    VFaceTemplateState result;
    FillWeights(result, 7);
    VFaceTestAccess{face}.Face2TemplateSolveMouth2(&result, &pose);
    for (int part = 0; part < 9; ++part)
      for (int j = 0; j < 25; ++j) {
        const bool written = part == kMouth && j < 7;
        EXPECT_EQ(result.mParts[part].mWeights[j] != 7, written) << "part " << part << ", slot " << j;
      }
  }
}

// --- The whole solve.

// "Whistle" is measured on the left half of the mouth's outline, so a mirrored mouth may whistle differently.
// Everything else is mirrored exactly.
TEST(MouthSolve, MirroredMouthSwapsItsCorners) {
  const VFace face;
  Numbers numbers(62);
  constexpr int mirrored_slot[7] = {kRight, kRightUpper, kLeftUpper, kLeft, kLeftLower, kRightLower, kChin};
  constexpr int mirrored_template[7] = {kOpen,         kWhistle,      kCornersUpL, kCornersUpR,
                                        kCornersDownL, kCornersDownR, kSquare};
  int compared = 0;
  for (int round = 0; round < 200; ++round) {
    VFaceState pose = numbers.PoseAround(face, 0.5), mirror = pose;
    pose.mValid = mirror.mValid = true;
    for (int slot = 0; slot < 7; ++slot) {
      Point(mirror, slot) = Point(pose, mirrored_slot[slot]);
      Point(mirror, slot).x *= -1;
    }
    const MouthWeights weights = Solve(face, pose), mirrored = Solve(face, mirror);
    if (weights[kWhistle] != 0 || mirrored[kWhistle] != 0) continue;
    ++compared;
    for (int j = 0; j < 7; ++j) EXPECT_EQ(mirrored[j], weights[mirrored_template[j]]) << "template " << j;
  }
  EXPECT_GT(compared, 20);
}

TEST(MouthSolve, RecoversTheTemplatesThatDoNotAffectOthers) {
  const VFace face;
  for (const int j : {kOpen, kWhistle, kCornersUpR, kCornersUpL, kSquare})
    for (const double amount : {0.0, 0.2, 0.5, 0.8, 1.0}) {
      VFaceState pose = RestPose(face);
      pose.mValid = true;
      Engage(pose, face, kMouth, j, amount);
      // A dozen roundings of coordinates below 16 over strokes down to 0.5.
      ExpectWeights(Solve(face, pose), Only(j, amount), 1e-13);
    }
}

// A second implementation of the solve, in one piece and with plain quotients.
struct PlainSolve {
  double k_open, weights[7];

  PlainSolve(const VFace& face, const VFaceState& state) {
    const VFacePart& part = face.mParts[kMouth];
    const VgeTVector* r = part.mDefaultPoints;
    double p[7][3];
    const auto t = [&](int j, int slot) { return part.mTemplates[j]->mPoints[slot]; };
    const auto remove = [&](int j, double k) {
      for (int i = 0; i < 7; ++i) {
        p[i][0] -= k * (t(j, i).x - r[i].x);
        p[i][1] -= k * (t(j, i).y - r[i].y);
        p[i][2] -= k * (t(j, i).z - r[i].z);
      }
    };
    const auto along_open = [&](int i) {
      const double e[3] = {t(kOpen, i).x - r[i].x, t(kOpen, i).y - r[i].y, t(kOpen, i).z - r[i].z};
      const double d[3] = {p[i][0] - r[i].x, p[i][1] - r[i].y, p[i][2] - r[i].z};
      return (d[0] * e[0] + d[1] * e[1] + d[2] * e[2]) / (e[0] * e[0] + e[1] * e[1] + e[2] * e[2]);
    };
    const auto limit = [](double value) { return std::clamp(value, 0.0, 1.0); };
    for (int i = 0; i < 7; ++i) {
      const VgeTVector& s = state.mParts[kMouth].mPoints[i];
      p[i][0] = s.x, p[i][1] = s.y, p[i][2] = s.z;
    }

    k_open = state.mValid ? along_open(6) : 0.5 * (along_open(5) + along_open(4));
    k_open = std::max(k_open, 0.0);
    weights[kOpen] = limit(k_open);
    remove(kOpen, k_open);

    const auto gap = [&](int a, int b) {
      const double rest = r[a].y - r[b].y;
      return std::max(0.0, (p[a][1] - p[b][1] - rest) / (t(kSquare, a).y - t(kSquare, b).y - rest));
    };
    weights[kSquare] = limit(0.5 * (gap(1, 5) + gap(2, 4)));
    remove(kSquare, weights[kSquare]);

    const double a =
        std::abs(t(kWhistle, 0).x - t(kWhistle, 1).x) + std::abs(t(kWhistle, 1).x - t(kWhistle, 2).x);
    const double b = std::abs(r[0].x - r[1].x) + std::abs(r[1].x - r[2].x);
    const double c = std::abs(p[0][0] - p[1][0]) + std::abs(p[1][0] - p[2][0]);
    weights[kWhistle] = b > c ? 1 - (c - a) / (b - a) : 0;
    remove(kWhistle, weights[kWhistle]);

    const auto corner = [&](int corner_slot, int upper, int up, int down) {
      const double base = r[corner_slot].y - r[upper].y;
      const double span = t(up, corner_slot).y - t(up, upper).y - base;
      const double q = (p[corner_slot][1] - p[upper][1] - base) / span;
      weights[up] = limit(q);
      weights[down] = limit(-q);
    };
    corner(3, 2, kCornersUpR, kCornersDownR);
    corner(0, 1, kCornersUpL, kCornersDownL);
  }
};

TEST(MouthSolve, AgreesWithThePlainSolveOnAnyPose) {
  const VFace face;
  Numbers numbers(63);
  int wider_than_open = 0, between[7] = {}, above_one = 0;
  for (int round = 0; round < 3000; ++round) {
    VFaceState pose = numbers.PoseAround(face, 0.6);
    pose.mValid = round % 2 == 0;
    Engage(pose, face, kMouth, kOpen, numbers.Between(-0.5, 2));
    Engage(pose, face, kMouth, kSquare, numbers.Between(-0.5, 1));
    Engage(pose, face, kMouth, kWhistle, numbers.Between(-0.5, 1.5));
    for (const int j : {kCornersUpR, kCornersUpL, kCornersDownR, kCornersDownL})
      Engage(pose, face, kMouth, j, numbers.Between(-0.2, 0.8));
    const PlainSolve plain(face, pose);
    MouthWeights expected;
    std::copy_n(plain.weights, 7, expected.weights);
    // The two forms differ by a dozen rounding errors of coordinates below 32, over strokes down to 0.5.
    ExpectWeights(Solve(face, pose), expected, 1e-12);

    wider_than_open += plain.k_open > 1;
    above_one += plain.weights[kWhistle] > 1;
    for (int j = 0; j < 7; ++j) between[j] += plain.weights[j] > 0 && plain.weights[j] < 1;
  }
  EXPECT_GT(wider_than_open, 300); // every branch was tested
  EXPECT_GT(above_one, 300);
  for (int j = 0; j < 7; ++j) EXPECT_GT(between[j], 300) << "template " << j;
}

TEST(MouthSolve, InputIsUnchanged) {
  const VFace face;
  Numbers numbers(64);
  VFaceState pose = numbers.PoseAround(face, 2);
  pose.mValid = true;
  const VFaceState before = pose;
  Solve(face, pose);
  EXPECT_TRUE(SamePoints(pose, before));
  EXPECT_TRUE(pose.mValid);
}

TEST(MouthSolve, HeadFrameAndFourthComponentsAreNotRead) {
  const VFace face;
  Numbers numbers(65);
  VFaceState pose = numbers.PoseAround(face, 1);
  const MouthWeights before = Solve(face, pose);
  for (auto& column : pose.mGlobal.m)
    for (double& element : column) element = kNaN;
  for (VgeTVector& point : pose.mParts[kMouth].mPoints) point.w = kNaN;
  ExpectWeights(Solve(face, pose), before);
}

} // namespace
