#include "host/gltf/vrm.h"

#include "tests/host/head_glb.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using mien::Glb;
using mien::ReadVrm;
using mien::VrmAvatar;
using mien::VrmExpression;
using mien::VrmLookRange;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using tests::Head;
using tests::Mesh;

namespace {

/// Nodes: 0 without a mesh, 1 and 3 with the mesh of three targets, 2 with a mesh of one.
Glb Avatar(const std::string& extension) {
  return Head(R"([{"name":"a"},{"mesh":0},{"mesh":1},{"mesh":0}])",
              "[" + Mesh(R"("x","y","z")") + "," + Mesh(R"("x")") + "]",
              R"(,"extensions":{)" + extension + "}");
}

Glb Avatar1(const std::string& members) {
  return Avatar(R"("VRMC_vrm":{"specVersion":"1.0")" + members + "}");
}
Glb Avatar0(const std::string& members) { return Avatar(R"("VRM":{"specVersion":"0.0")" + members + "}"); }

std::vector<std::string> NamesOf(const VrmAvatar& avatar) {
  std::vector<std::string> names;
  for (const VrmExpression& expression : avatar.expressions) names.push_back(expression.name);
  return names;
}

testing::Matcher<const VrmExpression::Bind&> IsBind(std::size_t node, std::size_t target, double weight) {
  using Bind = VrmExpression::Bind;
  return AllOf(testing::Field(&Bind::node, node), testing::Field(&Bind::target, target),
               testing::Field(&Bind::weight, weight));
}

} // namespace

TEST(Vrm, OtherHeadsAreNotAvatars) {
  EXPECT_FALSE(ReadVrm(Head("[]")));
  EXPECT_FALSE(ReadVrm(Avatar(R"("KHR_materials_unlit":{})")));
  EXPECT_FALSE(ReadVrm(Avatar(R"("VRM":7)")));
}

TEST(Vrm, ExpressionsOf1BindTargetsOfNodes) {
  const auto avatar = ReadVrm(Avatar1(R"(,"expressions":{
    "preset":{"aa":{"morphTargetBinds":[{"node":1,"index":2,"weight":0.5},{"node":2,"index":0,"weight":1}]},
              "happy":{"isBinary":true,"overrideBlink":"block","overrideMouth":"blend","overrideLookAt":"none"}},
    "custom":{"jawOpen":{"morphTargetBinds":[{"node":3,"index":0,"weight":1}]}, "nothing":null}})"));
  ASSERT_TRUE(avatar);
  EXPECT_EQ(avatar->version, 1);
  EXPECT_TRUE(avatar->faces_forward);
  EXPECT_THAT(NamesOf(*avatar), ElementsAre("aa", "happy", "jawOpen"));
  EXPECT_THAT(avatar->expressions[0].binds, ElementsAre(IsBind(1, 2, 0.5), IsBind(2, 0, 1)));
  EXPECT_FALSE(avatar->expressions[0].is_binary);
  const VrmExpression& happy = avatar->expressions[1];
  EXPECT_TRUE(happy.is_binary);
  EXPECT_EQ(happy.blink, VrmExpression::Override::Block);
  EXPECT_EQ(happy.mouth, VrmExpression::Override::Blend);
  EXPECT_EQ(happy.look, VrmExpression::Override::None);
  EXPECT_THAT(happy.binds, IsEmpty());
}

TEST(Vrm, ExpressionsOf0BindTargetsOfEveryNodeThatShowsTheMesh) {
  const auto avatar = ReadVrm(Avatar0(R"(,"blendShapeMaster":{"blendShapeGroups":[
    {"name":"A","presetName":"a","binds":[{"mesh":0,"index":1,"weight":40}]},
    {"name":"Joy","presetName":"joy","isBinary":true},
    {"name":"Surprised","presetName":"unknown"}, {"name":"Wink"}, {"presetName":"unknown"},
    {"name":"A again","presetName":"a"}]})"));
  ASSERT_TRUE(avatar);
  EXPECT_EQ(avatar->version, 0);
  EXPECT_FALSE(avatar->faces_forward);
  EXPECT_THAT(NamesOf(*avatar), ElementsAre("aa", "happy", "Surprised", "Wink"));
  EXPECT_THAT(avatar->expressions[0].binds, ElementsAre(IsBind(1, 1, 0.4), IsBind(3, 1, 0.4)));
  EXPECT_TRUE(avatar->expressions[1].is_binary);
}

