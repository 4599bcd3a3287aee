#include "host/guess/guess_performer.h"

#include "tests/host/guess/speaking_face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <map>
#include <numeric>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

using mien::Code;
using mien::GuessPerformer;
using mien::Performer;
using mien::PerformerGuess;
using mien::Point;
using mien::Take;
using mien::UnusedMarker;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;
using tests::AllBut;
using tests::SpeakingPerformer;
using tests::SpeakingTake;

namespace mien {

void PrintTo(const UnusedMarker& unused, std::ostream* out) { *out << unused.marker << ": " << unused.why; }

} // namespace mien

namespace {

/// The take with its markers shuffled, renamed "*1", "*2", ... and moved to anywhere; and what each was
/// called.
std::pair<Take, std::map<std::string, std::string>> Disguised(const Take& take, std::uint64_t seed) {
  tests::Random random(seed);
  std::vector<std::size_t> order(take.MarkerCount());
  std::iota(order.begin(), order.end(), std::size_t{0});
  for (std::size_t i = order.size(); i > 1; --i)
    std::swap(order[i - 1], order[static_cast<std::size_t>(random.Between(0, static_cast<double>(i)))]);
  std::vector<std::string> names;
  std::map<std::string, std::string> real;
  for (std::size_t i = 0; i < order.size(); ++i) {
    names.push_back("*" + std::to_string(i + 1));
    real[names.back()] = take.markers[order[i]];
  }
  return {tests::Changed(take, tests::AnyMotion(random), order, names), real};
}

Performer Renamed(Performer performer, const std::map<std::string, std::string>& real) {
  const auto rename = [&](std::vector<std::string>& names) {
    for (std::string& name : names) name = real.at(name);
  };
  rename(performer.head);
  for (auto& part : performer.holders)
    for (auto& holder : part) rename(holder);
  return performer;
}

void ExpectSpeakingPerformer(const Performer& performer) {
  EXPECT_THAT(performer.head, UnorderedElementsAreArray(SpeakingPerformer().head));
  EXPECT_EQ(performer.holders, SpeakingPerformer().holders);
}

auto IsUnused(const std::string& marker, const std::string& why) {
  return AllOf(Field(&UnusedMarker::marker, marker), Field(&UnusedMarker::why, HasSubstr(why)));
}

} // namespace

TEST(GuessPerformer, FindsEveryMarkerOfAFace) {
  const PerformerGuess guess = GuessPerformer(SpeakingTake());
  ExpectSpeakingPerformer(guess.performer);
  EXPECT_EQ(guess.performer.name, "take");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(guess.performer.neutral));
  EXPECT_EQ(guess.pairs.size(), 12U);
  EXPECT_THAT(guess.pairs, IsSupersetOf({Pair("LidUpL", "LidUpR"), Pair("ChinL", "ChinR")}));
  EXPECT_THAT(guess.unused,
              ElementsAre(IsUnused("NoseRoot", "drives no part"), IsUnused("NoseTip", "drives no part")));
  EXPECT_THAT(guess.doubts, IsEmpty());
}

TEST(GuessPerformer, NamesOrderAndAxesMakeNoDifference) {
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    const auto [take, real] = Disguised(SpeakingTake(), seed);
    const PerformerGuess guess = GuessPerformer(take);
    ExpectSpeakingPerformer(Renamed(guess.performer, real));
    EXPECT_THAT(guess.doubts, IsEmpty());
  }
}

TEST(GuessPerformer, AFaceOfAnotherSizeIsTheSame) {
  for (const double size : {0.8, 1.2}) {
    SCOPED_TRACE(size);
    Take take = SpeakingTake();
    for (std::size_t f = 0; f < take.FrameCount(); ++f)
      for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
        const Point p = *take.At(f, m);
        take.Set(f, m, {size * p.x, size * p.y, size * p.z});
      }
    ExpectSpeakingPerformer(GuessPerformer(take).performer);
  }
}

