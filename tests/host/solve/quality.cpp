#include "host/solve/quality.h"

#include "host/solve/face_solver.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using mien::AssessQuality;
using mien::FaceSolver;
using mien::FlagKind;
using mien::Grade;
using mien::NeutralPose;
using mien::Origin;
using mien::Performer;
using mien::Point;
using mien::Quality;
using mien::QualityFlag;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

/// A solved take in which the plain performer stands still at rest, until a test changes it.
class Solved {
public:
  explicit Solved(std::size_t frames, double hz = 64, const Performer& performer = PlainPerformer(),
                  const NeutralPose& neutral = PlainFace())
      : solver(performer, neutral), face(solver.Markers()) {
    for (std::size_t f = 0; f < frames; ++f) {
      face.AddFrame(static_cast<std::int64_t>(f) + 1, static_cast<double>(f) / hz);
      for (std::size_t m = 0; m < face.MarkerCount(); ++m) face.Set(f, m, solver.RestPlaces()[m]);
    }
    animation.frames = face.frames, animation.times = face.times;
    animation.weights.assign(frames * animation.layout.templates.size(), 0);
  }

  /// A weight in the frames [first, end).
  void Set(const std::string& name, std::size_t first, std::size_t end, double weight) {
    const std::size_t columns = animation.layout.templates.size();
    for (std::size_t c = 0; c < columns; ++c)
      if (animation.layout.templates[c].name == name)
        for (std::size_t f = first; f < end; ++f) animation.weights[f * columns + c] = weight;
  }

  std::size_t Slot(const std::string& marker) const { return face.FindMarker(marker).value(); }
  Point Rest(const std::string& marker) const { return solver.RestPlaces()[Slot(marker)]; }

  /// A marker in the frames [first, end).
  void Move(const std::string& marker, std::size_t first, std::size_t end, const Point& to,
            Origin origin = Origin::Measured) {
    for (std::size_t f = first; f < end; ++f) face.Set(f, Slot(marker), to, origin);
  }
  void Swap(const std::string& a, const std::string& b, std::size_t first, std::size_t end) {
    Move(a, first, end, Rest(b)), Move(b, first, end, Rest(a));
  }
  void Hide(const std::string& marker, std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) face.Clear(f, Slot(marker));
  }

  Quality Assessed() const { return AssessQuality(animation, face, true, solver, residual_mm); }
  std::vector<QualityFlag> Flags() const {
    const mien::QualityFlags flags = Assessed().flags;
    return {flags.begin(), flags.end()};
  }
  std::vector<QualityFlag> Limits() const {
    std::vector<QualityFlag> flags = Flags();
    std::erase_if(flags, [](const QualityFlag& flag) { return flag.kind != FlagKind::Limit; });
    return flags;
  }

  FaceSolver solver;
  mien::Take face;
  mien::Animation animation;
  std::array<double, 9> residual_mm{};
};

Point Shifted(const Point& p, double x, double y, double z) { return {p.x + x, p.y + y, p.z + z}; }

Point Between(const Point& a, const Point& b, double share) {
  return {a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share, a.z + (b.z - a.z) * share};
}

/// How far the smoothest movement (least jerk) has come after a share of its time.
double Smoothest(double share) {
  const double s = std::min(std::max(share, 0.0), 1.0);
  return s * s * s * (10 - 15 * s + 6 * s * s);
}

} // namespace

namespace mien {

void PrintTo(const QualityFlag& flag, std::ostream* out) {
  *out << ToText(flag.kind) << ' ' << flag.part << ' ' << flag.weight << testing::PrintToString(flag.markers)
       << ' ' << flag.first << '-' << flag.last << ' ' << flag.size;
}

} // namespace mien

TEST(Quality, ATakeInWhichNothingIsWrongHasNoFlags) {
  Solved solved(200);
  EXPECT_THAT(solved.Flags(), IsEmpty());
  for (const char* name : {"Mouth.Open", "LeftEye.Close", "RightNostril.Up"}) solved.Set(name, 0, 200, 0.7);
  EXPECT_THAT(solved.Flags(), IsEmpty()) << "constant weights";
}

TEST(Quality, ATakeWithoutFramesHasNoFlags) {
  EXPECT_THAT(Solved(0).Flags(), IsEmpty());
  EXPECT_THAT(Solved(1).Flags(), IsEmpty());
}

