#include "host/solve/solve_character.h"

#include "host/character/character_file.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using mien::Animation;
using mien::Character;
using mien::CharacterSolver;
using mien::ExpressionWeights;
using mien::SolveCharacter;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Shapes before, between and behind those of the two parts with clusters.
Character Puppet() {
  return mien::ReadCharacter(R"({
    "format": "mien character 1", "name": "Puppet",
    "parts": {
      "face": { "shapes": ["smile", "frown"] },
      "jaw": { "shapes": ["drop"], "clusters": {
        "root": { "translation": [0, 0, 100], "rotation": [0, 0, 90], "scale": [2, 3, 4] },
        "rest": { "bone": { "translation": [1, 0, 0] }, "chin": {} },
        "poses": { "drop": { "chin": { "translation": [0, -10, 0], "scale": [1, 2, 1] } } } } },
      "none": { "shapes": [] },
      "lids": { "shapes": ["blink"], "clusters": {
        "rest": { "bone": {} }, "poses": { "blink": { "bone": { "rotation": [30, 0, 0] } } } } }
    },
    "templates": { "Mouth": { "Open": { "drop": 1 }, "CornersUpL": { "smile": 0.5 } },
                   "RightNostril": { "Up": { "frown": 2 } }, "LeftEye": { "Close": { "blink": 1 } } },
    "expressions": { "Wink": { "shapes": { "blink": 3 } } }
  })",
                             "puppet.json");
}

/// Three frames, of which every template weight is another number.
Animation ThreeFrames() {
  Animation animation;
  animation.layout.take = "take", animation.layout.performer = "Ada", animation.layout.rate = {30, 1};
  animation.frames = {1, 2, 9};
  animation.times = {0, 0.1, 0.2};
  animation.heads.resize(3);
  for (std::size_t i = 0; i < 3 * animation.layout.templates.size(); ++i)
    animation.weights.push_back(0.01 * static_cast<double>(i));
  return animation;
}

void ExpectSame(const mien::ClusterTransform& a, const VgeTVector& t, const VgeRMatrix& r,
                const VgeSVector& s) {
  EXPECT_EQ(a.translation, t);
  EXPECT_EQ(a.rotation, r);
  EXPECT_EQ(a.scale, s);
}

} // namespace

TEST(SolveCharacter, NamesCharacterShapesAndClusters) {
  Animation animation = ThreeFrames();
  SolveCharacter(animation, Puppet());
  EXPECT_EQ(animation.layout.character, "Puppet");
  EXPECT_THAT(animation.layout.shapes, ElementsAre("smile", "frown", "drop", "blink"));
  ASSERT_EQ(animation.layout.clusters.size(), 3u);
  EXPECT_EQ(animation.layout.clusters[0].part, "jaw");
  EXPECT_EQ(animation.layout.clusters[0].name, "bone");
  EXPECT_EQ(animation.layout.clusters[1].part, "jaw");
  EXPECT_EQ(animation.layout.clusters[1].name, "chin");
  EXPECT_EQ(animation.layout.clusters[2].part, "lids");
  EXPECT_EQ(animation.layout.clusters[2].name, "bone");
  EXPECT_EQ(animation.shape_weights.size(), 3u * 4);
  EXPECT_EQ(animation.local_clusters.size(), 3u * 3);
  EXPECT_EQ(animation.global_clusters.size(), 3u * 3);
}

