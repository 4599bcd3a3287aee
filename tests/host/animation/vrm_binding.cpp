#include "host/animation/vrm_binding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <utility>
#include <vector>

using mien::Eyes;
using mien::VrmAvatar;
using mien::VrmBinding;
using mien::VrmExpression;
using mien::WeightFinder;
using testing::DoubleEq;
using testing::DoubleNear;
using testing::ElementsAre;
using Override = VrmExpression::Override;

namespace {

constexpr double kDegree = std::numbers::pi / 180;

/// An expression that moves one target.
VrmExpression Expression(const std::string& name) {
  VrmExpression expression;
  expression.name = name;
  expression.binds.push_back({.node = 0, .target = 0, .weight = 1});
  return expression;
}

VrmAvatar Avatar(const std::vector<std::string>& expressions) {
  VrmAvatar avatar;
  for (const std::string& name : expressions) avatar.expressions.push_back(Expression(name));
  return avatar;
}

std::vector<double> Shown(VrmAvatar avatar, const std::vector<std::string>& names,
                          const std::vector<double>& weights, const Eyes* eyes = nullptr) {
  return VrmBinding(std::move(avatar), WeightFinder(names), eyes != nullptr).Solve(weights, eyes);
}

} // namespace

TEST(VrmBinding, WeightsDriveExpressionsOfTheirNamesOrMeaning) {
  EXPECT_THAT(
      Shown(Avatar({"aa", "Happy", "A01_Jaw_Open", "oh"}), {"jawOpen", "happy", "aa"}, {0.25, 0.5, 0.75}),
      ElementsAre(0.75, 0.5, 0.25, 0));
}

TEST(VrmBinding, AnExpressionWithoutTargetsIsNotDriven) {
  VrmAvatar avatar = Avatar({"aa"});
  avatar.expressions[0].binds.clear();
  EXPECT_FALSE(VrmBinding(avatar, WeightFinder({"aa"}), false).IsDriven(0));
}

TEST(VrmBinding, WithoutSidesBlinkIsTheMeanOfBothEyes) {
  EXPECT_THAT(Shown(Avatar({"blink"}), {"blinkLeft", "blinkRight"}, {1, 0.5}), ElementsAre(0.75));
  EXPECT_THAT(Shown(Avatar({"blink", "blinkLeft"}), {"blinkLeft", "blinkRight"}, {1, 0.5}), ElementsAre(0, 1))
      << "it would shut the left eye twice";
}

TEST(VrmBinding, WeightsAreLimited) {
  EXPECT_THAT(Shown(Avatar({"aa", "ou"}), {"aa", "ou"}, {1.5, -0.5}), ElementsAre(1, 0));
}

TEST(VrmBinding, BinaryExpressionsShowWhollyOrNotAtAll) {
  VrmAvatar avatar = Avatar({"aa", "ou"});
  for (VrmExpression& expression : avatar.expressions) expression.is_binary = true;
  EXPECT_THAT(Shown(avatar, {"aa", "ou"}, {0.5, 0.51}), ElementsAre(0, 1));
}

TEST(VrmBinding, ExpressionsTakeFromThoseThatTheyOverride) {
  VrmAvatar avatar = Avatar({"happy", "blinkLeft", "aa", "lookUp", "angry"});
  avatar.expressions[0].blink = Override::Blend;
  avatar.expressions[0].mouth = Override::Block;
  const std::vector<std::string> names = {"happy", "blinkLeft", "aa", "lookUp", "angry"};
  EXPECT_THAT(Shown(avatar, names, {0.25, 0.8, 0.8, 0.8, 0.8}),
              ElementsAre(0.25, DoubleEq(0.75 * 0.8), 0, 0.8, 0.8));
  EXPECT_THAT(Shown(avatar, names, {0, 0.8, 0.8, 0.8, 0.8}), ElementsAre(0, 0.8, 0.8, 0.8, 0.8));
  avatar.expressions[1].is_binary = true;
  EXPECT_THAT(Shown(avatar, names, {0.25, 0.8, 0, 0, 0})[1], 0) << "less than whole is nothing";
}

TEST(VrmBinding, LookingShowsByExpressionsOnAnAvatarThatLooksSo) {
  VrmAvatar avatar = Avatar({"lookUp", "lookDown", "lookLeft", "lookRight"});
  avatar.looks_by_expressions = true;
  for (auto* const range : {&avatar.look_up, &avatar.look_down, &avatar.look_out})
    *range = {.most_degrees = 40, .most = 1};
  const std::vector<std::string> names = {"lookUp", "lookDown", "lookLeft", "lookRight"};
  const std::vector<double> weights = {1, 1, 1, 1}; // are not what shows
  const Eyes down_left = {
      {{.yaw = 10 * kDegree, .pitch = 20 * kDegree}, {.yaw = 30 * kDegree, .pitch = 20 * kDegree}}};
  EXPECT_THAT(Shown(avatar, names, weights, &down_left),
              ElementsAre(0, DoubleNear(0.5, 1e-12), DoubleNear(0.5, 1e-12), 0));
  const Eyes up_right = {
      {{.yaw = -60 * kDegree, .pitch = -10 * kDegree}, {.yaw = -60 * kDegree, .pitch = -10 * kDegree}}};
  EXPECT_THAT(Shown(avatar, names, weights, &up_right), ElementsAre(DoubleNear(0.25, 1e-12), 0, 0, 1));

  avatar.looks_by_expressions = false;
  EXPECT_THAT(Shown(avatar, names, weights, &up_right), ElementsAre(0, 0, 0, 0)) << "its bones turn";
  EXPECT_THAT(Shown(avatar, names, weights), ElementsAre(1, 1, 1, 1)) << "nothing else shows it";
}

TEST(VrmBinding, EachEyeTurnsWithinTheAvatarsRanges) {
  VrmAvatar avatar = Avatar({"aa"});
  avatar.look_in = {.most_degrees = 40, .most = 10};
  avatar.look_out = {.most_degrees = 40, .most = 20};
  avatar.look_down = {.most_degrees = 20, .most = 20};
  avatar.look_up = {.most_degrees = 20, .most = 5};
  const VrmBinding binding(avatar, WeightFinder({"aa"}), true);
  const Eyes left = binding.TurnOf(
      {{{.yaw = 20 * kDegree, .pitch = 10 * kDegree}, {.yaw = 80 * kDegree, .pitch = -10 * kDegree}}});
  EXPECT_NEAR(left[0].yaw, 10 * kDegree, 1e-12) << "out";
  EXPECT_NEAR(left[1].yaw, 10 * kDegree, 1e-12) << "in, at its limit";
  EXPECT_NEAR(left[0].pitch, 10 * kDegree, 1e-12) << "down";
  EXPECT_NEAR(left[1].pitch, -2.5 * kDegree, 1e-12) << "up";
  const Eyes right =
      binding.TurnOf({{{.yaw = -20 * kDegree, .pitch = 0}, {.yaw = -20 * kDegree, .pitch = 0}}});
  EXPECT_NEAR(right[0].yaw, -5 * kDegree, 1e-12) << "in";
  EXPECT_NEAR(right[1].yaw, -10 * kDegree, 1e-12) << "out";
}