// --- Jumps.

TEST(QualityJump, IsAnEyeThatShutsWithinAFrameAndStays) {
  Solved solved(200);
  solved.Set("LeftEye.Close", 0, 100, 0.25);
  solved.Set("LeftEye.Close", 100, 200, 0.875);
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Jump, 3, "LeftEye.Close", {}, 99, 100, 0.625}));
}

TEST(QualityJump, ThereAndBackAreTwo) {
  Solved solved(300);
  solved.Set("RightEye.Close", 100, 168, 0.75);
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Jump, 4, "RightEye.Close", {}, 99, 100, 0.75},
                          QualityFlag{FlagKind::Jump, 4, "RightEye.Close", {}, 167, 168, -0.75}));
}

TEST(QualityJump, IsOfHalfATemplateAtLeast) {
  Solved solved(200, 128);
  solved.Set("Mouth.Open", 100, 200, 0.499);
  EXPECT_THAT(solved.Flags(), IsEmpty());
  solved.Set("Mouth.Open", 100, 200, 0.5);
  EXPECT_THAT(solved.Flags(), SizeIs(1));
}

TEST(QualityJump, ABlinkIsNoneHoweverFastItIs) {
  for (const double hz : {25.0, 30.0, 60.0, 100.0, 240.0}) {
    Solved solved(static_cast<std::size_t>(2 * hz), hz);
    const auto shut = static_cast<std::size_t>(hz), open = static_cast<std::size_t>(1.16 * hz);
    solved.Set("LeftEye.Close", shut, open, 1); // shut for 0.16 s, without a frame on the way
    EXPECT_THAT(solved.Flags(), IsEmpty()) << hz;
  }
}

// To stay is to be on its side of the middle for 0.2 s: at 64 Hz in 13 frames.
TEST(QualityJump, ASpikeOfNoiseIsNone) {
  Solved solved(200);
  for (const std::size_t frames : {1u, 2u, 12u}) {
    solved.Set("LeftEye.Close", 100, 100 + frames, 1);
    EXPECT_THAT(solved.Flags(), IsEmpty()) << frames;
  }
  solved.Set("LeftEye.Close", 100, 113, 1);
  EXPECT_THAT(solved.Flags(), SizeIs(2));
  solved.Set("LeftEye.Close", 105, 106, 0.4); // a spike within
  EXPECT_THAT(solved.Flags(), IsEmpty());
}

// A real lid shuts in 70 to 100 ms. How much of that falls between two frames depends on the rate and on
// where they fall.
TEST(QualityJump, AnEyeThatShutsAsFastAsALidCanAndStaysShutIsNone) {
  for (const double hz : {25.0, 29.97, 50.0, 60.0, 100.0, 120.0, 240.0})
    for (int phase = 0; phase < 10; ++phase) {
      Solved solved(static_cast<std::size_t>(2 * hz), hz);
      for (std::size_t f = 0; f < solved.animation.times.size(); ++f)
        solved.Set("LeftEye.Close", f, f + 1,
                   Smoothest((solved.animation.times[f] - 1 - phase / (10 * hz)) / 0.0701));
      EXPECT_THAT(solved.Flags(), IsEmpty()) << hz << ' ' << phase;
    }
}

// At 25 Hz a lid covers up to 86 hundredths of its way between two frames, at 30 Hz 77, at 60 Hz less than
// half.
TEST(QualityJump, HowFarAFaceMovesInAFrameIsMeasuredInSeconds) {
  const auto flags = [](double hz, double weight) {
    Solved solved(static_cast<std::size_t>(2 * hz), hz);
    solved.Set("LeftEye.Close", static_cast<std::size_t>(hz), static_cast<std::size_t>(2 * hz), weight);
    return solved.Flags().size();
  };
  EXPECT_EQ(flags(10, 1), 0u) << "there is time for anything";
  EXPECT_EQ(flags(25, 0.85), 0u);
  EXPECT_EQ(flags(25, 0.87), 1u);
  EXPECT_EQ(flags(30, 0.76), 0u);
  EXPECT_EQ(flags(30, 0.79), 1u);
  for (const double hz : {60.0, 100.0, 240.0}) EXPECT_EQ(flags(hz, 0.51), 1u) << hz;
}

