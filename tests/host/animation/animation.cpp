#include "host/animation/animation.h"

#include "mien/face/face.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::AnimationLayout;
using mien::ClusterTransform;
using mien::TemplateColumn;
using mien::WeightKind;
using testing::ElementsAre;

namespace {

/// Frames 7 and 8 with all parts of an animation, each number 0 or 1.
Animation Full() {
  Animation animation;
  animation.frames = {7, 8};
  animation.times = {0, 1};
  animation.weights.resize(2 * animation.layout.templates.size());
  animation.heads.resize(2);
  animation.layout.shapes = {"jaw \"Open\"", "smile"};
  animation.shape_weights.resize(4);
  animation.layout.clusters = {{"jaw", "bone"}, {"jaw", "chin"}};
  animation.local_clusters.resize(4);
  animation.global_clusters.resize(4);
  return animation;
}

std::string NotFinite(const Animation& animation) {
  return InputErrorOf([&] { animation.CheckFinite("take.csv"); });
}

std::string NotFinite(const Animation& animation, std::size_t frame) {
  return InputErrorOf(
      [&] { CheckFinite(animation.layout, animation.Frame(frame), animation.times[0], "take.csv"); });
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

} // namespace

TEST(TemplateColumns, AreTheFacesTemplatesPartByPart) {
  std::vector<std::string> names;
  for (const TemplateColumn& column : mien::TemplateColumns()) names.push_back(column.name);
  EXPECT_THAT(names, ElementsAre("Mouth.Open", "Mouth.Whistle", "Mouth.CornersUpR", "Mouth.CornersUpL",
                                 "Mouth.CornersDownR", "Mouth.CornersDownL", "Mouth.Square", "LeftBrow.Up",
                                 "LeftBrow.Down", "RightBrow.Up", "RightBrow.Down", "LeftEye.Close",
                                 "LeftEye.Squint", "LeftEye.WideOpen", "RightEye.Close", "RightEye.Squint",
                                 "RightEye.WideOpen", "LeftCheek.Up", "LeftCheek.Out", "RightCheek.Up",
                                 "RightCheek.Out", "LeftNostril.Up", "RightNostril.Up"));
}

TEST(TemplateColumns, PointAtTheTemplateThatTheyName) {
  std::set<std::pair<int, int>> places;
  for (const auto& [part, slot, name] : mien::TemplateColumns()) {
    const VFacePart& face_part = GetGlobalFace()->mParts[part];
    EXPECT_EQ(std::string(face_part.mName) + "." + face_part.mTemplates[slot]->GetName(), name);
    places.emplace(part, slot);
  }
  EXPECT_EQ(places.size(), mien::TemplateColumns().size());
}

TEST(Animation, WeightsGoFrameByFrame) {
  Animation animation;
  EXPECT_TRUE(animation.frames.empty());
  EXPECT_EQ(animation.layout.templates.size(), 23u);
  for (int i = 0; i < 46; ++i) animation.weights.push_back(i);
  EXPECT_EQ(animation.Weight(0, 0), 0);
  EXPECT_EQ(animation.Weight(0, 22), 22);
  EXPECT_EQ(animation.Weight(1, 0), 23);
  EXPECT_EQ(animation.Weight(1, 22), 45);
}

TEST(Animation, ShapeWeightsGoFrameByFrame) {
  Animation animation;
  animation.layout.shapes = {"a", "b", "c"};
  animation.shape_weights = {0, 1, 2, 3, 4, 5};
  EXPECT_EQ(animation.ShapeWeight(0, 2), 2);
  EXPECT_EQ(animation.ShapeWeight(1, 0), 3);
  EXPECT_EQ(animation.ShapeWeight(1, 2), 5);
}

TEST(Animation, AFrameIsAViewOfItsNumbers) {
  Animation animation = Full();
  for (std::size_t i = 0; i < animation.weights.size(); ++i) animation.weights[i] = static_cast<double>(i);
  animation.shape_weights = {0.1, 0.2, 0.3, 0.4};
  animation.heads[1].m[3][0] = 5;
  animation.local_clusters[3].translation.x = 6;
  animation.global_clusters[2].translation.x = 7;
  const mien::AnimationFrame frame = animation.Frame(1);
  EXPECT_EQ(frame.number, 8);
  EXPECT_EQ(frame.time, 1);
  EXPECT_EQ(frame.head, animation.heads[1]);
  EXPECT_EQ(frame.weights.size(), 23u);
  EXPECT_EQ(frame.weights.data(), &animation.weights[23]) << "not a copy";
  EXPECT_THAT(frame.shape_weights, ElementsAre(0.3, 0.4));
  ASSERT_EQ(frame.local_clusters.size(), 2u);
  EXPECT_EQ(frame.local_clusters[1].translation.x, 6);
  ASSERT_EQ(frame.global_clusters.size(), 2u);
  EXPECT_EQ(frame.global_clusters[0].translation.x, 7);
  EXPECT_EQ(frame.WeightsOf(WeightKind::Templates).data(), frame.weights.data());
  EXPECT_EQ(frame.WeightsOf(WeightKind::Shapes).data(), frame.shape_weights.data());
}

TEST(AnimationLayout, NamesTheWeightsOfEachKind) {
  AnimationLayout layout;
  layout.templates.resize(2);
  layout.shapes = {"a", "b", "c"};
  EXPECT_THAT(layout.WeightNames(WeightKind::Templates), ElementsAre("Mouth.Open", "Mouth.Whistle"));
  EXPECT_THAT(layout.WeightNames(WeightKind::Shapes), ElementsAre("a", "b", "c"));
}

// --- The head.

TEST(Animation, AHeadAtRestHasNotMoved) {
  tests::Random random(3);
  for (int i = 0; i < 50; ++i) {
    Animation animation;
    animation.layout.neutral_head = tests::AnyMotion(random);
    animation.heads = {animation.layout.neutral_head};
    EXPECT_LT(tests::Difference(animation.HeadMotion(0), {}), 1e-12) << "metres away, in millimetres";
  }
}

// In the take, the neutral head looks along x, one metre above the origin; only its own axes count.
TEST(Animation, TheHeadsMotionIsInTheAxesOfTheNeutralFace) {
  Animation animation;
  animation.layout.neutral_head =
      tests::Motion(VgeRVector(0, 90, 0), {0, 1000, 0}); // its z, the front, is the take's x
  const auto moved = [&](const VgeRVector& degrees_in_face, const mien::Point& in_face) {
    animation.heads = {mien::Product(animation.layout.neutral_head, tests::Motion(degrees_in_face, in_face))};
    return animation.HeadMotion(0);
  };
  EXPECT_LT(tests::Difference(moved(VgeRVector(10, 20, 30), {1, 2, 3}),
                              tests::Motion(VgeRVector(10, 20, 30), {1, 2, 3})),
            1e-12); // a metre away, in millimetres
  // In the take's own axes: 5 mm along x is forward.
  animation.heads = {mien::Product(tests::Motion(VgeRVector(), {5, 0, 0}), animation.layout.neutral_head)};
  const VgeAMatrix forward = animation.HeadMotion(0);
  EXPECT_NEAR(forward.m[3][0], 0, 1e-12);
  EXPECT_NEAR(forward.m[3][2], 5, 1e-12);
}

TEST(Animation, EachFrameHasItsOwnHead) {
  Animation animation;
  animation.heads = {tests::Motion(VgeRVector(), {1, 0, 0}), tests::Motion(VgeRVector(), {0, 2, 0})};
  EXPECT_EQ(animation.HeadMotion(0).m[3][0], 1);
  EXPECT_EQ(animation.HeadMotion(1).m[3][1], 2);
}

// --- Numbers that are not finite.

TEST(Animation, FiniteNumbersAreAccepted) {
  EXPECT_EQ(NotFinite(Animation()), "no InputError");
  EXPECT_EQ(NotFinite(Full()), "no InputError");
  Animation animation = Full();
  animation.weights[3] = 3.4e38; // the largest numbers of single precision are 3.40282e38
  animation.shape_weights[1] = -3.4e38;
  animation.local_clusters[2].translation.y = 1e-300; // becomes 0, which is close enough
  EXPECT_EQ(NotFinite(animation), "no InputError");
}

TEST(Animation, ANumberThatIsNotFiniteIsReportedWithItsFrameAndName) {
  const std::string fix = "; check the unit of the take's positions, and the character's weights";
  for (const auto& [value, text] :
       {std::pair(kNaN, "nan"), std::pair(kInfinity, "inf"), std::pair(-kInfinity, "-inf"),
        std::pair(3.5e38, "3.5e+38"), std::pair(-1e300, "-1e+300")}) {
    Animation animation = Full();
    animation.weights[animation.layout.templates.size()] = value;
    EXPECT_EQ(NotFinite(animation),
              "take.csv:frame 8: the result for Mouth.Open is " + std::string(text) + fix);
    animation = Full();
    animation.shape_weights[0] = value;
    EXPECT_EQ(NotFinite(animation),
              "take.csv:frame 7: the result for \"jaw \"Open\"\" is " + std::string(text) + fix);
    animation = Full();
    animation.global_clusters[3].translation.z = value;
    EXPECT_EQ(NotFinite(animation),
              "take.csv:frame 8: the result for \"chin\" is " + std::string(text) + fix);
  }
}

TEST(Animation, EveryNumberOfAClusterIsChecked) {
  for (auto clusters : {&Animation::local_clusters, &Animation::global_clusters})
    for (int number = 0; number < 15; ++number) {
      Animation animation = Full();
      ClusterTransform& cluster = (animation.*clusters)[1];
      double* const numbers[] = {&cluster.translation.x, &cluster.translation.y, &cluster.translation.z,
                                 &cluster.scale.x,       &cluster.scale.y,       &cluster.scale.z};
      (number < 6 ? *numbers[number] : cluster.rotation.m[(number - 6) / 3][(number - 6) % 3]) = kNaN;
      EXPECT_THAT(NotFinite(animation),
                  testing::StartsWith("take.csv:frame 7: the result for \"chin\" is nan"))
          << number;
    }
}

TEST(Animation, EveryNumberOfTheHeadIsChecked) {
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) {
      Animation animation = Full();
      animation.heads[1].m[column][row] = kInfinity;
      EXPECT_THAT(NotFinite(animation), testing::HasSubstr("take.csv:frame 8: the result for "))
          << column << row;
      EXPECT_THAT(NotFinite(animation), testing::HasSubstr("the result for the head is ")) << column << row;
    }
}

TEST(Animation, AFrameTooFarFromTheFirstIsReportedWithItsTime) {
  Animation animation = Full();
  animation.times = {-1e30, 3.5e38};
  EXPECT_EQ(NotFinite(animation), "take.csv:frame 8: its time is 3.5e+38 s; check the times");
  animation.times = {3.5e38, 3.5e38};
  EXPECT_EQ(NotFinite(animation), "no InputError") << "only the time since the first frame counts";
}

// One frame at a time, without the others.
TEST(Animation, EachFrameCanBeCheckedSeparately) {
  Animation animation = Full();
  animation.weights[animation.layout.templates.size() + 1] = kNaN;
  EXPECT_EQ(NotFinite(animation, 0), "no InputError");
  EXPECT_EQ(NotFinite(animation, 1), NotFinite(animation));
  EXPECT_THAT(NotFinite(animation),
              testing::StartsWith("take.csv:frame 8: the result for Mouth.Whistle is nan"));
}
