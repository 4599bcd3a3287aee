#include "host/performer/neutral.h"

#include "host/base/face_parts.h"
#include "host/cleaning/rigid_motion.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/host/rigid_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

using mien::FindNeutral;
using mien::FrameRange;
using mien::Neutral;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::RigidMotion;
using mien::Take;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::Carried;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::Motion;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

double Distance(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z); }

/// The largest distance of the pose's markers from the plain face, with both heads aligned. `lacking`: the
/// number of the plain face's markers that are not in the pose.
double WorstError(const NeutralPose& pose, std::size_t lacking = 0) {
  EXPECT_EQ(pose.size() + lacking, PlainFace().size());
  RigidMotion::Markers reference, now;
  for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot) {
    const std::string name = "H" + std::to_string(slot + 1);
    reference[slot] = PlainFace().at(name);
    if (pose.contains(name)) now[slot] = pose.at(name);
  }
  const auto head = RigidMotion(reference).Solve(now);
  if (!head) return 1e9;
  double worst = 0;
  for (const auto& [name, p] : PlainFace())
    if (const auto found = pose.find(name); found != pose.end())
      worst = std::max(worst, Distance(found->second, Carried(*head, p)));
  return worst;
}

/// Only `markers` of the pose.
NeutralPose Only(const NeutralPose& pose, const std::vector<std::string>& markers) {
  NeutralPose only;
  for (const std::string& name : markers) only[name] = pose.at(name);
  return only;
}

void Shift(NeutralPose& face, const std::vector<std::string>& markers, double up) {
  for (const std::string& name : markers) face[name].y += up;
}

NeutralPose Blink(double amount) {
  NeutralPose face = PlainFace();
  Shift(face, {"LidUpL", "LidUpR"}, -8 * amount);
  return face;
}

void OpenMouth(NeutralPose& face, double amount) {
  Shift(face, {"LipLow"}, -18 * amount);
  Shift(face, {"Chin"}, -20 * amount);
}

/// A head that moves by about 20 degrees and a decimetre.
VgeAMatrix Wandering(int frame) {
  return Motion({12 * std::sin(frame * 0.05), 20 * std::sin(frame * 0.031), 6 * std::sin(frame * 0.043)},
                {50 * std::sin(frame * 0.02) + 300, 1500 - frame * 0.1, 40 * std::sin(frame * 0.033)});
}

/// 400 frames of a person who talks half of the time, blinks every 40 frames beginning with the first one,
/// raises the brows when opening the eyes wide, and moves the head. Each coordinate has noise of up to
/// `noise`.
Take Performance(double noise) {
  Take take = EmptyTake();
  tests::Random random(5);
  for (int f = 0; f < 400; ++f) {
    NeutralPose face = Blink(f % 40 < 6 ? 1 - std::fabs(f % 40 - 1) / 5 : 0);
    if (f % 100 < 55) OpenMouth(face, 0.5 + 0.5 * std::sin(f * 0.6));
    if (f % 100 >= 40 && f % 100 < 50)
      Shift(face, {"LidUpL", "LidUpR", "BrowL", "BrowR", "BrowInL", "BrowInR"}, 5);
    for (auto& [name, p] : face)
      for (double* axis : {&p.x, &p.y, &p.z}) *axis += random.Between(-noise, noise);
    Film(take, face, Wandering(f));
  }
  return take;
}

Neutral Found(const Take& take, const Performer& performer = PlainPerformer()) {
  return FindNeutral(take, performer, std::nullopt);
}

constexpr double kRounding = 1e-9; // millimetres, of positions up to two metres from the origin

} // namespace

// --- Its source.

TEST(FindNeutral, AskedFramesComeBeforeThePerformersAndTheseBeforeTheSearch) {
  Take take = EmptyTake();
  for (int f = 0; f < 20; ++f) {
    NeutralPose face = PlainFace();
    Shift(face, {"LipLow"}, -f);
    Film(take, face);
  }
  Performer performer = PlainPerformer();
  EXPECT_THAT(Found(take).how, HasSubstr("median"));
  performer.neutral = FrameRange{4, 4};
  EXPECT_NEAR(Found(take, performer).pose.at("LipLow").y, 9 - 3, kRounding);
  EXPECT_EQ(Found(take, performer).how, "frame 4");
  const Neutral asked = FindNeutral(take, performer, FrameRange{11, 11});
  EXPECT_NEAR(asked.pose.at("LipLow").y, 9 - 10, kRounding);
  EXPECT_EQ(asked.how, "frame 11");

  performer.neutral = NeutralPose{{"LipLow", {1, 2, 3}}};
  EXPECT_EQ(Found(take, performer).pose.at("LipLow").y, 2);
  EXPECT_EQ(Found(take, performer).pose.size(), 1u);
  EXPECT_EQ(Found(take, performer).how, "the performer file's");
  EXPECT_EQ(FindNeutral(take, performer, FrameRange{11, 11}).pose.at("LipLow").y, asked.pose.at("LipLow").y);
}