// Wide open is a quarter of the way to shut: that much lid moves within a frame.
TEST(QualityJump, AFaceIsThroughASmallTemplateSooner) {
  const auto flags = [](const char* name, double hz) {
    Solved solved(static_cast<std::size_t>(2 * hz), hz);
    solved.Set(name, static_cast<std::size_t>(hz), static_cast<std::size_t>(2 * hz), 0.95);
    return solved.Flags().size();
  };
  EXPECT_EQ(flags("LeftEye.WideOpen", 100), 0u);
  EXPECT_EQ(flags("LeftEye.WideOpen", 240), 1u);
  EXPECT_EQ(flags("LeftEye.Close", 100), 1u);
  EXPECT_EQ(flags("Mouth.Open", 25), 1u) << "40 mm in 40 ms";
}

TEST(QualityJump, DroppedFramesAreTimeInWhichAFaceMoves) {
  Solved solved(200);
  solved.Set("LeftEye.Close", 100, 200, 1);
  for (std::size_t f = 100; f < 200; ++f) solved.animation.times[f] += 0.1;
  solved.face.times = solved.animation.times;
  EXPECT_THAT(solved.Flags(), IsEmpty());
}

TEST(QualityJump, WhetherItStaysIsUnknownAtTheEndsOfATake) {
  Solved solved(100, 50);
  solved.Set("LeftEye.Close", 5, 95, 1);
  EXPECT_THAT(solved.Flags(), IsEmpty());
  solved.Set("LeftEye.Close", 5, 20, 0), solved.Set("LeftEye.Close", 80, 95, 0);
  EXPECT_THAT(solved.Flags(), SizeIs(2));
}

TEST(QualityJump, BesideAMissingMarkerOfThePartItIsAGapsFade) {
  const auto flags = [](const std::string& marker, std::size_t first, std::size_t end, bool filled) {
    Solved solved(200);
    solved.Set("LeftEye.Close", 100, 200, 1);
    solved.Hide(marker, first, end);
    if (filled) solved.Move(marker, first, end, solved.Rest(marker), Origin::Filled);
    return solved.Flags().size();
  };
  for (const bool filled : {false, true}) {
    EXPECT_EQ(flags("LidUpL", 90, 100, filled), 0u) << "it comes back";
    EXPECT_EQ(flags("LidLowL", 100, 110, filled), 0u) << "it goes";
    EXPECT_EQ(flags("LidUpL", 80, 120, filled), 0u);
    EXPECT_EQ(flags("LidUpL", 80, 99, filled), 1u) << "it was back before";
    EXPECT_EQ(flags("LidUpR", 80, 120, filled), 1u) << "another part's";
  }
}

// --- Weights at their limit.

TEST(QualityLimit, IsAWeightOfOneForHalfASecond) {
  Solved solved(200);
  solved.Set("LeftNostril.Up", 100, 132, 1); // 31 steps of 1/64 s
  EXPECT_THAT(solved.Limits(), IsEmpty());
  solved.Set("LeftNostril.Up", 132, 133, 1);
  EXPECT_THAT(solved.Limits(),
              ElementsAre(QualityFlag{FlagKind::Limit, 7, "LeftNostril.Up", {}, 100, 132, 0.5}));
}

TEST(QualityLimit, RestAndWhatIsJustBelowOrBeyondOneAreNone) {
  Solved solved(200);
  for (const double weight : {0.0, std::nextafter(1, 0), std::nextafter(1, 2), 1.5}) {
    solved.Set("Mouth.Whistle", 0, 200, weight);
    EXPECT_THAT(solved.Limits(), IsEmpty()) << weight;
  }
}

TEST(QualityLimit, AMomentBelowDoesNotEndIt) {
  Solved solved(300);
  for (const std::size_t first : {100u, 119u, 200u}) solved.Set("LeftCheek.Up", first, first + 14, 1);
  EXPECT_THAT(solved.Limits(),
              ElementsAre(QualityFlag{FlagKind::Limit, 5, "LeftCheek.Up", {}, 100, 132, 0.5}))
      << "6/64 s between the first two";
  solved.Set("LeftCheek.Up", 119, 120, 0.9);
  EXPECT_THAT(solved.Limits(), IsEmpty()) << "7/64 s";
}