TEST(GuessPerformer, AThirdOfTheMarkersInGapsMakesNoDifference) {
  Take take = SpeakingTake();
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if ((f / 10 + m) % 3 == 0) take.Clear(f, m);
  const PerformerGuess guess = GuessPerformer(take);
  ExpectSpeakingPerformer(guess.performer);
  EXPECT_THAT(guess.doubts, IsEmpty());
}

TEST(GuessPerformer, AMillimetreOfNoiseMakesNoDifference) {
  EXPECT_EQ(GuessPerformer(SpeakingTake({}, 1)).performer.holders, SpeakingPerformer().holders);
}

TEST(GuessPerformer, AMouthThatIsMostlyOpenIsComparedWhileItIsShut) {
  Take take(AllBut({"ChinL", "ChinMid", "ChinR"}));
  for (std::size_t f = 0; f < 150; ++f) {
    mien::NeutralPose face = tests::SpeakingFace(f);
    for (const char* lip : {"LipLowL", "LipLowMid", "LipLowR"})
      face[lip].y = tests::RestingFace().at(lip).y - (f % 10 < 7 ? 16 : 0);
    tests::Film(take, face, tests::SpeakingHead(f));
  }
  const Performer performer = GuessPerformer(take).performer;
  const auto& mouth = performer.holders[0];
  EXPECT_THAT(mouth[2], ElementsAre("LipLowL", "LipLowMid", "LipLowR"));
  EXPECT_THAT(mouth[4], IsEmpty());
}

TEST(GuessPerformer, AMarkerThatIsOftenHiddenIsUsedAndDoubted) {
  Take take = SpeakingTake();
  for (std::size_t f = 0; f < 90; ++f) take.Clear(f, *take.FindMarker("CheekUpL"));
  const PerformerGuess guess = GuessPerformer(take);
  ExpectSpeakingPerformer(guess.performer);
  EXPECT_THAT(guess.doubts, ElementsAre(IsNote(Code::Doubtful, "CheekUpL", "visible in 40 % of the frames")));
}

TEST(GuessPerformer, FragmentsCopiesAndTheBodyAreUnused) {
  const Take face = SpeakingTake();
  const std::vector<std::string> more = {"*9", "LipUpMid copy", "Shoulder", "Chest", "Elbow"};
  Take take = tests::With(face, more, [&](std::size_t f, std::size_t i) -> Point {
    const Point lip = *face.At(f, *face.FindMarker("LipUpMid"));
    if (i == 0) return {lip.x + 30, lip.y + 30, lip.z};
    if (i == 1) return {lip.x + 0.05, lip.y, lip.z};
    const auto sway = 40 * std::sin(0.05 * static_cast<double>(f));
    return {300 + 60 * static_cast<double>(i) + sway, 1200 - 40 * static_cast<double>(i), -100 + sway};
  });
  for (std::size_t f = 10; f < take.FrameCount(); ++f) take.Clear(f, *take.FindMarker("*9"));
  const PerformerGuess guess = GuessPerformer(take);
  ExpectSpeakingPerformer(guess.performer);
  EXPECT_THAT(
      guess.unused,
      UnorderedElementsAre(IsUnused("*9", "visible in 7 % of the frames"),
                           IsUnused("LipUpMid copy", "in the same place as \"LipUpMid\""),
                           IsUnused("Shoulder", "not near the face"), IsUnused("Chest", "not near the face"),
                           IsUnused("Elbow", "not near the face"), IsUnused("NoseRoot", "drives no part"),
                           IsUnused("NoseTip", "drives no part")));
}

TEST(GuessPerformer, ASecondGroupThatIsNotAFaceIsLeftAlone) {
  // A grid of markers, more than there are on the face.
  std::vector<std::string> grid;
  for (int i = 0; i < 60; ++i) grid.push_back("grid" + std::to_string(i));
  const Take take = tests::With(SpeakingTake(), grid, [](std::size_t, std::size_t i) -> Point {
    return {900 + 30.0 * static_cast<double>(i % 10), 30.0 * static_cast<double>(i / 10),
            7.0 * static_cast<double>(i % 3)};
  });
  ExpectSpeakingPerformer(GuessPerformer(take).performer);
}

