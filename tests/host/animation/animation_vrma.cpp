#include "host/animation/animation_vrma.h"

#include "host/gltf/glb.h"
#include "host/gltf/humanoid.h"
#include "tests/host/glb_curves.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

using mien::Animation;
using mien::Glb;
using mien::VrmaCoverage;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::Affine;
using tests::Curve;
using tests::ExpectTurns;
using tests::Json;
using tests::Number;
using tests::Rotation;
using tests::Sampler;

namespace {

constexpr double kDegree = std::numbers::pi / 180;

/// Two frames; shape s has the weights s / 8 and (s + 1) / 8.
Animation Shapes(const std::vector<std::string>& shapes) {
  Animation animation;
  animation.layout.take = "walk";
  animation.layout.rate = {4, 1};
  animation.layout.templates.clear();
  animation.layout.shapes = shapes;
  animation.frames = {7, 8};
  animation.times = {1.75, 2};
  for (std::size_t f = 0; f < 2; ++f)
    for (std::size_t s = 0; s < shapes.size(); ++s)
      animation.shape_weights.push_back(static_cast<double>(s + f) / 8);
  animation.heads.resize(2);
  return animation;
}

struct Written {
  VrmaCoverage coverage;
  Glb glb;

  const Json& Extension() const { return glb.json["extensions"]["VRMC_vrm_animation"]; }
};

Written Write(const Animation& animation) {
  std::ostringstream out;
  VrmaCoverage coverage = WriteVrma(animation, out);
  return {std::move(coverage), mien::ReadGlb(out.str(), "out.vrma")};
}

} // namespace

TEST(AnimationVrma, AnExpressionIsTheXOfItsNode) {
  const Written written = Write(Shapes({"jawOpen", "aa", "blinkLeft"}));
  const Json& expressions = written.Extension()["expressions"];
  EXPECT_EQ(written.Extension()["specVersion"], "1.0");
  EXPECT_EQ(written.glb.json["extensionsUsed"], Json::array({"VRMC_vrm_animation"}));
  EXPECT_EQ(expressions["preset"].size(), 2u);
  EXPECT_EQ(expressions["custom"].size(), 1u);
  const auto curve = [&](const char* kind, const char* name) {
    return Curve(written.glb, Number(expressions[kind][name]["node"]), "translation");
  };
  EXPECT_THAT(curve("custom", "jawOpen"), ElementsAre(0, 0, 0, 0.125f, 0, 0));
  EXPECT_THAT(curve("preset", "aa"), ElementsAre(0.125f, 0, 0, 0.25f, 0, 0));
  EXPECT_THAT(curve("preset", "blinkLeft"), ElementsAre(0.25f, 0, 0, 0.375f, 0, 0));
  EXPECT_EQ(written.coverage.presets, 2u);
  EXPECT_EQ(written.coverage.customs, 1u);
  EXPECT_EQ(written.glb.json["animations"][0]["name"], "walk");
  EXPECT_EQ(written.glb.json["animations"][0]["extras"]["first_frame"], 7);
  EXPECT_THAT(written.coverage.notes, IsEmpty());
}

TEST(AnimationVrma, TheFormatHasNoLookingExpressions) {
  Animation animation = Shapes({"lookUp", "lookLeft", "aa"});
  animation.eyes = {
      {}, {{{.yaw = 20 * kDegree, .pitch = 4 * kDegree}, {.yaw = 10 * kDegree, .pitch = 4 * kDegree}}}};
  const Written written = Write(animation);
  EXPECT_EQ(written.Extension()["expressions"]["preset"].size(), 1u);
  EXPECT_TRUE(written.coverage.has_look);
  const std::vector<float> look =
      Curve(written.glb, Number(written.Extension()["lookAt"]["node"]), "rotation");
  ExpectTurns(look.data(), Rotation(0, 0, 0));
  EXPECT_NEAR(tests::Turned(&look[4], {0, 0, 1})[0], std::sin(15 * kDegree) * std::cos(4 * kDegree), 1e-6)
      << "the mean of both eyes, to the left";
  EXPECT_NEAR(tests::Turned(&look[4], {0, 0, 1})[1], -std::sin(4 * kDegree), 1e-6) << "down";
}

TEST(AnimationVrma, TheHeadTurnsOnAHumanoidInTPose) {
  Animation animation = Shapes({"aa"});
  EXPECT_FALSE(Write(animation).coverage.has_head) << "nothing is known about it";
  animation.heads[1] = Affine(Rotation(5, 10, 15));
  const Written written = Write(animation);
  EXPECT_TRUE(written.coverage.has_head);
  const Json& bones = written.Extension()["humanoid"]["humanBones"];
  EXPECT_EQ(bones.size(), mien::kHumanoid.size());
  const std::size_t head = Number(bones["head"]["node"]);
  ExpectTurns(&Curve(written.glb, head, "rotation")[4], Rotation(5, 10, 15));
  for (const auto& [name, bone] : bones.items()) {
    const Json& node = written.glb.json["nodes"][Number(bone["node"])];
    EXPECT_EQ(node["name"], name);
    EXPECT_FALSE(node.contains("rotation")) << name;
    EXPECT_FALSE(Sampler(written.glb, Number(bone["node"]), "translation")) << name;
  }
}

TEST(AnimationVrma, ATakeWithoutFramesIsRefused) {
  Animation animation = Shapes({"aa"});
  animation.frames.clear(), animation.times.clear(), animation.shape_weights.clear(), animation.heads.clear();
  EXPECT_EQ(InputErrorOf([&] { Write(animation); }),
            "walk: the take has no frames; solve a take with frames");
}