TEST(QualityLimit, EyesMayBeShutForThreeSeconds) {
  Solved solved(400);
  for (const char* name : {"LeftEye.Close", "RightEye.Close"}) solved.Set(name, 0, 192, 1);
  EXPECT_THAT(solved.Limits(), IsEmpty());
  solved.Set("RightEye.Close", 192, 193, 1);
  EXPECT_THAT(solved.Limits(), ElementsAre(QualityFlag{FlagKind::Limit, 4, "RightEye.Close", {}, 0, 192, 3}));
}

// --- Markers in each other's places.

TEST(QualitySwap, IsOfTwoMarkersThatExchangePlaces) {
  Solved solved(200);
  solved.Swap("LidUpL", "LidUpR", 20, 88);
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Swap, 3, "", {"LidUpL", "LidUpR"}, 20, 87, 32}))
      << "and exchange them again in frame 88";
}

TEST(QualitySwap, IsFoundWithinAPartAndBetweenParts) {
  for (const auto& [a, b] : {std::pair("LipUp", "LipLow"), std::pair("CornerL", "CornerR"),
                             std::pair("BrowL", "LidUpL"), std::pair("LipLow", "Chin")}) {
    Solved solved(200);
    solved.Swap(a, b, 50, 51);
    const std::vector<QualityFlag> flags = solved.Flags();
    ASSERT_THAT(flags, SizeIs(1)) << a;
    EXPECT_EQ(flags[0].kind, FlagKind::Swap);
    EXPECT_THAT(flags[0].markers, testing::UnorderedElementsAre(a, b));
    EXPECT_EQ(flags[0].first, 50u);
    EXPECT_EQ(flags[0].last, 50u);
  }
}

TEST(QualitySwap, TheFaceMayMoveAllTheWhile) {
  Solved solved(200);
  for (std::size_t f = 20; f < 88; ++f) {
    const double blink = 4 * std::sin(static_cast<double>(f) / 5), turn = static_cast<double>(f % 4) - 2;
    solved.Move("LidUpL", f, f + 1, Shifted(solved.Rest("LidUpR"), turn, blink, 0));
    solved.Move("LidUpR", f, f + 1, Shifted(solved.Rest("LidUpL"), turn, blink, 1));
  }
  const std::vector<QualityFlag> flags = solved.Flags();
  ASSERT_THAT(flags, SizeIs(1));
  EXPECT_EQ(flags[0].first, 20u);
  EXPECT_EQ(flags[0].last, 87u);
}

TEST(QualitySwap, NeighboursThatMoveAlikeAreNone) {
  Solved solved(200);
  for (const char* marker : {"LipUp", "LipLow", "Chin", "CornerL", "CornerR"})
    solved.Move(marker, 0, 200, Shifted(solved.Rest(marker), 0, -20, 0)); // LipUp is below where LipLow rests
  EXPECT_THAT(solved.Flags(), IsEmpty());
}

// Eyes and lips shut, and noise lets their markers pass each other.
TEST(QualitySwap, MarkersThatMeetAreNone) {
  Solved solved(200);
  const Point upper = solved.Rest("LidUpL"), lower = solved.Rest("LidLowL"); // 8 mm apart
  solved.Move("LidUpL", 50, 150, Between(upper, lower, 0.8)),
      solved.Move("LidLowL", 50, 150, Between(upper, lower, 0.2));
  EXPECT_THAT(solved.Flags(), IsEmpty()) << "past each other by 0.6 of it";
  solved.Move("LidUpL", 50, 150, Between(upper, lower, 0.9)),
      solved.Move("LidLowL", 50, 150, Between(upper, lower, 0.1));
  EXPECT_THAT(solved.Flags(), SizeIs(1));
}

TEST(QualitySwap, MarkersThatRestWithinFiveMillimetresAreNotCompared) {
  for (const double apart : {4.99, 5.01}) {
    NeutralPose neutral = PlainFace();
    neutral["LipLow"] = Shifted(neutral["LipUp"], 0, -apart, 0);
    Solved solved(50, 64, PlainPerformer(), neutral);
    solved.Swap("LipUp", "LipLow", 10, 20);
    EXPECT_EQ(solved.Flags().size(), apart > 5 ? 1u : 0u) << apart;
  }
}