TEST(FindNeutral, FramesAreGivenByTheirNumbers) {
  Take take = EmptyTake();
  for (const std::int64_t number : {-5, 100, 101, 250}) {
    NeutralPose face = PlainFace();
    Shift(face, {"LipLow"}, static_cast<double>(number));
    take.frames[Film(take, face)] = number;
  }
  EXPECT_NEAR(FindNeutral(take, PlainPerformer(), FrameRange{100, 101}).pose.at("LipLow").y, 9 + 100.5,
              kRounding);
  EXPECT_NEAR(FindNeutral(take, PlainPerformer(), FrameRange{-5, -5}).pose.at("LipLow").y, 9 - 5, kRounding);
  const Neutral all = FindNeutral(take, PlainPerformer(), FrameRange{-1000, 1000});
  EXPECT_EQ(all.how, "the average of frames -5 to 250") << "those that exist";
}

TEST(FindNeutral, FramesOutsideTheTakeAreAnError) {
  Take take = EmptyTake();
  for (int f = 0; f < 3; ++f) Film(take, PlainFace());
  take.frames = {10, 20, 30};
  for (const FrameRange range : {FrameRange{31, 99}, FrameRange{0, 9}, FrameRange{11, 19}})
    EXPECT_THAT(InputErrorOf([&] { FindNeutral(take, PlainPerformer(), range); }),
                AllOf(HasSubstr("there are no frames " + std::to_string(range.first) + " to " +
                                std::to_string(range.last)),
                      HasSubstr("from frame 10 to 30")));
}

// The error is in the file that names the frames.
TEST(FindNeutral, FramesOfThePerformerFileAreItsMistake) {
  Take take = EmptyTake();
  Film(take, PlainFace());
  Performer performer = PlainPerformer();
  performer.neutral = FrameRange{12, 40};
  EXPECT_THAT(InputErrorOf([&] { Found(take, performer); }), HasSubstr("plain.json:/neutral"));
}

TEST(FindNeutral, NeedsAVisibleMarker) {
  Take take = EmptyTake({"other"});
  for (int f = 0; f < 10; ++f) take.Set(take.AddFrame(f, f), 0, {1, 2, 3});
  EXPECT_THAT(InputErrorOf([&] { Found(take); }), HasSubstr("no marker of the performer is visible"));
  EXPECT_THAT(InputErrorOf([&] {
                FindNeutral(take, PlainPerformer(), FrameRange{2, 3});
              }),
              HasSubstr("no marker of the performer is visible"));
}

TEST(FindNeutral, ContainsOnlyThePerformersMarkers) {
  Take take = EmptyTake({"other"});
  for (int f = 0; f < 10; ++f) take.Set(Film(take, PlainFace()), 0, {1, 2, 3});
  const Neutral neutral = Found(take);
  EXPECT_EQ(neutral.pose.size(), PlainFace().size());
  EXPECT_FALSE(neutral.pose.contains("other"));
}

// --- The average of frames.

TEST(FindNeutral, OneFrameIsThatFrameWhateverTheHeadDoes) {
  const Take take = Performance(0.1);
  const Neutral neutral = FindNeutral(take, PlainPerformer(), FrameRange{70, 70});
  EXPECT_EQ(neutral.pose.size(), PlainFace().size());
  for (const auto& [name, p] : neutral.pose)
    EXPECT_LT(Distance(p, *take.At(69, *take.FindMarker(name))), kRounding) << name;
}

TEST(FindNeutral, AMovingHeadDoesNotBlurTheAverage) {
  Take take = EmptyTake();
  for (int f = 0; f < 60; ++f) Film(take, PlainFace(), Wandering(5 * f));
  EXPECT_LT(WorstError(FindNeutral(take, PlainPerformer(), FrameRange{1, 60}).pose), kRounding);
}

TEST(FindNeutral, TheAverageIsOfTheFramesThatHaveTheMarker) {
  Take take = EmptyTake();
  for (int f = 0; f < 4; ++f) {
    NeutralPose face = PlainFace();
    Shift(face, {"LipLow"}, f);
    Film(take, face, Wandering(9 * f));
  }
  Hide(take, 0, {"LipLow"});
  Hide(take, 2, {"LipLow", "H1", "H3"});
  const NeutralPose pose = FindNeutral(take, PlainPerformer(), FrameRange{1, 4}).pose;
  NeutralPose expected = PlainFace();
  Shift(expected, {"LipLow"}, 2); // of 1 and 3
  RigidMotion::Markers reference, now;
  for (std::size_t slot = 0; slot < 5; ++slot) {
    const std::string name = "H" + std::to_string(slot + 1);
    reference[slot] = expected.at(name), now[slot] = pose.at(name);
  }
  const auto head = RigidMotion(reference).Solve(now);
  ASSERT_TRUE(head);
  for (const auto& [name, p] : expected) EXPECT_LT(Distance(pose.at(name), Carried(*head, p)), 1e-8) << name;
}