TEST(GuessPerformer, NamesOfTheOtherSideAreDoubted) {
  Take mirrored = SpeakingTake();
  for (std::size_t f = 0; f < mirrored.FrameCount(); ++f)
    for (std::size_t m = 0; m < mirrored.MarkerCount(); ++m) {
      const Point p = *mirrored.At(f, m);
      mirrored.Set(f, m, {-p.x, p.y, p.z});
    }
  const PerformerGuess guess = GuessPerformer(mirrored);
  EXPECT_THAT(guess.performer.holders[0][0], ElementsAre("CornerR")) << "the markers' places decide";
  EXPECT_THAT(guess.doubts, ElementsAre(IsNote(Code::Doubtful, "", "12 pairs named right on the left side")));
}

TEST(GuessPerformer, AMarkerWithoutCounterpartIsDoubted) {
  const PerformerGuess guess = GuessPerformer(SpeakingTake(AllBut({"CheekUpR"})));
  EXPECT_THAT(guess.performer.holders[5][0], ElementsAre("CheekUpL", "CheekLowL"));
  EXPECT_THAT(guess.performer.holders[6][0], ElementsAre("CheekLowR"));
  EXPECT_THAT(guess.doubts, ElementsAre(IsNote(Code::Doubtful, "CheekUpL", "has no counterpart")));
}

TEST(GuessPerformer, PartsWithoutMarkersAreDoubted) {
  const PerformerGuess guess =
      GuessPerformer(SpeakingTake(AllBut({"LidUpL", "LidUpR", "LidLowL", "LidLowR"})));
  EXPECT_THAT(guess.performer.holders[3], Each(IsEmpty()));
  EXPECT_THAT(guess.doubts, ElementsAre(IsNote(Code::Doubtful, "", "no markers on LeftEye, RightEye")));
}

TEST(GuessPerformer, AFaceWithoutRigidMarkersHasNoHeadAndADoubt) {
  const PerformerGuess guess =
      GuessPerformer(SpeakingTake(AllBut({"Cap1", "Cap2", "Cap3", "Cap4", "Cap5", "NoseRoot", "NoseTip"})));
  EXPECT_THAT(guess.performer.head, IsEmpty());
  EXPECT_EQ(guess.performer.holders, SpeakingPerformer().holders);
  EXPECT_THAT(guess.doubts,
              ElementsAre(IsNote(Code::Doubtful, "", "no three markers that move with the skull alone")));
}

TEST(GuessPerformer, ASlidingCapMarkerIsNotInTheHead) {
  Take take = SpeakingTake();
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    const std::size_t cap = *take.FindMarker("Cap4");
    const Point p = *take.At(f, cap);
    take.Set(f, cap, {p.x + 5 * std::sin(0.1 * static_cast<double>(f)), p.y, p.z});
  }
  const PerformerGuess guess = GuessPerformer(take);
  EXPECT_THAT(guess.performer.head, Not(Contains("Cap4")));
  EXPECT_THAT(guess.performer.head, IsSupersetOf({"Cap1", "Cap2", "Cap3", "Cap5"}));
}

TEST(GuessPerformer, AStillFaceIsDoubted) {
  Take take(SpeakingTake().markers);
  for (std::size_t f = 0; f < 40; ++f) tests::Film(take, tests::RestingFace(), tests::SpeakingHead(f));
  const PerformerGuess guess = GuessPerformer(take);
  EXPECT_EQ(guess.performer.holders, SpeakingPerformer().holders);
  EXPECT_THAT(guess.doubts, ElementsAre(IsNote(Code::Doubtful, "", "the face hardly moves in this take")));
}