TEST(QualityMislabel, IsAMarkerInThePlaceOfOneOfTheOtherSide) {
  Solved solved(200);
  solved.Move("LidUpL", 20, 88, solved.Rest("LidUpR"));
  solved.Hide("LidUpR", 20, 88);
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Mislabel, 3, "", {"LidUpL", "LidUpR"}, 20, 87, 32}));
  solved.Move("LidUpR", 20, 88, solved.Rest("LidUpR"));
  EXPECT_THAT(solved.Flags(), SizeIs(1)) << "two markers on one eye";
}

TEST(QualityMislabel, HasTheLargestDistanceOfItsFrames) {
  Solved solved(200);
  const Point there = solved.Rest("LidUpR");
  for (const auto& [frame, further] : {std::pair(20u, 1.0), std::pair(21u, 4.0), std::pair(22u, 2.0)})
    solved.Move("LidUpL", frame, frame + 1, Shifted(there, -further, 0, 0));
  EXPECT_THAT(solved.Flags(), ElementsAre(testing::Field(&QualityFlag::size, 36)));
}

TEST(QualityMislabel, IsWithinAThirdOfTheWay) {
  Solved solved(200);
  const Point own = solved.Rest("NoseL"), other = solved.Rest("NoseR");
  for (const auto& [share, flags] :
       {std::pair(0.66, 0u), std::pair(0.68, 1u), std::pair(1.32, 1u), std::pair(1.35, 0u)}) {
    solved.Move("NoseL", 20, 88, Between(own, other, share));
    EXPECT_EQ(solved.Flags().size(), flags) << share;
  }
}

// An expression brings a marker to where another one of its part rests: an open mouth the lower lip to the
// chin.
TEST(QualityMislabel, IsNoneWithinAPartOrBetweenOtherParts) {
  Solved solved(200);
  solved.Move("LipLow", 20, 88, solved.Rest("Chin")), solved.Move("BrowL", 20, 88, solved.Rest("LidUpL"));
  EXPECT_THAT(solved.Flags(), IsEmpty());
}

TEST(QualityMislabel, AMarkerOfBothSidesIsOnNeither) {
  Performer performer = PlainPerformer();
  for (const std::size_t brow : {1u, 2u}) performer.holders[brow][1] = {"BrowInL", "BrowInR"};
  Solved solved(200, 64, performer);
  solved.Move("BrowInL", 20, 88, solved.Rest("BrowInR"));
  EXPECT_THAT(solved.Flags(), IsEmpty());
}

TEST(QualityMislabel, WhatWasFilledIsNotJudged) {
  Solved solved(200);
  solved.Move("LidUpL", 20, 40, solved.Rest("LidUpR"), Origin::Filled);
  EXPECT_THAT(solved.Flags(), IsEmpty());
  solved.Move("LidUpR", 30, 40, solved.Rest("LidUpL"));
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Mislabel, 4, "", {"LidUpR", "LidUpL"}, 30, 39, 32}))
      << "its place was filled, not seen";
}

TEST(QualityMislabel, WithTheHeadsMotionInItNoPlaceIsJudged) {
  Solved solved(200);
  solved.Swap("LidUpL", "LidUpR", 20, 88), solved.Move("NoseL", 20, 88, solved.Rest("NoseR"));
  EXPECT_THAT(solved.Flags(), SizeIs(2));
  EXPECT_THAT(AssessQuality(solved.animation, solved.face, false, solved.solver, {}).flags, IsEmpty());
}

TEST(QualityMislabel, AMomentBackDoesNotEndIt) {
  Solved solved(200);
  for (const std::size_t first : {20u, 36u, 70u})
    solved.Move("LidUpL", first, first + 10,
                solved.Rest("LidUpR")); // breaks of 7/64 and 25/64 s, from last to first
  EXPECT_THAT(solved.Flags(), SizeIs(3));
  solved.Move("LidUpL", 35, 36, solved.Rest("LidUpR"));
  EXPECT_THAT(solved.Flags(),
              ElementsAre(QualityFlag{FlagKind::Mislabel, 3, "", {"LidUpL", "LidUpR"}, 20, 45, 32},
                          QualityFlag{FlagKind::Mislabel, 3, "", {"LidUpL", "LidUpR"}, 70, 79, 32}));
}