// A single frame needs no head to be combined with others.
TEST(FindNeutral, OneFrameCountsEvenIfItsHeadIsHidden) {
  Take take = EmptyTake();
  for (int f = 0; f < 3; ++f) Film(take, PlainFace());
  Hide(take, 1, {"H1", "H2", "H3"});
  Neutral neutral;
  ASSERT_EQ(InputErrorOf([&] {
              neutral = FindNeutral(take, PlainPerformer(), FrameRange{2, 2});
            }),
            "no InputError");
  EXPECT_EQ(neutral.pose.size(), PlainFace().size() - 3);
}

// --- The search.

TEST(FindNeutral, FindsTheRestFaceAmongTalkBlinksAndHeadMotion) {
  const Take take = Performance(0);
  const Neutral neutral = Found(take);
  EXPECT_LT(WorstError(neutral.pose),
            1e-6); // only rounding: more than half of the rest frames are at rest
  EXPECT_THAT(neutral.notes, IsEmpty());
  EXPECT_THAT(neutral.how, testing::MatchesRegex("the median of [0-9]+ rest frames"));
}

TEST(FindNeutral, FindsItInNoiseWhereNeitherTheFirstFrameNorTheAverageIsNear) {
  const Take take = Performance(0.2);
  // The median of some 40 uniform numbers between -0.2 and 0.2 has a deviation of 0.03; of 26 markers with
  // three axes the worst is three to four times as far off, and the head's frame adds the same again.
  EXPECT_LT(WorstError(Found(take).pose), 0.25);
  EXPECT_GT(WorstError(FindNeutral(take, PlainPerformer(), FrameRange{1, 1}).pose), 5)
      << "the take begins in a blink";
  EXPECT_GT(WorstError(FindNeutral(take, PlainPerformer(), FrameRange{1, 400}).pose), 3)
      << "speech biases the average";
}

TEST(FindNeutral, DoesNotDependOnTheTakesAxes) {
  const Take take = Performance(0.2);
  const VgeAMatrix turn = Motion({90, 20, -130}, {-700, 30, 12});
  Take turned = take;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) turned.Set(f, m, Carried(turn, *take.At(f, m)));
  const NeutralPose expected = Carried(turn, Found(take).pose), found = Found(turned).pose;
  // Medians are per axis: in other axes, other values are in the middle of the noise.
  for (const auto& [name, p] : expected) EXPECT_LT(Distance(found.at(name), p), 0.1) << name;
}

TEST(FindNeutral, FewerThanFiveRestFramesAreTooFewAndAreReported) {
  Take take = EmptyTake();
  for (int f = 0; f < 8; ++f) { // in all frames with usual eyes, the mouth is open
    NeutralPose face = Blink(f < 4 ? 1 : 0.1 * f);
    OpenMouth(face, f < 4 ? 0.1 * f : 1);
    Film(take, face);
  }
  const Neutral neutral = Found(take);
  EXPECT_EQ(neutral.how, "the median of all 8 frames");
  ASSERT_EQ(neutral.notes.size(), 1u);
  EXPECT_EQ(neutral.notes[0].code, mien::Code::Assumed);
  EXPECT_THAT(neutral.notes[0].what, AllOf(HasSubstr("so all frames were used"), HasSubstr("--neutral")));
  EXPECT_EQ(neutral.pose.size(), PlainFace().size());
  // Of 1, 1, 1, 1, 0.4, 0.5, 0.6, 0.7 the middle two are 0.7 and 1.
  EXPECT_NEAR(neutral.pose.at("LidUpL").y, 52 - 8 * 0.85, kRounding);
}

TEST(FindNeutral, ATakeOfOneFrameIsThatFrame) {
  Take take = EmptyTake();
  Film(take, PlainFace(), Wandering(77));
  const Neutral neutral = Found(take);
  EXPECT_EQ(neutral.notes.size(), 1u);
  for (const auto& [name, p] : PlainFace())
    EXPECT_LT(Distance(neutral.pose.at(name), Carried(Wandering(77), p)), kRounding) << name;
}