TEST(Vrm, PresetsOf0GetTheirNamesOf1) {
  const char* const presets[][2] = {{"joy", "happy"},
                                    {"angry", "angry"},
                                    {"sorrow", "sad"},
                                    {"fun", "relaxed"},
                                    {"a", "aa"},
                                    {"i", "ih"},
                                    {"u", "ou"},
                                    {"e", "ee"},
                                    {"o", "oh"},
                                    {"blink", "blink"},
                                    {"blink_l", "blinkLeft"},
                                    {"blink_r", "blinkRight"},
                                    {"lookup", "lookUp"},
                                    {"lookdown", "lookDown"},
                                    {"lookleft", "lookLeft"},
                                    {"lookright", "lookRight"},
                                    {"neutral", "neutral"}};
  for (const auto& [before, now] : presets) {
    const auto avatar =
        ReadVrm(Avatar0(R"(,"blendShapeMaster":{"blendShapeGroups":[{"name":"N","presetName":")" +
                        std::string(before) + R"("}]})"));
    EXPECT_THAT(NamesOf(*avatar), ElementsAre(now));
    EXPECT_NE(std::find(mien::kVrmPresets.begin(), mien::kVrmPresets.end(), now), mien::kVrmPresets.end())
        << now;
  }
}

TEST(Vrm, BonesAreFoundInBothVersions) {
  const auto avatar1 = ReadVrm(Avatar1(
      R"(,"humanoid":{"humanBones":{"head":{"node":0},"leftEye":{"node":2},"rightEye":{"node":1},"jaw":null}})"));
  EXPECT_THAT(avatar1->head, Optional(0u));
  EXPECT_THAT(avatar1->eyes, Optional(ElementsAre(2, 1)));
  const auto avatar0 = ReadVrm(Avatar0(
      R"(,"humanoid":{"humanBones":[{"bone":"rightEye","node":1},{"bone":"leftEye","node":2},{"bone":"head","node":3}]})"));
  EXPECT_THAT(avatar0->head, Optional(3u));
  EXPECT_THAT(avatar0->eyes, Optional(ElementsAre(2, 1)));
  const auto one_eye = ReadVrm(Avatar1(R"(,"humanoid":{"humanBones":{"leftEye":{"node":2}}})"));
  EXPECT_FALSE(one_eye->eyes);
  EXPECT_FALSE(one_eye->head);
}

TEST(Vrm, TheRangesOfTheEyesAreRead) {
  const auto avatar1 = ReadVrm(Avatar1(R"(,"lookAt":{"type":"bone",
    "rangeMapHorizontalInner":{"inputMaxValue":40,"outputScale":20},
    "rangeMapVerticalUp":{"inputMaxValue":0,"outputScale":5}})"));
  EXPECT_FALSE(avatar1->looks_by_expressions);
  EXPECT_EQ(avatar1->look_in(20), 10);
  EXPECT_EQ(avatar1->look_in(80), 20) << "no further";
  EXPECT_EQ(avatar1->look_out(45), 5) << "as avatars that do not say: 10 degrees at 90";
  EXPECT_EQ(avatar1->look_up(1), 5);
  const auto avatar0 = ReadVrm(Avatar0(R"(,"firstPerson":{"lookAtTypeName":"BlendShape",
    "lookAtHorizontalOuter":{"xRange":30,"yRange":0.5}})"));
  EXPECT_TRUE(avatar0->looks_by_expressions);
  EXPECT_EQ(avatar0->look_out(15), 0.25);
  EXPECT_EQ(avatar0->look_down(90), 1);
  EXPECT_TRUE(ReadVrm(Avatar1(R"(,"lookAt":{"type":"expression"})"))->looks_by_expressions);
}

TEST(Vrm, WhatDoesNotExistIsReported) {
  const auto error = [](const Glb& avatar) { return InputErrorOf([&] { ReadVrm(avatar); }); };
  const auto preset = [](const std::string& bind) {
    return Avatar1(R"(,"expressions":{"preset":{"aa":{"morphTargetBinds":[)" + bind + "]}}}");
  };
  EXPECT_THAT(
      error(preset(R"({"node":9,"index":0})")),
      HasSubstr("/extensions/VRMC_vrm/expressions/preset/aa/morphTargetBinds/0/node: this is not the index "
                "of one of the 4 nodes"));
  EXPECT_THAT(error(preset(R"({"node":0,"index":0})")), HasSubstr("this node shows no mesh"));
  EXPECT_THAT(error(preset(R"({"node":2,"index":1})")), HasSubstr("one of the 1 morph targets"));
  EXPECT_THAT(error(Avatar1(R"(,"humanoid":{"humanBones":{"head":{"node":4}}})")), HasSubstr("head/node"));
  EXPECT_THAT(
      error(Avatar0(
          R"(,"blendShapeMaster":{"blendShapeGroups":[{"name":"a","binds":[{"mesh":2,"index":0}]}]})")),
      HasSubstr("one of the 2 meshes"));
}