TEST(Quality, FlagsAreInTheOrderOfTheirFrames) {
  Solved solved(400);
  solved.Set("Mouth.Open", 100, 400, 1);
  solved.Swap("LidUpL", "LidUpR", 200, 210), solved.Swap("NoseL", "NoseR", 20, 30);
  std::vector<std::pair<FlagKind, std::size_t>> flags;
  for (const QualityFlag& flag : solved.Flags()) flags.emplace_back(flag.kind, flag.first);
  EXPECT_THAT(flags, ElementsAre(std::pair(FlagKind::Swap, 20), std::pair(FlagKind::Jump, 99),
                                 std::pair(FlagKind::Limit, 100), std::pair(FlagKind::Swap, 200)));
}

// --- Grades.

TEST(QualityGrade, IsTheResidualOverTheDistanceOfTheOuterEyeCorners) {
  Solved solved(3);
  const double corners_mm = 1.35 * 32; // the lids' markers are 16 mm from the middle
  EXPECT_EQ(solved.Assessed().eye_corners_mm, corners_mm);
  solved.residual_mm = {0.029 * corners_mm, 0.0301 * corners_mm, 0.099 * corners_mm, 9, 9, 0, 0, 0,
                        0.101 * corners_mm};
  const Quality quality = solved.Assessed();
  EXPECT_THAT(quality.grades, ElementsAre(Grade::Good, Grade::Fair, Grade::Fair, Grade::None, Grade::None,
                                          Grade::Good, Grade::Good, Grade::Good, Grade::Poor));
  for (const std::size_t p : {0u, 1u, 2u, 5u, 8u})
    EXPECT_EQ(quality.share[p], solved.residual_mm[p] / corners_mm);
  EXPECT_FALSE(quality.share[3]) << "lids only move up and down: what is left over tells nothing";
  EXPECT_EQ(quality.grade, Grade::Poor);
}

TEST(QualityGrade, OfTheTakeIsThatOfItsWorstPart) {
  Solved solved(3);
  EXPECT_EQ(solved.Assessed().grade, Grade::Good);
  solved.residual_mm[6] = 0.05 * 43.2;
  EXPECT_EQ(solved.Assessed().grade, Grade::Fair);
  solved.residual_mm[0] = 0.2 * 43.2;
  EXPECT_EQ(solved.Assessed().grade, Grade::Poor);
}

TEST(QualityGrade, WithoutEyesTheBrowsTellTheFacesSize) {
  Performer performer = PlainPerformer();
  performer.holders[4] = {};
  // 20, 31 and 8 mm from the middle.
  EXPECT_NEAR(Solved(1, 64, performer).Assessed().eye_corners_mm.value(), 1.45 * 2 * 59 / 3, 1e-12);
}

TEST(QualityGrade, WithoutEitherThereIsNone) {
  Performer performer = PlainPerformer();
  performer.holders[1] = performer.holders[4] = {};
  Solved solved(1, 64, performer);
  solved.residual_mm[0] = 100;
  EXPECT_FALSE(solved.Assessed().eye_corners_mm);
  EXPECT_FALSE(solved.Assessed().share[0]);
  EXPECT_EQ(solved.Assessed().grade, Grade::None);
}

TEST(QualityGrade, APartWithoutMarkersHasNone) {
  Performer performer = PlainPerformer();
  performer.holders[5] = {};
  const Quality quality = Solved(1, 64, performer).Assessed();
  EXPECT_EQ(quality.grades[5], Grade::None);
  EXPECT_FALSE(quality.share[5]);
  EXPECT_EQ(quality.grades[6], Grade::Good);
}

TEST(Quality, NamesAreWhatTheReportSays) {
  EXPECT_EQ(ToText(Grade::None), "");
  EXPECT_EQ(ToText(Grade::Good), "good");
  EXPECT_EQ(ToText(Grade::Fair), "fair");
  EXPECT_EQ(ToText(Grade::Poor), "poor");
  EXPECT_EQ(ToText(FlagKind::Swap), "swap");
  EXPECT_EQ(ToText(FlagKind::Mislabel), "mislabel");
  EXPECT_EQ(ToText(FlagKind::Jump), "jump");
  EXPECT_EQ(ToText(FlagKind::Limit), "limit");
}
