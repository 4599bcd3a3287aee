#include "host/solve/level_lids.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

using mien::Animation;

namespace {

/// A solve of 20 s at 50 Hz in which every template has this curve.
Animation Solve(const std::vector<double>& curve) {
  Animation animation;
  animation.layout.rate = {50, 1};
  for (std::size_t f = 0; f < curve.size(); ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f) + 1);
    for (std::size_t t = 0; t < animation.layout.templates.size(); ++t) animation.weights.push_back(curve[f]);
  }
  return animation;
}

std::vector<double> Levelled(const std::vector<double>& curve, const std::string& name = "LeftEye.Close") {
  Animation animation = Solve(curve);
  LevelLids(animation);
  std::vector<double> levelled;
  for (std::size_t t = 0; t < animation.layout.templates.size(); ++t)
    if (animation.layout.templates[t].name == name)
      for (std::size_t f = 0; f < curve.size(); ++f) levelled.push_back(animation.Weight(f, t));
  return levelled;
}

/// 0, and `weight` from 5 to 15 s.
std::vector<double> Lowered(double weight) {
  std::vector<double> curve(1000, 0.0);
  std::fill(curve.begin() + 250, curve.begin() + 750, weight);
  return curve;
}

} // namespace

TEST(LevelLids, TakesOutWhatLastsAndKeepsABlinkWhole) {
  std::vector<double> curve = Lowered(0.3);
  for (const std::size_t blink : {std::size_t{100}, std::size_t{500}})
    for (std::size_t f = blink - 4; f <= blink + 4; ++f) curve[f] = 1;
  for (const char* eye : {"LeftEye.Close", "RightEye.Close"}) {
    const std::vector<double> levelled = Levelled(curve, eye);
    EXPECT_EQ(levelled[100], 1);
    EXPECT_NEAR(levelled[500], 1, 1e-12);
    EXPECT_EQ(levelled[50], 0);
    EXPECT_NEAR(levelled[400], 0, 1e-12); // a lowered gaze
    EXPECT_NEAR(levelled[600], 0, 1e-12);
    EXPECT_EQ(levelled[900], 0);
  }
}

TEST(LevelLids, KeepsAnEyeThatStaysClosedOrBeyond) {
  EXPECT_NEAR(Levelled(Lowered(1))[500], 1, 1e-12);
  EXPECT_NEAR(Levelled(Lowered(1.2))[500], 1.4, 1e-12); // (1.2 - 0.5) / (1 - 0.5)
}

// The price.
TEST(LevelLids, OpensAnEyeThatIsHeldHalfShut) {
  EXPECT_NEAR(Levelled(Lowered(0.5))[500], 0, 1e-12);
  EXPECT_NEAR(Levelled(Lowered(0.75))[500], 0.5, 1e-12);
}

TEST(LevelLids, LeavesOtherTemplatesAlone) {
  EXPECT_EQ(Levelled(Lowered(0.3), "Mouth.Open"), Lowered(0.3));
  EXPECT_EQ(Levelled(Lowered(0.3), "LeftEye.Squint"), Lowered(0.3));
}

TEST(LevelLids, MeasuresNothingAcrossDroppedFrames) {
  Animation animation = Solve(Lowered(0.3));
  for (std::size_t f = 250; f < animation.frames.size(); ++f) animation.frames[f] += 1000;
  LevelLids(animation);
  std::size_t column = 0;
  while (animation.layout.templates[column].name != "LeftEye.Close") ++column;
  EXPECT_NEAR(animation.Weight(250, column), 0,
              1e-12); // the first frame of the second stretch knows its own alone
}
