#include "host/gltf/glb_animation.h"

#include "tests/host/glb_curves.h"
#include "tests/host/head_glb.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

using mien::ClusterTransform;
using mien::Glb;
using mien::GlbAnimation;
using mien::MorphNode;
using testing::ElementsAre;
using testing::SizeIs;
using tests::Curve;
using tests::ExpectTurns;
using tests::Floats;
using tests::HeadOf;
using tests::Json;
using tests::Number;
using tests::Rotation;
using tests::Sampler;

namespace {

/// The weight of a target in a frame, as 10 * frame + target.
double Weight(std::size_t frame, std::size_t target) {
  return 10 * static_cast<double>(frame) + static_cast<double>(target);
}

MorphNode Node(std::size_t node, std::vector<std::string> targets, std::vector<double> defaults) {
  return {node, std::make_shared<const std::vector<std::string>>(std::move(targets)),
          std::make_shared<const std::vector<double>>(std::move(defaults))};
}

} // namespace

TEST(GlbAnimation, TimesBeginAtZeroAndHaveBounds) {
  Glb glb = HeadOf(R"("a")");
  GlbAnimation animation(glb, std::vector<double>{10, 10.25, 10.5});
  animation.AddWeights(Node(0, {"a"}, {0}), Weight);
  animation.Finish("take", {});
  const Json input = (*Sampler(glb, 0, "weights"))["input"];
  EXPECT_THAT(Floats(glb, input), ElementsAre(0, 0.25f, 0.5f));
  EXPECT_EQ(glb.json["accessors"][Number(input)]["min"], Json::array({0.0}));
  EXPECT_EQ(glb.json["accessors"][Number(input)]["max"], Json::array({0.5}));
}

TEST(GlbAnimation, HasItsNameAndExtrasAndComesLast) {
  Glb glb = HeadOf(R"("a")", R"(,"animations":[{"name":"idle"}])");
  GlbAnimation animation(glb, std::vector<double>{0});
  animation.AddWeights(Node(0, {"a"}, {0}), Weight);
  EXPECT_THAT(glb.json["animations"], SizeIs(1)) << "not there before it is finished";
  animation.Finish("take", {{"rate", "30"}});
  ASSERT_THAT(glb.json["animations"], SizeIs(2));
  EXPECT_EQ(glb.json["animations"][1].dump(),
            R"({"name":"take","channels":[{"sampler":0,"target":{"node":0,"path":"weights"}}],)"
            R"("samplers":[{"input":0,"interpolation":"LINEAR","output":1}],"extras":{"rate":"30"}})");
}

TEST(GlbAnimation, FramesThatFloatsCannotTellApartHaveNoKey) {
  Glb glb = HeadOf(R"("a")");
  GlbAnimation animation(glb, std::vector<double>{1e6, 1e6 + 100, std::nextafter(1e6 + 100, 2e6), 1e6 + 101});
  EXPECT_EQ(animation.LeftOutFrames(), 1u);
  std::set<std::size_t> asked;
  animation.AddWeights(Node(0, {"a"}, {0}), [&](std::size_t f, std::size_t t) {
    asked.insert(f);
    return Weight(f, t);
  });
  animation.Finish("take", {});
  EXPECT_THAT(Floats(glb, (*Sampler(glb, 0, "weights"))["input"]), ElementsAre(0, 100, 101));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0, 10, 30));
  EXPECT_THAT(asked, ElementsAre(0, 1, 3));
}

TEST(GlbAnimation, NodesThatShareTargetsAndDefaultsShareOneCurve) {
  Glb glb = HeadOf(R"("a","b")");
  GlbAnimation animation(glb, std::vector<double>{0, 1});
  const MorphNode first = Node(0, {"a", "b"}, {0, 0});
  animation.AddWeights(first, Weight);
  animation.AddWeights({1, first.targets, first.defaults}, Weight);
  animation.AddWeights({2, Node(2, {"b", "a"}, {}).targets, first.defaults}, Weight);
  animation.AddWeights({3, first.targets, Node(3, {}, {0, 1}).defaults}, Weight);
  animation.Finish("take", {});
  const auto output = [&](std::size_t node) { return (*Sampler(glb, node, "weights"))["output"]; };
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0, 1, 10, 11));
  EXPECT_EQ(output(0), output(1));
  EXPECT_NE(output(0), output(2)) << "another order";
  EXPECT_NE(output(0), output(3)) << "other weights at rest";
  EXPECT_THAT(glb.json["accessors"], SizeIs(4)) << "the times and three curves";
}

TEST(GlbAnimation, WeightsThatNoGlbHoldsAreRefusedBeforeTheyTakeMemory) {
  Glb glb = HeadOf(R"("a")");
  std::vector<double> times;
  for (int f = 0; f < 10000; ++f) times.push_back(f);
  GlbAnimation animation(glb, times);
  const MorphNode node =
      Node(0, std::vector<std::string>(200000), std::vector<double>(200000)); // 8 GB of floats
  EXPECT_EQ(ProblemOf([&] { animation.AddWeights(node, Weight); }), "limit at no place");
}

TEST(GlbAnimation, RotationsGoTheShortWayFromFrameToFrame) {
  Glb glb = HeadOf(R"("a")");
  std::vector<double> times;
  for (int f = 0; f < 73; ++f) times.push_back(f);
  GlbAnimation animation(glb, times);
  animation.AddRotation(0, [](std::size_t f) { return Rotation(0, 10 * static_cast<double>(f), 0); });
  animation.Finish("take", {});
  const std::vector<float> curve = Curve(glb, 0, "rotation");
  ASSERT_EQ(curve.size(), 73u * 4);
  for (std::size_t f = 0; f < 73; ++f) {
    double length = 0, dot = 0;
    for (std::size_t c = 0; c < 4; ++c) {
      length += static_cast<double>(curve[4 * f + c]) * static_cast<double>(curve[4 * f + c]);
      if (f > 0) dot += static_cast<double>(curve[4 * f + c]) * static_cast<double>(curve[4 * f - 4 + c]);
    }
    EXPECT_NEAR(length, 1, 3e-7) << f; // four squares of floats
    if (f > 0) { EXPECT_GT(dot, 0.99) << f; }
    ExpectTurns(&curve[4 * f], Rotation(0, 10 * static_cast<double>(f), 0));
  }
}

TEST(GlbAnimation, ATransformIsThreeCurves) {
  Glb glb = HeadOf(R"("a")");
  GlbAnimation animation(glb, std::vector<double>{0, 1});
  animation.AddTransform(0, [](std::size_t f) {
    ClusterTransform transform;
    transform.translation = VgeTVector{1.0 * static_cast<double>(f), 2, 3};
    transform.rotation = Rotation(0, 0, 45 * static_cast<double>(f));
    transform.scale = VgeSVector(1, -2, 3);
    return transform;
  });
  animation.Finish("take", {});
  EXPECT_THAT(Curve(glb, 0, "translation"), ElementsAre(0, 2, 3, 1, 2, 3));
  EXPECT_THAT(Curve(glb, 0, "scale"), ElementsAre(1, -2, 3, 1, -2, 3));
  const std::vector<float> rotation = Curve(glb, 0, "rotation");
  ASSERT_EQ(rotation.size(), 8u);
  ExpectTurns(&rotation[0], Rotation(0, 0, 0));
  ExpectTurns(&rotation[4], Rotation(0, 0, 45));
  EXPECT_THAT(glb.json["animations"][0]["channels"], SizeIs(3));
}