TEST(SolveCharacter, IsFrameForFrameWhatTheSolverGives) {
  const ExpressionWeights wink = {{"Wink", 0.25}};
  Animation animation = ThreeFrames();
  SolveCharacter(animation, Puppet(), wink);
  CharacterSolver solver(Puppet(), wink);
  for (std::size_t f = 0; f < 3; ++f) {
    VFaceTemplateState templates;
    for (std::size_t t = 0; t < animation.layout.templates.size(); ++t)
      templates.mParts[animation.layout.templates[t].part].mWeights[animation.layout.templates[t].slot] =
          animation.Weight(f, t);
    const VCharacterFaceState& state = solver.Solve(templates);
    EXPECT_EQ(animation.ShapeWeight(f, 0), state.mWeights[0][0]);
    EXPECT_EQ(animation.ShapeWeight(f, 1), state.mWeights[0][1]);
    EXPECT_EQ(animation.ShapeWeight(f, 2), state.mWeights[1][0]);
    EXPECT_EQ(animation.ShapeWeight(f, 3), state.mWeights[3][0]);
    const VCharacterFaceClusterState* const clusters[] = {
        state.mClusters[1].mClusters[0], state.mClusters[1].mClusters[1], state.mClusters[3].mClusters[0]};
    for (std::size_t c = 0; c < 3; ++c) {
      ExpectSame(animation.local_clusters[3 * f + c], clusters[c]->mLocalT, clusters[c]->mLocalR,
                 clusters[c]->mLocalS);
      ExpectSame(animation.global_clusters[3 * f + c], clusters[c]->mGlobalT, clusters[c]->mGlobalR,
                 clusters[c]->mGlobalS);
    }
  }
  // And that is something: the numbers of the frames differ.
  EXPECT_NE(animation.ShapeWeight(0, 2), animation.ShapeWeight(1, 2));
  EXPECT_EQ(animation.ShapeWeight(2, 2), animation.Weight(2, 0));
  EXPECT_EQ(animation.local_clusters[3].translation.x, 1);
  EXPECT_EQ(animation.global_clusters[3].translation.z, 100);
  EXPECT_EQ(animation.ShapeWeight(0, 3), 0.01 * 11 + 0.25 * 3) << "LeftEye.Close, and the expression";
}

TEST(SolveCharacter, LeavesWhatTheTakeGave) {
  const Animation before = ThreeFrames();
  Animation animation = before;
  SolveCharacter(animation, Puppet());
  EXPECT_EQ(animation.layout.take, before.layout.take);
  EXPECT_EQ(animation.layout.performer, before.layout.performer);
  EXPECT_EQ(animation.frames, before.frames);
  EXPECT_EQ(animation.times, before.times);
  EXPECT_EQ(animation.weights, before.weights);
  EXPECT_EQ(animation.heads, before.heads);
}

TEST(SolveCharacter, TakesThePlaceOfAFormerCharacter) {
  Animation once = ThreeFrames(), twice = ThreeFrames();
  SolveCharacter(once, mien::LoadCharacter("arkit52"));
  SolveCharacter(twice, Puppet());
  SolveCharacter(twice, mien::LoadCharacter("arkit52"));
  EXPECT_EQ(twice.layout.character, "arkit52");
  EXPECT_EQ(twice.layout.shapes, once.layout.shapes);
  EXPECT_EQ(twice.shape_weights, once.shape_weights);
  EXPECT_EQ(twice.shape_weights.size(), 3u * 52);
  EXPECT_THAT(twice.layout.clusters, IsEmpty());
  EXPECT_THAT(twice.local_clusters, IsEmpty());
  EXPECT_THAT(twice.global_clusters, IsEmpty());
}

TEST(SolveCharacter, ATakeWithoutFramesHasTheNamesAlone) {
  Animation animation;
  SolveCharacter(animation, Puppet());
  EXPECT_EQ(animation.layout.shapes.size(), 4u);
  EXPECT_EQ(animation.layout.clusters.size(), 3u);
  EXPECT_THAT(animation.shape_weights, IsEmpty());
  EXPECT_THAT(animation.local_clusters, IsEmpty());
}

TEST(SolveCharacter, ThrowsAsTheSolverDoesAndLeavesTheAnimation) {
  Animation animation = ThreeFrames();
  EXPECT_EQ(InputErrorOf([&] {
              SolveCharacter(animation, Puppet(), {{"Smirk", 1}});
            }),
            "puppet.json:/expressions: there is no expression \"Smirk\"; name one of: Wink");
  EXPECT_EQ(animation.layout.character, "");
  EXPECT_THAT(animation.layout.shapes, IsEmpty());
}