TEST(FindNeutral, AMarkerHiddenInAllRestFramesKeepsItsPositionFromTheOthers) {
  Take take = EmptyTake();
  for (int f = 0; f < 20; ++f) {
    NeutralPose face = PlainFace();
    if (f % 5 < 2) OpenMouth(face, 1);
    const std::size_t frame = Film(take, face);
    if (f % 5 >= 2) Hide(take, frame, {"CheekL"});
  }
  const Neutral neutral = Found(take);
  EXPECT_EQ(neutral.how, "the median of 12 rest frames");
  ASSERT_TRUE(neutral.pose.contains("CheekL"));
  EXPECT_LT(WorstError(neutral.pose), kRounding);
}

TEST(FindNeutral, AMarkerThatIsNeverVisibleIsNotInThePose) {
  Take take = Performance(0);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) Hide(take, f, {"CheekL", "H2"});
  const Neutral neutral = Found(take);
  EXPECT_FALSE(neutral.pose.contains("CheekL"));
  EXPECT_FALSE(neutral.pose.contains("H2"));
  EXPECT_EQ(neutral.pose.size(), PlainFace().size() - 2);
  EXPECT_LT(WorstError(neutral.pose, 2), 1e-6) << "four head markers are as good as five";
}

// Gaps everywhere, never all five head markers, some frames without a head, and whole frames lost.
TEST(FindNeutral, ToleratesGaps) {
  Take take = Performance(0);
  const std::vector<std::string> head = PlainPerformer().head;
  std::vector<std::string> names;
  for (const auto& [name, p] : PlainFace()) names.push_back(name);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    Hide(take, f, {head[f % 5], names[f % names.size()]});
    if (f % 17 == 0) Hide(take, f, {head[(f + 1) % 5], head[(f + 2) % 5], head[(f + 3) % 5]});
    if (f % 29 == 0) Hide(take, f, names);
  }
  const Neutral neutral = Found(take);
  EXPECT_EQ(neutral.pose.size(), PlainFace().size());
  EXPECT_LT(WorstError(neutral.pose), 1e-6);
  EXPECT_THAT(neutral.notes, IsEmpty());
}

TEST(FindNeutral, WithoutHeadMarkersAStillHeadIsFound) {
  Take take = EmptyTake();
  for (int f = 0; f < 100; ++f) {
    NeutralPose face = Blink(f % 25 < 4 ? 1 : 0);
    if (f % 20 < 9) OpenMouth(face, 1);
    Film(take, face);
  }
  for (const std::size_t count : {0u, 2u}) { // two do not determine the head
    Performer performer = PlainPerformer();
    performer.head.resize(count);
    const Neutral neutral = Found(take, performer);
    EXPECT_EQ(neutral.pose.size(), performer.Markers().size());
    for (const auto& [name, p] : neutral.pose)
      EXPECT_LT(Distance(p, PlainFace().at(name)), kRounding) << name;
  }
}

TEST(FindNeutral, UnmeasuredOpeningsAreIgnored) {
  Performer performer = PlainPerformer();
  performer.holders[3] = performer.holders[4] = {}; // no eyes: the mouth decides
  const Take take = Performance(0);
  const Neutral no_eyes = Found(take, performer);
  EXPECT_LT(WorstError(Only(no_eyes.pose, {"H1", "H2", "H3", "H4", "H5", "LipLow", "Chin", "CornerL"}),
                       PlainFace().size() - 8),
            1e-6);
  performer = PlainPerformer();
  performer.holders[0] = {}; // no mouth: the eyes decide
  const Neutral no_mouth = Found(take, performer);
  EXPECT_LT(WorstError(no_mouth.pose, 5), 1e-6);
  EXPECT_FALSE(no_mouth.pose.contains("LipLow"));
}

// Of the frames with the lips together, four in five have the eyes closed or wide open, and then the brows
// are raised as well: the eyes decide.
TEST(FindNeutral, UnusualEyesAreNotAtRest) {
  Take take = EmptyTake();
  for (int f = 0; f < 100; ++f) {
    const bool closed = f < 28, wide = f >= 80, talks = f >= 28 && f < 68;
    NeutralPose face = Blink(closed ? 1 : wide ? -0.5 : 0);
    if (closed || wide) Shift(face, {"BrowL", "BrowR", "BrowInL", "BrowInR"}, 6);
    if (talks) OpenMouth(face, 1);
    Film(take, face);
  }
  Performer without_lower_lids = PlainPerformer(); // the height of the upper lids is used
  without_lower_lids.holders[3][1].clear(), without_lower_lids.holders[4][1].clear();
  for (const Performer& performer : {PlainPerformer(), without_lower_lids}) {
    const Neutral neutral = Found(take, performer);
    EXPECT_EQ(neutral.how, "the median of 12 rest frames");
    EXPECT_LT(WorstError(neutral.pose, PlainFace().size() - performer.Markers().size()), kRounding);
  }
}

