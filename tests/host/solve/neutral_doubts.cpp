#include "host/solve/neutral_doubts.h"

#include "host/base/face_parts.h"
#include "host/solve/face_solver.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using mien::BrowMethod;
using mien::Neutral;
using mien::NeutralDoubt;
using mien::NeutralDoubts;
using mien::NeutralPose;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::Carried;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

constexpr double kRounding = 1e-8; // as weights are known; see the tests of FaceSolver

std::vector<NeutralDoubt> Doubts(const NeutralPose& pose, const NeutralPose& stricter,
                                 BrowMethod brows = BrowMethod::Fit) {
  Neutral neutral;
  neutral.pose = pose, neutral.stricter = stricter;
  return NeutralDoubts(PlainPerformer(), neutral, brows);
}

std::vector<std::string> Names(const std::vector<NeutralDoubt>& doubts) {
  std::vector<std::string> names;
  for (const NeutralDoubt& doubt : doubts) names.push_back(doubt.name);
  return names;
}

double WeightOf(const std::string& name, const NeutralPose& face, const NeutralPose& neutral) {
  mien::FaceSolver solver(PlainPerformer(), neutral);
  std::vector<mien::Point> places;
  const VgeAMatrix to_head = mien::InverseOfOrthogonalAxes(solver.NeutralHead());
  for (const std::string& marker : solver.Markers()) places.push_back(Carried(to_head, face.at(marker)));
  const auto frame = solver.Solve(places);
  for (const mien::TemplateColumn& column : mien::TemplateColumns())
    if (column.name == name) return frame.weights.mParts[column.part].mWeights[column.slot];
  return -1;
}

NeutralPose OpenMouth(double mm) {
  NeutralPose face = PlainFace();
  face["Chin"].y -= mm, face["LipLow"].y -= mm;
  return face;
}

} // namespace

TEST(NeutralDoubts, WithoutAStricterPoseThereAreNone) { EXPECT_THAT(Doubts(OpenMouth(20), {}), IsEmpty()); }

TEST(NeutralDoubts, PosesThatAreTheSameLeaveNone) {
  tests::Random random(1);
  const NeutralPose pose = Carried(tests::AnyMotion(random), PlainFace());
  EXPECT_THAT(Doubts(pose, pose), IsEmpty());
}

// On the closed mouth the other is open; on the open mouth the other is at rest, for there is nothing beyond
// closed.
TEST(NeutralDoubts, ATemplateThatOnePoseShowsOnTheOtherIsInDoubt) {
  const NeutralPose open = OpenMouth(8), closed = PlainFace();
  const double there = WeightOf("Mouth.Open", open, closed);
  EXPECT_GT(there, 0.1);
  for (const auto& doubts : {Doubts(open, closed), Doubts(closed, open)}) { // whichever is the stricter
    ASSERT_FALSE(doubts.empty());
    const auto mouth =
        std::find_if(doubts.begin(), doubts.end(), [](const auto& d) { return d.name == "Mouth.Open"; });
    ASSERT_NE(mouth, doubts.end());
    EXPECT_NEAR(mouth->difference, there, kRounding);
  }
}

TEST(NeutralDoubts, ATenthOfAWeightIsNone) {
  NeutralPose lid = PlainFace();
  for (double mm = 0.1; mm < 3; mm += 0.1) {
    lid["LidUpL"].y = PlainFace()["LidUpL"].y - mm;
    const double there = WeightOf("LeftEye.Close", lid, PlainFace()),
                 back = WeightOf("LeftEye.WideOpen", PlainFace(), lid);
    std::vector<std::string> expected;
    if (there > 0.1) expected.push_back("LeftEye.Close");
    if (back > 0.1) expected.push_back("LeftEye.WideOpen");
    EXPECT_THAT(Names(Doubts(lid, PlainFace())), testing::UnorderedElementsAreArray(expected)) << mm;
  }
}

TEST(NeutralDoubts, TheLargestComesFirst) {
  NeutralPose face = OpenMouth(15);
  face["LidUpR"].y -= 3, face["NoseL"].y += 1;
  const auto doubts = Doubts(face, PlainFace());
  ASSERT_GE(doubts.size(), 3u);
  for (std::size_t i = 1; i < doubts.size(); ++i) EXPECT_GE(doubts[i - 1].difference, doubts[i].difference);
}

TEST(NeutralDoubts, BrowsAreMeasuredAsTheyAreSolved) {
  NeutralPose raised = PlainFace();
  for (const char* name : {"BrowL", "BrowOutL", "BrowInL"}) raised[name].y += 3;
  EXPECT_THAT(Names(Doubts(PlainFace(), raised)),
              testing::UnorderedElementsAre("LeftBrow.Up", "LeftBrow.Down"));
  const auto core = Doubts(PlainFace(), raised, BrowMethod::Core), fit = Doubts(PlainFace(), raised);
  EXPECT_NE(core[0].difference, fit[0].difference);
}

// Both poses may stand anywhere in the take, but in the same place.
TEST(NeutralDoubts, WhereThePosesStandMakesNoDifference) {
  tests::Random random(2);
  const auto here = Doubts(OpenMouth(8), PlainFace());
  const VgeAMatrix motion = tests::AnyMotion(random);
  const auto there = Doubts(Carried(motion, OpenMouth(8)), Carried(motion, PlainFace()));
  ASSERT_EQ(Names(there), Names(here));
  for (std::size_t i = 0; i < here.size(); ++i)
    EXPECT_NEAR(there[i].difference, here[i].difference, kRounding);
}

TEST(NeutralDoubts, AMarkerThatThePoseLacksIsNoDoubt) {
  NeutralPose pose = PlainFace();
  pose.erase("CheekL");
  EXPECT_THAT(Doubts(pose, PlainFace()), IsEmpty());
  EXPECT_THAT(Doubts(PlainFace(), pose), IsEmpty());
}

TEST(NeutralDoubts, AFaceThatDoesNotTellWhereItLooksIsAnError) {
  mien::Performer performer = PlainPerformer();
  for (std::size_t p = 1; p < 9; ++p) performer.holders[p] = {};
  Neutral neutral;
  neutral.pose = PlainFace(), neutral.stricter = OpenMouth(8);
  EXPECT_THAT(InputErrorOf([&] { NeutralDoubts(performer, neutral, BrowMethod::Fit); }),
              testing::HasSubstr("plain.json:/parts"));
}