TEST(GuessPerformer, APairThatMovesAgainstEachOtherIsDoubted) {
  Take take(SpeakingTake().markers);
  for (std::size_t f = 0; f < 150; ++f) {
    mien::NeutralPose face = tests::SpeakingFace(f);
    const mien::NeutralPose rest = tests::RestingFace();
    face["CornerR"].y = 2 * rest.at("CornerR").y - face["CornerR"].y;
    tests::Film(take, face, tests::SpeakingHead(f));
  }
  EXPECT_THAT(GuessPerformer(take).doubts,
              ElementsAre(IsNote(Code::Doubtful, "CornerL, CornerR", "move against each other (r = -")));
}

TEST(GuessPerformer, AChinThatMovesAgainstTheLowerLipIsDoubted) {
  Take take(SpeakingTake().markers);
  for (std::size_t f = 0; f < 150; ++f) {
    mien::NeutralPose face = tests::SpeakingFace(f);
    const mien::NeutralPose rest = tests::RestingFace();
    for (const char* chin : {"ChinL", "ChinMid", "ChinR"})
      face[chin].y = rest.at(chin).y - 0.3 * (face[chin].y - rest.at(chin).y);
    tests::Film(take, face, tests::SpeakingHead(f));
  }
  EXPECT_THAT(GuessPerformer(take).doubts, ElementsAre(IsNote(Code::Doubtful, "LipLowL, ChinL",
                                                              "lower lip and chin move against each other")));
}

TEST(GuessPerformer, ATakeWithoutAFaceIsRefused) {
  const auto refusal = [](const Take& take) { return InputErrorOf([&] { GuessPerformer(take); }); };
  EXPECT_THAT(refusal(Take({"a", "b"})), HasSubstr("no marker is visible in any frame"));
  EXPECT_THAT(refusal(SpeakingTake({"Cap1", "Cap2", "Cap3", "Cap4", "Cap5"})),
              HasSubstr("a guess needs 10 to 225"));
  EXPECT_THAT(refusal(SpeakingTake({"CornerL", "CornerR", "LipUpMid", "LipLowMid", "ChinMid", "LidUpL",
                                    "LidUpR", "BrowMidL", "BrowMidR"})),
              HasSubstr("a guess needs 10 to 225"));
  EXPECT_THAT(ProblemOf([] { GuessPerformer(SpeakingTake({"Cap1"})); }), "unsolvable at no place");

  std::vector<std::string> right;
  for (const std::string& name : AllBut({}))
    if (name.back() == 'R' || name.find("Mid") != std::string::npos) right.push_back(name);
  EXPECT_THAT(refusal(SpeakingTake(right)), Not(HasSubstr("no InputError"))) << "half a face";

  Take metres = SpeakingTake();
  for (std::size_t f = 0; f < metres.FrameCount(); ++f)
    for (std::size_t m = 0; m < metres.MarkerCount(); ++m) {
      const Point p = *metres.At(f, m);
      metres.Set(f, m, {p.x / 100, p.y / 100, p.z / 100});
    }
  EXPECT_THAT(refusal(metres), HasSubstr("is the take in another unit?"));
}

TEST(GuessPerformer, CloudsOfMarkersThatAreNotAFaceAreRefused) {
  for (std::uint64_t seed = 1; seed <= 5; ++seed) {
    tests::Random random(seed);
    std::vector<std::string> names;
    std::vector<Point> places;
    for (int i = 0; i < 30; ++i) {
      names.push_back(std::to_string(i));
      places.push_back({random.Between(-70, 70), random.Between(-80, 80), random.Between(-30, 30)});
    }
    Take take(names);
    for (std::size_t f = 0; f < 20; ++f) {
      take.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f) / 30);
      for (std::size_t m = 0; m < places.size(); ++m) take.Set(f, m, places[m]);
    }
    EXPECT_THAT(InputErrorOf([&] { GuessPerformer(take); }), Not(HasSubstr("no InputError"))) << seed;
  }
}