// Only what is measured moves, and all frames differ, so the rest frames can be counted.
namespace {

/// In each frame `markers` are a tenth of a millimetre higher than in another one; the frames' order is
/// mixed. Only the given markers of the performer.
Neutral FoundAmong(int frames, const std::vector<std::string>& markers, const Performer& performer) {
  Take take = EmptyTake();
  for (int f = 0; f < frames; ++f) {
    NeutralPose face = PlainFace();
    Shift(face, markers,
          0.1 * (f * 37 % frames)); // 37 has no factor in common with the numbers of frames below
    Film(take, face);
  }
  return Found(take, performer);
}

Performer WithoutHeadAnd(const std::vector<std::size_t>& parts) {
  Performer performer = PlainPerformer();
  performer.head.clear(); // so that there is no rounding
  for (const std::size_t part : parts) performer.holders[part] = {};
  return performer;
}

} // namespace

// Of 101 frames, the percentiles are exactly frames: the 30th to the 80th are 51.
TEST(FindNeutral, EyesAreAsUsualBetweenThe30thAndThe80thPercentile) {
  const Neutral neutral = FoundAmong(101, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_EQ(neutral.how, "the median of 51 rest frames");
  EXPECT_NEAR(neutral.pose.at("LidUpL").y, 52 + 0.1 * 55, kRounding);
}

TEST(FindNeutral, TheMouthIsAsUsualUpToThe50thPercentile) {
  const Neutral neutral = FoundAmong(101, {"LipUp"}, WithoutHeadAnd({3, 4}));
  EXPECT_EQ(neutral.how, "the median of 51 rest frames");
  EXPECT_NEAR(neutral.pose.at("LipUp").y, 18 + 0.1 * 25, kRounding);
}

// Of 12 frames, they are between frames: 3.3 and 8.8, counted from 0. 4 to 8 are five, just enough. Of 9
// frames it is 2.4 to 6.4, and 3 to 6 are not enough.
TEST(FindNeutral, FiveRestFramesAreEnoughAndFourAreNot) {
  const Neutral five = FoundAmong(12, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_EQ(five.how, "the median of 5 rest frames");
  EXPECT_NEAR(five.pose.at("LidUpR").y, 52 + 0.1 * 6, kRounding);
  EXPECT_THAT(five.notes, IsEmpty());
  const Neutral four = FoundAmong(9, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_EQ(four.how, "the median of all 9 frames");
  EXPECT_THAT(four.notes, testing::ElementsAre(Says(HasSubstr("only 4, so all frames were used"))));
}

// Either eye, half closed while the other is open, is equally unusual.
TEST(FindNeutral, BothEyesCount) {
  for (const char* lid : {"LidUpL", "LidUpR"})
    EXPECT_EQ(FoundAmong(101, {lid}, WithoutHeadAnd({0})).how, "the median of 51 rest frames") << lid;
}

// --- What it was taken from, and what another choice would give.

TEST(FindNeutral, NamesTheFramesThatItWasTakenFrom) {
  Take take = EmptyTake();
  std::vector<std::int64_t> expected;
  for (int f = 0; f < 101; ++f) {
    NeutralPose face = PlainFace();
    const int opening = f * 37 % 101;
    Shift(face, {"LidUpL", "LidUpR"}, 0.1 * opening);
    take.frames[Film(take, face)] = 1000 + 3 * f;
    if (opening >= 30 && opening <= 80) expected.push_back(1000 + 3 * f);
  }
  EXPECT_EQ(Found(take, WithoutHeadAnd({0})).frames, expected);

  // Those that were asked for and show the head.
  for (std::size_t f = 10; f < 20; f += 4) Hide(take, f, {"H1", "H2", "H3"});
  EXPECT_THAT(FindNeutral(take, PlainPerformer(), FrameRange{1027, 1036}).frames,
              testing::ElementsAre(1027, 1033, 1036));
  EXPECT_THAT(FindNeutral(take, PlainPerformer(), FrameRange{1030, 1032}).frames, testing::ElementsAre(1030))
      << "a single one needs no head";
  Performer performer = PlainPerformer();
  performer.neutral = PlainFace();
  EXPECT_THAT(Found(take, performer).frames, IsEmpty());
}

TEST(FindNeutral, WhereAllFramesAreTakenAllAreNamed) {
  const Neutral four = FoundAmong(9, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_EQ(four.frames.size(), 9u);
}

// Of the mouth's five markers one is off by 0.3 mm in each frame, up or down; the left brow's three are all
// off by 0.4 mm.
TEST(FindNeutral, MeasuresHowFarEachPartStraysInThem) {
  Take take = EmptyTake();
  for (const double way : {1.0, -1.0}) {
    NeutralPose face = PlainFace();
    Shift(face, {"LipLow"}, 0.3 * way);
    Shift(face, {"BrowL", "BrowOutL", "BrowInL"}, 0.4 * way);
    Film(take, face);
  }
  const Neutral neutral = FindNeutral(take, WithoutHeadAnd({5}), FrameRange{1, 2});
  for (std::size_t part = 0; part < 9; ++part)
    EXPECT_NEAR(neutral.spread_mm[part],
                part == 0   ? 0.3 / std::sqrt(5.0)
                : part == 1 ? 0.4
                            : 0,
                kRounding)
        << part;
  Performer performer = PlainPerformer();
  performer.neutral = PlainFace();
  EXPECT_THAT(Found(take, performer).spread_mm, testing::Each(0)) << "nobody knows how it came about";
}

// Eyes from the 55th percentile on, and a mouth up to the 15th.
TEST(FindNeutral, KnowsThePoseOfStricterFrames) {
  const Neutral eyes = FoundAmong(101, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_NEAR(eyes.pose.at("LidUpL").y, 52 + 0.1 * 55, kRounding);
  EXPECT_NEAR(eyes.stricter.at("LidUpL").y, 52 + 0.1 * 67.5, kRounding);
  EXPECT_EQ(eyes.stricter.size(), eyes.pose.size());
  const Neutral mouth = FoundAmong(101, {"LipUp"}, WithoutHeadAnd({3, 4}));
  EXPECT_NEAR(mouth.stricter.at("LipUp").y, 18 + 0.1 * 7.5, kRounding);
}

TEST(FindNeutral, FewerThanFiveStricterFramesGiveNoPose) {
  const Neutral few = FoundAmong(12, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0}));
  EXPECT_EQ(few.how, "the median of 5 rest frames");
  EXPECT_THAT(few.stricter, IsEmpty()) << "two of twelve";
  EXPECT_THAT(FoundAmong(9, {"LidUpL", "LidUpR"}, WithoutHeadAnd({0})).stricter, IsEmpty());
  Take take = EmptyTake();
  for (int f = 0; f < 20; ++f) Film(take, PlainFace());
  EXPECT_THAT(FindNeutral(take, PlainPerformer(), FrameRange{1, 20}).stricter, IsEmpty())
      << "nothing was searched for";
}

// --- With a rigid head.

namespace {

Neutral FoundByFit(const Take& take, const Performer& performer) {
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  return FindNeutral(take, performer, std::nullopt, &rigid);
}

Performer ByItsHeadMarkers() {
  Performer performer = PlainPerformer();
  performer.rigid = performer.head;
  return performer;
}

} // namespace

TEST(FindNeutral, ByAFitFindsTheSameRestFace) {
  const Neutral neutral = FoundByFit(Performance(0), ByItsHeadMarkers());
  EXPECT_LT(WorstError(neutral.pose), 1e-6);
  EXPECT_GT(neutral.frames.size(), 40u);
  EXPECT_LT(WorstError(FoundByFit(Performance(0.2), ByItsHeadMarkers()).pose), 0.25);
}

TEST(FindNeutral, ByAFitAverageFramesAreNotBlurred) {
  Take take = EmptyTake();
  for (int f = 0; f < 60; ++f) Film(take, PlainFace(), Wandering(5 * f));
  const mien::RigidHead rigid = LearnRigidHead(take, ByItsHeadMarkers()).value();
  EXPECT_LT(WorstError(FindNeutral(take, ByItsHeadMarkers(), FrameRange{1, 60}, &rigid).pose), kRounding);
}

// The lids open a tenth of a millimetre further in every frame, and from the middle on the performer talks.
// At rest the eyes are as they are while the mouth is shut; by themselves as they are in all frames with the
// eyes as open as usual, 30 to 80.
TEST(FindNeutral, ByAFitTheEyesHaveANeutralOfTheirOwn) {
  Take take = EmptyTake();
  for (int f = 0; f < 101; ++f) {
    NeutralPose face = PlainFace();
    Shift(face, {"LidUpL", "LidUpR"}, 0.1 * f);
    if (f > 50) OpenMouth(face, 1);
    Shift(face, {"BrowL"}, 0.1 * f);
    Film(take, face, Wandering(f));
  }
  const auto height = [](const Neutral& neutral, const std::string& name) { // over the head markers
    RigidMotion::Markers reference, now;
    for (std::size_t slot = 0; slot < RigidMotion::kSlots; ++slot) {
      const std::string marker = "H" + std::to_string(slot + 1);
      reference[slot] = PlainFace().at(marker), now[slot] = neutral.pose.at(marker);
    }
    const VgeAMatrix head = RigidMotion(reference).Solve(now).value();
    return Carried(mien::InverseOfOrthogonalAxes(head), neutral.pose.at(name)).y;
  };
  const Neutral common = Found(take), own = FoundByFit(take, ByItsHeadMarkers());
  EXPECT_EQ(own.frames, common.frames) << "30 to 50";
  EXPECT_NEAR(height(common, "LidUpL"), 52 + 0.1 * 40, 1e-3);
  EXPECT_NEAR(height(own, "LidUpL"), 52 + 0.1 * 55, 1e-3);
  EXPECT_NEAR(height(own, "LidUpR"), 52 + 0.1 * 55, 1e-3);
  EXPECT_NEAR(height(own, "BrowL"), 59 + 0.1 * 40, 1e-3) << "other parts keep the common one";
}

// While the performer talks, the tracker shifts the left eye with its corners by 2 mm: in more than half of
// the frames with the eyes at ease. Against its corners the eye is where it was.
TEST(FindNeutral, ByAFitTheEyesNeutralIsMeasuredAgainstTheirAnchors) {
  Performer performer = tests::RigidPerformer();
  performer.anchors[mien::kLeftEye] = {"EyeInL", "EyeOutL"};
  Take take = tests::EmptyRigidTake();
  for (int f = 0; f < 100; ++f) {
    NeutralPose face = tests::RigidFace();
    const bool talks = f % 5 >= 2;
    if (talks) OpenMouth(face, 1);
    if (talks) Shift(face, {"EyeInL", "EyeOutL", "LidUpL", "LidLowL"}, 2);
    Film(take, face, Wandering(f));
  }
  const NeutralPose pose = FoundByFit(take, performer).pose;
  const auto gap = [](const NeutralPose& of, const char* a, const char* b) {
    return Distance(of.at(a), of.at(b));
  };
  for (const char* lid : {"LidUpL", "LidLowL", "LidUpR"})
    for (const char* other : {"EyeInL", "EyeOutL", "Root", "EyeInR"})
      EXPECT_NEAR(gap(pose, lid, other), gap(tests::RigidFace(), lid, other), 0.05) << lid << ' ' << other;
  performer.anchors[mien::kLeftEye] = {"TempleR", "H1"}; // which know nothing of it
  const NeutralPose shifted = FoundByFit(take, performer).pose;
  EXPECT_GT(gap(shifted, "LidUpL", "EyeInL") - gap(tests::RigidFace(), "LidUpL", "EyeInL"), 0.5);
}

TEST(FindNeutral, ThreeHeadMarkersDetermineTheHeadsMotion) {
  Take take = EmptyTake();
  for (int f = 0; f < 60; ++f) Film(take, PlainFace(), Wandering(5 * f));
  Performer performer = PlainPerformer();
  performer.head = {"H1", "H2", "H3"};
  for (std::size_t f = 0; f < 60; ++f) Hide(take, f, {"H4", "H5"});
  EXPECT_LT(WorstError(FindNeutral(take, performer, FrameRange{1, 60}).pose, 2), kRounding);
}

// The steps that the header describes, done here one by one. Each round with the median gives other
// positions, so that one round more or less would be detected.
TEST(FindNeutral, TheHeadIsFoundByTheFullestFrameAndThenTwiceByTheMedian) {
  Take take = EmptyTake();
  tests::Random random(6);
  for (int f = 0; f < 25; ++f) {
    NeutralPose face = PlainFace();
    for (auto& [name, p] : face)
      p.x += random.Between(-2, 2), p.y += random.Between(-2, 2), p.z += random.Between(-2, 2);
    const std::size_t frame = Film(take, face, Wandering(7 * f));
    if (f != 8 && f != 13) Hide(take, frame, {"H" + std::to_string(f % 5 + 1)});
  }
  const std::vector<std::string> names = PlainPerformer().Markers();
  const auto head_of = [&](std::size_t f) {
    RigidMotion::Markers markers;
    for (std::size_t slot = 0; slot < 5; ++slot)
      if (const Point* p = take.At(f, take.FindMarker(names[slot]).value())) markers[slot] = *p;
    return markers;
  };
  const auto place_of = [&](const RigidMotion::Markers& reference, const std::string& name, bool median) {
    RigidMotion motion(reference);
    std::vector<double> axis[3];
    for (std::size_t f = 0; f < take.FrameCount(); ++f) {
      const auto head = motion.Solve(head_of(f));
      const Point* const p = take.At(f, take.FindMarker(name).value());
      if (!head || !p) continue;
      const Point q = Carried(mien::InverseOfOrthogonalAxes(*head), *p);
      axis[0].push_back(q.x), axis[1].push_back(q.y), axis[2].push_back(q.z);
    }
    const auto middle = [&](std::vector<double> values) {
      std::sort(values.begin(), values.end());
      const std::size_t half = values.size() / 2;
      if (median) return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
      return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    };
    return Point{middle(axis[0]), middle(axis[1]), middle(axis[2])};
  };
  const NeutralPose found = FindNeutral(take, PlainPerformer(), FrameRange{1, 25}).pose;
  RigidMotion::Markers reference = head_of(8); // the first frame with all five
  for (int rounds = 0; rounds < 4; ++rounds) {
    double off = 0;
    for (const std::string& name : names)
      off = std::max(off, Distance(found.at(name), place_of(reference, name, false)));
    if (rounds == 2)
      EXPECT_LT(off, kRounding);
    else
      EXPECT_GT(off, 1e-4) << rounds;
    RigidMotion::Markers next;
    for (std::size_t slot = 0; slot < 5; ++slot) next[slot] = place_of(reference, names[slot], true);
    reference = next;
  }
}

// The frame with which the search starts has a head marker displaced by 5 mm, and all others hide one in
// turn.
TEST(FindNeutral, ABadFirstReferenceIsCorrected) {
  Take take = EmptyTake();
  NeutralPose bad = PlainFace();
  bad["H1"].x += 5;
  Film(take, bad);
  for (int f = 0; f < 100; ++f)
    Hide(take, Film(take, PlainFace(), Wandering(4 * f)), {"H" + std::to_string(f % 5 + 1)});
  // The bad frame alone would blur the face by 0.6 mm; one round with the median leaves 0.13, two 0.05.
  EXPECT_LT(WorstError(Found(take).pose), 0.1);
}

TEST(FindNeutral, AFaceWithoutADirectionIsAnError) {
  Performer performer = PlainPerformer();
  for (std::size_t p = 1; p < 9; ++p) performer.holders[p] = {};
  EXPECT_THAT(InputErrorOf([&] { Found(Performance(0), performer); }), HasSubstr("plain.json:/parts"));
}

TEST(FindNeutral, MarkersThatAreAllInOnePlaceAreAnError) {
  Take take = EmptyTake();
  take.file = "t.csv";
  NeutralPose face = PlainFace();
  for (auto& [name, p] : face) p = {1, 2, 3};
  for (int f = 0; f < 3; ++f) Film(take, face);
  EXPECT_EQ(InputErrorOf([&] { Found(take); }),
            "t.csv: all markers are in one place in every frame; export the take again");
  EXPECT_EQ(ProblemOf([&] {
              FindNeutral(take, PlainPerformer(), FrameRange{1, 1});
            }),
            "unsolvable at no place");
}

// Sizes from 20 mm to two metres, along any axis, are usual. A single point has no size.
TEST(FindNeutral, ASizeBelowTwoCentimetresOrAboveTwoMetresIsUnusual) {
  const auto notes = [](const Point& p) {
    Performer performer = PlainPerformer();
    performer.neutral = NeutralPose{{"Chin", {100, 200, 300}}, {"LipUp", {100 + p.x, 200 + p.y, 300 + p.z}}};
    return FindNeutral(EmptyTake(), performer, std::nullopt).notes.size();
  };
  const auto along = [](std::size_t axis, double mm) {
    return Point{axis == 0 ? mm : 1, axis == 1 ? mm : -2, axis == 2 ? mm : 3};
  };
  for (const std::size_t axis : {0u, 1u, 2u}) {
    for (const double mm : {20.0, 20.5, 1999.5, 2000.0})
      EXPECT_EQ(notes(along(axis, mm)), 0u) << axis << ' ' << mm;
    for (const double mm : {-19.5, 19.5, 2000.5, -2000.5})
      EXPECT_EQ(notes(along(axis, mm)), 1u) << axis << ' ' << mm;
  }
  EXPECT_EQ(notes({0, 0, 0}), 0u);
}

// The solve is the same in any unit, except for limits and results in millimetres.
TEST(FindNeutral, AFaceOfUnusualSizeIsReported) {
  for (const auto& [scale, told] :
       {std::pair(1.0, false), {0.001, true}, {0.12, false}, {0.05, true}, {7.0, false}, {12.0, true}}) {
    Take take = EmptyTake();
    NeutralPose face = PlainFace();
    for (auto& [name, p] : face) p = {p.x * scale, p.y * scale, p.z * scale};
    for (int f = 0; f < 10; ++f) Film(take, face);
    bool reported = false;
    for (const mien::Note& note : Found(take).notes)
      reported = reported || note.what.find("the take is probably in another unit") != std::string::npos;
    EXPECT_EQ(reported, told) << scale;
  }
}
