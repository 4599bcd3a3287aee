#include "host/animation/animation_glb.h"

#include "host/character/character_file.h"
#include "host/gltf/face_mesh.h"
#include "host/gltf/glb.h"
#include "mien/base/geometry.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using mien::Animation;
using mien::Character;
using mien::ClusterTransform;
using mien::FaceMesh;
using mien::Glb;
using mien::HeadReport;
using mien::LoadCharacter;
using mien::MakeFaceMesh;
using mien::ReadCharacter;
using mien::ReadGlb;
using mien::WriteAnimationOntoHead;
using mien::WriteFace;
using mien::WriteFaceAnimation;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Json = nlohmann::ordered_json;

VgeRMatrix Rotation(double x, double y, double z) {
  VgeRMatrix rotation;
  VTxRotationOrder().V2M(rotation, VgeRVector(x, y, z));
  return rotation;
}

VgeAMatrix Affine(const VgeRMatrix& rotation) {
  VgeAMatrix affine;
  for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, affine.m[column]);
  return affine;
}

/// Frames at 1/4 s from second 10 on, whose shape s weighs (frame + 1) / (s + 2).
Animation Shapes(const std::vector<std::string>& shapes, std::size_t frames = 3) {
  Animation animation;
  animation.take = "walk & talk";
  animation.character = "Robot";
  animation.rate = {4, 1};
  animation.shapes = shapes;
  for (std::size_t f = 0; f < frames; ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f) + 40);
    animation.times.push_back(10 + static_cast<double>(f) / 4);
    for (std::size_t s = 0; s < shapes.size(); ++s)
      animation.shape_weights.push_back(static_cast<double>(f + 1) / static_cast<double>(s + 2));
    animation.heads.emplace_back();
  }
  animation.weights.assign(frames * animation.templates.size(), 0.0);
  return animation;
}

/// A head of these nodes and meshes, with three bytes of data, so that what follows needs padding.
Glb Head(const std::string& nodes, const std::string& meshes = "[]", const std::string& more = "") {
  return {Json::parse(R"({"asset":{"version":"2.0","generator":"theirs"},"nodes":)" + nodes +
                      R"(,"meshes":)" + meshes + R"(,"buffers":[{"byteLength":3,"name":"b"}])" + more + "}"),
          "abc", "", "h.glb"};
}

/// A mesh with morph targets of these names ("a", "b" in JSON).
std::string Mesh(const std::string& names, const std::string& more = "") {
  const auto count = static_cast<std::size_t>(std::count(names.begin(), names.end(), ',')) + 1;
  std::string targets = "{}";
  for (std::size_t t = 1; t < count; ++t) targets += ",{}";
  return R"({"primitives":[{"targets":[)" + targets + R"(]}],"extras":{"targetNames":[)" + names + "]}" +
         more + "}";
}

const std::string kOneNode = R"([{"mesh":0,"name":"Head"}])";
Glb HeadOf(const std::string& names) { return Head(kOneNode, "[" + Mesh(names) + "]"); }

struct Result {
  HeadReport report;
  Glb glb;
};

Result Onto(const Animation& animation, const Glb& head,
            const std::optional<std::string>& head_node = std::nullopt) {
  std::ostringstream out;
  HeadReport report = WriteAnimationOntoHead(animation, head, head_node, out);
  return {std::move(report), ReadGlb(out.str(), "out.glb")};
}

std::string Error(const Animation& animation, const Glb& head,
                  const std::optional<std::string>& head_node = std::nullopt) {
  return InputErrorOf([&] { Onto(animation, head, head_node); });
}

std::size_t Number(const Json& json) { return json.get<std::size_t>(); }

std::vector<float> Floats(const Glb& glb, const Json& accessor_index) {
  const Json& accessor = glb.json["accessors"][Number(accessor_index)];
  EXPECT_EQ(accessor["componentType"], 5126);
  const std::map<std::string, std::size_t> sizes = {{"SCALAR", 1}, {"VEC3", 3}, {"VEC4", 4}};
  const std::size_t count = Number(accessor["count"]) * sizes.at(accessor["type"].get<std::string>());
  const Json& view = glb.json["bufferViews"][Number(accessor["bufferView"])];
  EXPECT_EQ(view["buffer"], 0);
  EXPECT_EQ(view["byteLength"], 4 * count);
  const std::size_t offset = Number(view["byteOffset"]);
  EXPECT_EQ(offset % 4, 0u);
  EXPECT_LE(offset + 4 * count, Number(glb.json["buffers"][0]["byteLength"]));
  std::vector<float> floats;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t bits = 0;
    for (std::size_t byte = 4; byte-- > 0;)
      bits = bits << 8 | static_cast<unsigned char>(glb.binary.at(offset + 4 * i + byte));
    floats.push_back(std::bit_cast<float>(bits));
  }
  return floats;
}

/// The last animation's sampler for a node's path.
std::optional<Json> Sampler(const Glb& glb, std::size_t node, const std::string& path) {
  const Json& animation = glb.json["animations"].back();
  for (const Json& channel : animation["channels"])
    if (channel["target"]["node"] == node && channel["target"]["path"] == path)
      return animation["samplers"][Number(channel["sampler"])];
  return std::nullopt;
}

/// What it goes through; empty without one.
std::vector<float> Curve(const Glb& glb, std::size_t node, const std::string& path) {
  const auto sampler = Sampler(glb, node, path);
  return sampler ? Floats(glb, (*sampler)["output"]) : std::vector<float>();
}

/// A quaternion's image of a vector.
std::array<double, 3> Turned(const float* q, const std::array<double, 3>& v) {
  const double x = static_cast<double>(q[0]), y = static_cast<double>(q[1]), z = static_cast<double>(q[2]),
               w = static_cast<double>(q[3]);
  const std::array<double, 3> t = {2 * (y * v[2] - z * v[1]), 2 * (z * v[0] - x * v[2]),
                                   2 * (x * v[1] - y * v[0])};
  return {v[0] + w * t[0] + y * t[2] - z * t[1], v[1] + w * t[1] + z * t[0] - x * t[2],
          v[2] + w * t[2] + x * t[1] - y * t[0]};
}

constexpr double kFloatRounding = 1e-6; // of quaternions kept as floats

void ExpectTurns(const float* q, const VgeRMatrix& rotation) {
  for (std::size_t column = 0; column < 3; ++column) {
    std::array<double, 3> axis = {0, 0, 0};
    axis[column] = 1;
    const auto turned = Turned(q, axis);
    for (std::size_t row = 0; row < 3; ++row)
      EXPECT_NEAR(turned[row], rotation.m[column][row], kFloatRounding) << column << ' ' << row;
  }
}

} // namespace

TEST(AnimationOntoHead, TheWeightsOfAMeshAreOneCurveFrameByFrame) {
  const auto [report, glb] = Onto(Shapes({"jawOpen", "smile"}), HeadOf(R"("smile","jawOpen")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(1 / 3.f, 0.5f, 2 / 3.f, 1.f, 1.f, 1.5f));
  EXPECT_EQ((*Sampler(glb, 0, "weights"))["interpolation"], "LINEAR");
  EXPECT_EQ(glb.json["animations"][0]["name"], "walk & talk");
  EXPECT_EQ(report.driven_targets, 2u);
  EXPECT_EQ(report.driven_nodes, 1u);
  EXPECT_THAT(report.shapes_without_target, IsEmpty());
  EXPECT_THAT(report.targets_without_shape, IsEmpty());
  EXPECT_THAT(report.notes, IsEmpty());
}

TEST(AnimationOntoHead, TimesBeginAtZeroAndSayTheirBounds) {
  const Glb glb = Onto(Shapes({"a"}), HeadOf(R"("a")")).glb;
  const Json input = (*Sampler(glb, 0, "weights"))["input"];
  EXPECT_THAT(Floats(glb, input), ElementsAre(0, 0.25f, 0.5f));
  EXPECT_EQ(glb.json["accessors"][Number(input)]["min"], Json::array({0.0}));
  EXPECT_EQ(glb.json["accessors"][Number(input)]["max"], Json::array({0.5}));
}

TEST(AnimationOntoHead, FramesThatFloatsCannotTellApartAreLeftOut) {
  Animation animation = Shapes({"a"}, 4);
  animation.times = {1e6, 1e6 + 100, std::nextafter(1e6 + 100, 2e6), 1e6 + 101};
  const auto [report, glb] = Onto(animation, HeadOf(R"("a")"));
  EXPECT_THAT(Floats(glb, (*Sampler(glb, 0, "weights"))["input"]), ElementsAre(0, 100, 101));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f, 1, 2));
  EXPECT_THAT(report.notes,
              ElementsAre("1 frame was left out: too soon after the one before for the times of glTF"));
}

TEST(AnimationOntoHead, ASingleFrameIsAnAnimation) {
  const Glb glb = Onto(Shapes({"a"}, 1), HeadOf(R"("a")")).glb;
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f));
}

TEST(AnimationOntoHead, WhatTheHeadHoldsStaysAsItIs) {
  Glb head = Head(R"([{"mesh":0,"name":"Head","matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]},{"matrix":7}])",
                  "[" + Mesh(R"("a")") + "]",
                  R"(,"zeta":[1e-7],"accessors":[{"count":1}],"bufferViews":[{"buffer":0,"byteLength":3}],
                      "animations":[{"name":"idle"}],"extensions":{"V":{"k":null}})");
  const std::string further = head.further_chunks = std::string("\4\0\0\0XTRAkept", 12);
  const Glb glb = Onto(Shapes({"a"}), head).glb;
  EXPECT_EQ(glb.further_chunks, further);
  EXPECT_EQ(glb.binary.substr(0, head.binary.size()), head.binary);

  Json rest = glb.json;
  rest["animations"].erase(1);
  for (const char* list : {"accessors", "bufferViews"})
    while (rest[list].size() > 1) rest[list].erase(rest[list].size() - 1);
  EXPECT_EQ(rest["buffers"][0]["byteLength"], glb.binary.size());
  rest["buffers"][0]["byteLength"] = 3;
  EXPECT_EQ(rest.dump(), head.json.dump()) << "in the same order as well";
}

TEST(AnimationOntoHead, MeshesOfTheSameTargetsShareOneCurve) {
  const Glb glb =
      Onto(Shapes({"a", "b"}),
           Head(R"([{"mesh":0},{"mesh":1},{"mesh":2},{"mesh":0,"weights":[0,1]}])",
                "[" + Mesh(R"("a","b")") + "," + Mesh(R"("a","b")") + "," + Mesh(R"("b","a")") + "]"))
          .glb;
  const auto output = [&](std::size_t node) { return (*Sampler(glb, node, "weights"))["output"]; };
  EXPECT_EQ(output(0), output(1));
  EXPECT_NE(output(0), output(2)) << "another order";
  EXPECT_NE(output(0), output(3)) << "other weights at rest";
  EXPECT_THAT(glb.json["accessors"], SizeIs(4)) << "the times and three curves";
}

TEST(AnimationOntoHead, TargetsThatNothingDrivesKeepTheirRest) {
  const auto [report, glb] =
      Onto(Shapes({"a", "z"}, 2),
           Head(R"([{"mesh":0},{"mesh":0,"weights":[0.5,0.25]},{"mesh":1}])",
                "[" + Mesh(R"("a","tongue")", R"(,"weights":[1,0.75])") + "," + Mesh(R"("horns")") + "]"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f, 0.75f, 1, 0.75f));
  EXPECT_THAT(Curve(glb, 1, "weights"), ElementsAre(0.5f, 0.25f, 1, 0.25f));
  EXPECT_FALSE(Sampler(glb, 2, "weights")) << "a mesh of which nothing is driven is left to others";
  EXPECT_EQ(report.driven_targets, 1u);
  EXPECT_EQ(report.driven_nodes, 2u);
  EXPECT_THAT(report.shapes_without_target, ElementsAre("z"));
  EXPECT_THAT(report.targets_without_shape, ElementsAre("tongue", "horns"));
}

TEST(AnimationOntoHead, OtherSpellingsOfThe52AreTheSame) {
  // Shape s weighs 1 / (s + 2) in frame 0.
  const Animation animation =
      Shapes({"jawOpen", "eyeBlink_L", "browInnerUp", "cheekPuffLeft", "cheekPuff"}, 1);
  const auto [report, glb] = Onto(
      animation,
      HeadOf(
          R"("A01_Jaw_Open","EyeBlinkLeft","browInnerUp_L","browInnerUpRight","cheekPuff_L","CheekPuff_R")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(1 / 2.f, 1 / 3.f, 1 / 4.f, 1 / 4.f, 1 / 5.f, 1 / 6.f));
  EXPECT_EQ(report.driven_targets, 6u);
  EXPECT_THAT(report.shapes_without_target, IsEmpty());
}

TEST(AnimationOntoHead, TheSameNameComesBeforeTheSameMeaning) {
  const auto [report, glb] =
      Onto(Shapes({"jawOpen", "JawOpen"}, 1), HeadOf(R"("JawOpen","jawOpen","jaw_open")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(1 / 3.f, 1 / 2.f, 0));
}

// Otherwise the jaw would open three times as far.
TEST(AnimationOntoHead, AShapeDrivesOneTargetOfAMesh) {
  const auto [report, glb] = Onto(
      Shapes({"jawOpen", "browInnerUp"}, 1),
      HeadOf(
          R"("Jaw_Open","jawOpen","JawOpen","browInnerUp_L","browInnerUp_R","browInnerUpLeft","BrowInnerUp")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0, 1 / 2.f, 0, 1 / 3.f, 1 / 3.f, 0, 0));
  EXPECT_EQ(report.driven_targets, 3u);
  EXPECT_THAT(report.targets_without_shape,
              ElementsAre("Jaw_Open", "JawOpen", "browInnerUpLeft", "BrowInnerUp"));
  EXPECT_THAT(report.notes, ElementsAre("left at rest, since another target of the same mesh means the same: "
                                        "\"BrowInnerUp\", \"JawOpen\", \"Jaw_Open\", \"browInnerUpLeft\""));
}

TEST(AnimationOntoHead, WithoutACharacterTheTemplatesAreTheShapes) {
  Animation animation = Shapes({}, 2);
  animation.weights[0] = 0.5;                            // Mouth.Open
  animation.weights[animation.templates.size() + 1] = 1; // Mouth.Whistle
  const auto [report, glb] = Onto(animation, HeadOf(R"("Mouth.Whistle","Mouth.Open","jawOpen")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0, 0.5f, 0, 1, 0, 0));
  EXPECT_THAT(report.shapes_without_target, SizeIs(animation.templates.size() - 2));
}

TEST(AnimationOntoHead, TheHeadTurnsAboutTheScenesAxes) {
  Animation animation = Shapes({"a"}, 3);
  animation.neutral_head = Affine(Rotation(20, -50, 70));
  const VgeRMatrix turns[] = {Rotation(0, 0, 0), Rotation(0, 90, 0), Rotation(-30, 20, 10)};
  const auto product = [](const VgeAMatrix& a, const VgeRMatrix& b) {
    VgeAMatrix c;
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) {
        c.m[column][row] = 0;
        for (int i = 0; i < 3; ++i) c.m[column][row] += a.m[i][row] * b.m[column][i];
      }
    return c;
  };
  for (std::size_t f = 0; f < 3; ++f) {
    animation.heads[f] = product(animation.neutral_head, turns[f]);
    animation.heads[f].m[3][0] = 1000; // where it went does not matter
  }

  // The parents turn by a quarter about z and then, by a matrix, about x; the node's own rest is a quarter about y.
  const std::string h = "0.7071067811865476";
  const Glb head = Head(R"([{"name":"neck","children":[1],"matrix":[2,0,0,0, 0,0,2,0, 0,-2,0,0, 1,2,3,1]},
                            {"children":[2],"rotation":[0,0,)" +
                            h + "," + h + R"(]},
                            {"name":"Head","mesh":0,"rotation":[0,)" +
                            h + ",0," + h + "]}]",
                        "[" + Mesh(R"("a")") + "]");
  const Glb glb = Onto(animation, head, "Head").glb;
  const std::vector<float> curve = Curve(glb, 2, "rotation");
  ASSERT_EQ(curve.size(), 12u);
  const float neck[] = {0.70710678f, 0, 0, 0.70710678f}, middle[] = {0, 0, 0.70710678f, 0.70710678f},
              rest[] = {0, 0.70710678f, 0, 0.70710678f};
  for (std::size_t f = 0; f < 3; ++f)
    for (const std::array<double, 3>& v : {std::array{1.0, 0.0, 0.0}, std::array{0.0, 1.0, 0.0}}) {
      const auto shown = Turned(neck, Turned(middle, Turned(&curve[4 * f], v)));
      const auto at_rest = Turned(neck, Turned(middle, Turned(rest, v)));
      for (std::size_t row = 0; row < 3; ++row) {
        double expected = 0;
        for (std::size_t i = 0; i < 3; ++i) expected += turns[f].m[i][row] * at_rest[i];
        EXPECT_NEAR(shown[row], expected, kFloatRounding) << "frame " << f;
      }
    }
  EXPECT_TRUE(glb.json["nodes"][0].contains("matrix")) << "the parents stay as they are";
}

TEST(AnimationOntoHead, BelowAMirroringParentTheHeadStillTurnsItsWay) {
  Animation animation = Shapes({"a"}, 1);
  animation.heads[0] = Affine(Rotation(0, 30, 10));
  const Glb glb = Onto(animation,
                       Head(R"([{"children":[1],"scale":[-1,1,1]},{"name":"Head","mesh":0}])",
                            "[" + Mesh(R"("a")") + "]"),
                       "Head")
                      .glb;
  ExpectTurns(Curve(glb, 1, "rotation").data(), Rotation(0, -30, -10)); // as in a mirror
}

TEST(AnimationOntoHead, RotationsGoTheShortWayFromFrameToFrame) {
  Animation animation = Shapes({"a"}, 73);
  for (std::size_t f = 0; f < 73; ++f)
    animation.heads[f] = Affine(Rotation(0, 10 * static_cast<double>(f), 0));
  const std::vector<float> curve = Curve(Onto(animation, HeadOf(R"("a")"), "Head").glb, 0, "rotation");
  ASSERT_EQ(curve.size(), 73u * 4);
  for (std::size_t f = 0; f < 73; ++f) {
    double length = 0, dot = 0;
    for (std::size_t c = 0; c < 4; ++c) {
      length += static_cast<double>(curve[4 * f + c]) * static_cast<double>(curve[4 * f + c]);
      if (f > 0) dot += static_cast<double>(curve[4 * f + c]) * static_cast<double>(curve[4 * f - 4 + c]);
    }
    EXPECT_NEAR(length, 1, 3e-7) << f; // four squares of floats
    if (f > 0) { EXPECT_GT(dot, 0.99) << f; }
  }
}

TEST(AnimationOntoHead, ANodeThatTurnsGivesUpItsMatrix) {
  Animation animation = Shapes({"a"}, 1);
  const Glb glb = Onto(animation,
                       Head(R"([{"name":"Head","mesh":0,"matrix":[0,2,0,0, -2,0,0,0, 0,0,2,0, 5,6,7,1]}])",
                            "[" + Mesh(R"("a")") + "]"),
                       "Head")
                      .glb;
  const Json& node = glb.json["nodes"][0];
  EXPECT_FALSE(node.contains("matrix"));
  EXPECT_EQ(node["translation"], Json::array({5.0, 6.0, 7.0}));
  EXPECT_EQ(node["scale"], Json::array({2.0, 2.0, 2.0}));
  ExpectTurns(Curve(glb, 0, "rotation").data(), Rotation(0, 0, 90));
}

TEST(AnimationOntoHead, ClustersMoveTheNodesOfTheirNames) {
  Animation animation = Shapes({"a"}, 2);
  animation.clusters = {{"jaw", "Chin"}, {"jaw", "Nowhere"}, {"brow", "Twin"}, {"brow", "Chin"}};
  animation.local_clusters.resize(8);
  animation.rest_clusters.resize(4);
  animation.local_clusters[0].translation = VgeTVector{1, 2, 3};
  animation.local_clusters[4].translation = VgeTVector{4, 5, 6};
  animation.local_clusters[4].rotation = Rotation(0, 0, 45);
  animation.local_clusters[4].scale = VgeSVector(1, -2, 3);
  const auto [report, glb] = Onto(
      animation,
      Head(
          R"([{"name":"Twin"},{"name":"Twin"},{"name":"Chin","matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])"));
  EXPECT_THAT(Curve(glb, 2, "translation"), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(Curve(glb, 2, "scale"), ElementsAre(1, 1, 1, 1, -2, 3));
  ExpectTurns(&Curve(glb, 2, "rotation")[4], Rotation(0, 0, 45));
  EXPECT_FALSE(glb.json["nodes"][2].contains("matrix"));
  EXPECT_THAT(glb.json["animations"][0]["channels"], SizeIs(3)) << "no node is driven twice";
  EXPECT_EQ(report.driven_clusters, 1u);
  EXPECT_THAT(report.clusters_without_node, ElementsAre("Nowhere", "Twin", "Chin"));
  EXPECT_THAT(report.notes, ElementsAre("2 nodes have the name of the cluster \"Twin\", and stay as they are",
                                        "the node \"Chin\" follows the first of the clusters of its name"));
}

// Else a rest pose that the character's file does not know as the head does would make the bones collapse.
TEST(AnimationOntoHead, AClustersMotionFromItsRestStartsFromTheRestOfItsNode) {
  Animation animation = Shapes({"a"}, 1);
  animation.clusters = {{"jaw", "Chin"}};
  animation.rest_clusters.resize(1);
  animation.rest_clusters[0].translation = VgeTVector{1, 1, 1};
  animation.rest_clusters[0].rotation = Rotation(0, 0, 20);
  animation.rest_clusters[0].scale = VgeSVector(2, 2, 2);
  animation.local_clusters.resize(1);
  animation.local_clusters[0].translation = VgeTVector{1, 2, 4};
  animation.local_clusters[0].rotation = Rotation(0, 0, 50);
  animation.local_clusters[0].scale = VgeSVector(2, 4, 1);
  // The node rests at (9, 9, 9), turned by 90 degrees about z, three times as large.
  const auto [report, glb] =
      Onto(animation, Head(R"([{"name":"Chin","matrix":[0,3,0,0, -3,0,0,0, 0,0,3,0, 9,9,9,1]}])"));
  EXPECT_THAT(Curve(glb, 0, "translation"), ElementsAre(9, 10, 12));
  EXPECT_THAT(Curve(glb, 0, "scale"), ElementsAre(3, 6, 1.5));
  ExpectTurns(Curve(glb, 0, "rotation").data(), Rotation(0, 0, 90 + 30));
}

TEST(AnimationOntoHead, FilesBesideTheHeadAreNoted) {
  const auto notes =
      Onto(Shapes({"a"}),
           Head(kOneNode, "[" + Mesh(R"("a")") + "]",
                R"(,"images":[{"uri":"skin.png"},{"uri":"data:image/png;base64,AA"},{"bufferView":0}])"))
          .report.notes;
  EXPECT_THAT(notes, ElementsAre("the head refers to \"skin.png\" beside it: keep it beside the output too"));
}

TEST(AnimationOntoHead, ASkinnedNodeThatCannotTurnIsNoted) {
  const Glb head = Head(R"([{"mesh":0,"skin":0,"name":"Head"},{"name":"HeadBone"}])",
                        "[" + Mesh(R"("a")") + "]", R"(,"skins":[{"joints":[1]}])");
  EXPECT_THAT(
      Onto(Shapes({"a"}), head, "Head").report.notes,
      ElementsAre(
          "the node \"Head\" shows a skinned mesh, which follows its bones alone: for the head to turn, "
          "name its bone"));
  EXPECT_THAT(Onto(Shapes({"a"}), head, "HeadBone").report.notes, IsEmpty());
}

TEST(AnimationOntoHead, AnimationsOfTheHeadsOwnAreNoted) {
  const auto notes = [](const std::string& animations) {
    return Onto(Shapes({"a"}), Head(kOneNode, "[" + Mesh(R"("a")") + "]", ",\"animations\":" + animations))
        .report.notes;
  };
  EXPECT_THAT(notes("[]"), IsEmpty());
  EXPECT_THAT(notes("[{}]"), ElementsAre("the head has an animation of its own: this one comes after"));
  EXPECT_THAT(notes("[{},{}]"), ElementsAre("the head has 2 animations of its own: this one comes after"));
}

TEST(AnimationOntoHead, TheNameOfATakeMayHoldAnyBytes) {
  Animation animation = Shapes({"a"});
  animation.take = "\xFF";
  EXPECT_EQ(Onto(animation, HeadOf(R"("a")")).glb.json["animations"][0]["name"], "\xEF\xBF\xBD");
}

TEST(AnimationOntoHead, NothingDrivenIsAnErrorThatSaysWhatThereIs) {
  EXPECT_EQ(Error(Shapes({"jawDrop", "smirk"}), HeadOf(R"("t1","t2","t3","t4","t5","t6","t7")")),
            "h.glb: none of the head's morph targets (\"t1\", \"t2\", \"t3\", \"t4\", \"t5\" and 2 more) has "
            "the name of a "
            "shape (\"jawDrop\", \"smirk\"); solve with a character whose shapes the head has");
  EXPECT_EQ(Error(Shapes({}), HeadOf(R"("jawOpen")")),
            "h.glb: none of the head's morph targets (\"jawOpen\") has the name of a shape (\"Mouth.Open\", "
            "\"Mouth.Whistle\", \"Mouth.CornersUpR\", \"Mouth.CornersUpL\", \"Mouth.CornersDownR\" and 18 "
            "more); solve with a "
            "character (-c), or give the targets the names of templates");
  EXPECT_EQ(Error(Shapes({"a"}), Head(R"([{"name":"Head"}])")),
            "h.glb: the head has no morph targets with names, which shapes could drive; export it with its "
            "shape keys and "
            "their names");
}

TEST(AnimationOntoHead, AHeadThatOnlyTurnsIsOneToo) {
  const auto [report, glb] = Onto(Shapes({"a"}), Head(R"([{"name":"Head"}])"), "Head");
  EXPECT_THAT(glb.json["animations"][0]["channels"], SizeIs(1));
  EXPECT_EQ(report.driven_targets, 0u);
}

TEST(AnimationOntoHead, WithoutAFrameThereIsNothingToWrite) {
  EXPECT_EQ(Error(Shapes({"a"}, 0), HeadOf(R"("a")")),
            "walk & talk: the take has no frames; solve one that has some");
}

TEST(AnimationOntoHead, TheHeadsNodeMustBeOne) {
  const Glb head =
      Head(R"([{"mesh":0,"name":"Face"},{"name":"Bone"},{"name":"Bone"}])", "[" + Mesh(R"("a")") + "]");
  EXPECT_EQ(Error(Shapes({"a"}), head, "head"),
            "h.glb: no node has the name \"head\"; name one that there is: \"Bone\", \"Face\"");
  EXPECT_EQ(Error(Shapes({"a"}), Head(R"([{"mesh":0}])", "[" + Mesh(R"("a")") + "]"), "head"),
            "h.glb: no node has the name \"head\"; give the head's node a name, and export again");
  EXPECT_EQ(Error(Shapes({"a"}), head, "Bone"), "h.glb: 2 nodes have the name \"Bone\"; give the one that is "
                                                "the head a name of its own, and export again");
  Animation animation = Shapes({"a"});
  animation.clusters = {{"face", "Face"}};
  animation.local_clusters.resize(3);
  EXPECT_EQ(Error(animation, head, "Face"), "h.glb: the node \"Face\" is to follow the head, and the cluster "
                                            "of its name as well; name another node as the "
                                            "head, or take the cluster out of the character");
}

TEST(AnimationOntoHead, DataOutsideTheFileIsAnError) {
  const Animation animation = Shapes({"a"});
  Glb head = HeadOf(R"("a")");
  head.json["buffers"][0]["uri"] = "head.bin";
  EXPECT_EQ(Error(animation, head),
            "h.glb:/buffers/0/uri: the head's data is not in this file; export it again as one .glb");
  head = HeadOf(R"("a")");
  head.binary.clear();
  EXPECT_EQ(Error(animation, head),
            "h.glb: the head's data is not in this file; export it again as one .glb");
  head = HeadOf(R"("a")");
  head.json["buffers"].clear();
  EXPECT_EQ(Error(animation, head),
            "h.glb: the head's data is not in this file; export it again as one .glb");
  for (const Json& length : {Json(5), Json(-1), Json("4"), Json(1.5)}) {
    head = HeadOf(R"("a")");
    head.json["buffers"][0]["byteLength"] = length;
    EXPECT_EQ(Error(animation, head), "h.glb:/buffers/0/byteLength: the buffer is not one of the 3 bytes "
                                      "that the file holds for it; export it "
                                      "again as one .glb")
        << length;
  }
}

TEST(AnimationOntoHead, ListsThatAreNoneAreErrors) {
  for (const std::string list :
       {"accessors", "bufferViews", "animations", "nodes", "meshes", "buffers", "images"}) {
    Glb head = HeadOf(R"("a")");
    head.json[list] = "text";
    EXPECT_EQ(Error(Shapes({"a"}), head), "h.glb:/" + list + ": this is not an array; export the head again");
  }
}

// --- The built-in face

namespace {

Result Face(const Animation& animation, const Character* character) {
  std::ostringstream out;
  HeadReport report = WriteFaceAnimation(animation, character, out);
  return {std::move(report), ReadGlb(out.str(), "face.glb")};
}

Result StillFace(const Character* character) {
  std::ostringstream out;
  HeadReport report = WriteFace(character, out);
  return {std::move(report), ReadGlb(out.str(), "face.glb")};
}

Character CharacterOf(const std::string& shapes, const std::string& templates) {
  return ReadCharacter(R"({"format":"mien character 1","name":"C","parts":{"p":{"shapes":)" + shapes +
                           R"(}},"templates":)" + templates + "}",
                       "c.json");
}

std::vector<std::string> TargetNames(const Glb& glb) {
  return glb.json["meshes"][0]["extras"]["targetNames"].get<std::vector<std::string>>();
}

/// What a morph target does to a piece.
std::vector<float> Displacement(const Glb& glb, std::size_t piece, std::size_t target) {
  return Floats(glb, glb.json["meshes"][0]["primitives"][piece]["targets"][target]["POSITION"]);
}

std::vector<float> Flat(const std::vector<FaceMesh::Vector>& vectors, float factor = 1) {
  std::vector<float> flat;
  for (const auto& v : vectors)
    for (const float component : v) flat.push_back(factor * component);
  return flat;
}

} // namespace

TEST(FaceGlb, IsTheMeshPieceByPiece) {
  const Glb glb = StillFace(nullptr).glb;
  const FaceMesh mesh = MakeFaceMesh();
  const Json& primitives = glb.json["meshes"][0]["primitives"];
  ASSERT_EQ(primitives.size(), mesh.pieces.size());
  for (std::size_t p = 0; p < mesh.pieces.size(); ++p) {
    const FaceMesh::Piece& piece = mesh.pieces[p];
    EXPECT_EQ(Floats(glb, primitives[p]["attributes"]["POSITION"]), Flat(piece.positions));
    const Json& material = glb.json["materials"][Number(primitives[p]["material"])];
    EXPECT_EQ(material["name"], piece.name);
    EXPECT_EQ(material["pbrMetallicRoughness"]["baseColorFactor"].get<std::vector<float>>(),
              std::vector<float>(piece.colour.begin(), piece.colour.end()));
    const Json& indices = glb.json["accessors"][Number(primitives[p]["indices"])];
    EXPECT_EQ(indices["count"], piece.triangles.size());
    const Json& view = glb.json["bufferViews"][Number(indices["bufferView"])];
    const std::size_t offset = Number(view["byteOffset"]);
    for (std::size_t i = 0; i < piece.triangles.size(); ++i)
      ASSERT_EQ(static_cast<unsigned char>(glb.binary[offset + 2 * i]) |
                    static_cast<unsigned char>(glb.binary[offset + 2 * i + 1]) << 8,
                piece.triangles[i]);
    for (std::size_t t = 0; t < piece.displacements.size(); ++t)
      EXPECT_EQ(Displacement(glb, p, t), Flat(piece.displacements[t])) << t;
  }
  EXPECT_FALSE(glb.json.contains("animations"));
}

TEST(FaceGlb, SaysTheExactBoundsOfItsPositions) {
  const FaceMesh mesh = MakeFaceMesh();
  const Glb glb = StillFace(nullptr).glb;
  std::size_t checked = 0;
  for (std::size_t a = 0; a < glb.json["accessors"].size(); ++a) {
    const Json& accessor = glb.json["accessors"][a];
    if (accessor["type"] != "VEC3") continue;
    const std::vector<float> values = Floats(glb, a);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      float least = values[axis], most = values[axis];
      for (std::size_t v = axis; v < values.size(); v += 3)
        least = std::min(least, values[v]), most = std::max(most, values[v]);
      EXPECT_EQ(accessor["min"][axis].get<float>(), least);
      EXPECT_EQ(accessor["max"][axis].get<float>(), most);
    }
    ++checked;
  }
  EXPECT_GT(checked, mesh.pieces.size());
}

TEST(FaceGlb, WithoutACharacterHasATargetForEachTemplate) {
  const Animation animation = Shapes({}, 2);
  std::vector<std::string> names;
  for (const auto& column : animation.templates) names.push_back(column.name);
  EXPECT_THAT(TargetNames(StillFace(nullptr).glb), ElementsAreArray(names));
  const Glb glb = Face(animation, nullptr).glb;
  EXPECT_THAT(TargetNames(glb), ElementsAreArray(names));
  EXPECT_THAT(glb.json["meshes"][0]["weights"], SizeIs(names.size()));
}

TEST(FaceGlb, TheFirstSceneShowsTheFace) {
  const Glb glb = StillFace(nullptr).glb;
  EXPECT_EQ(glb.json["scene"], 0);
  EXPECT_EQ(glb.json["scenes"][0]["nodes"], Json::array({0}));
  EXPECT_EQ(glb.json["nodes"][0]["name"], "mien");
  EXPECT_EQ(glb.json["nodes"][0]["children"], Json::array({1}));
  EXPECT_EQ(glb.json["nodes"][1]["name"], "face");
  EXPECT_EQ(glb.json["nodes"][1]["mesh"], 0);
}

TEST(FaceGlb, WeightsAndTheHeadMove) {
  Animation animation = Shapes({}, 2);
  const std::size_t templates = animation.templates.size();
  for (std::size_t w = 0; w < 2 * templates; ++w) animation.weights[w] = static_cast<double>(w) / 8;
  animation.heads[1] = Affine(Rotation(5, 10, 15));
  const auto [report, glb] = Face(animation, nullptr);
  std::vector<float> weights;
  for (const double weight : animation.weights) weights.push_back(static_cast<float>(weight));
  EXPECT_EQ(Curve(glb, 1, "weights"), weights);
  const std::vector<float> rotation = Curve(glb, 1, "rotation");
  ASSERT_EQ(rotation.size(), 8u);
  ExpectTurns(&rotation[0], Rotation(0, 0, 0));
  ExpectTurns(&rotation[4], Rotation(5, 10, 15));
  EXPECT_EQ(report.driven_targets, templates);
  EXPECT_EQ(report.driven_nodes, 1u);
}

TEST(FaceGlb, ShapesThatShareATemplateGiveItBackTogether) {
  // Whistle: 2 * (2 / 5) + 1 * (1 / 5) = 1. "pout" also has all of Open.
  const Character character =
      CharacterOf(R"(["still","pout","kiss","anti"])",
                  R"({"Mouth":{"Whistle":{"pout":2,"kiss":1,"anti":-1},"Open":{"pout":0.5}}})");
  const auto [report, glb] = StillFace(&character);
  EXPECT_THAT(TargetNames(glb), ElementsAre("pout", "kiss"));
  EXPECT_THAT(report.shapes_without_target, ElementsAre("still", "anti"));
  EXPECT_THAT(report.notes, IsEmpty());
  const FaceMesh mesh = MakeFaceMesh();
  for (std::size_t p = 0; p < mesh.pieces.size(); ++p) {
    const auto open = Flat(mesh.pieces[p].displacements[0]), whistle = Flat(mesh.pieces[p].displacements[1]);
    const auto pout = Displacement(glb, p, 0), kiss = Displacement(glb, p, 1);
    for (std::size_t i = 0; i < open.size(); ++i) {
      constexpr float kRounding = 1e-8f; // of floats below 0.1
      EXPECT_NEAR(pout[i], 2.f / 5 * whistle[i] + 2 * open[i], kRounding);
      EXPECT_NEAR(kiss[i], 1.f / 5 * whistle[i], kRounding);
      EXPECT_NEAR(2 * (pout[i] - 2 * open[i]) + kiss[i], whistle[i], kRounding);
    }
  }
}

TEST(FaceGlb, ShapesFollowTheCharactersWeights) {
  const Character character =
      CharacterOf(R"(["still","pout","kiss"])", R"({"Mouth":{"Whistle":{"pout":2,"kiss":1}}})");
  const Glb glb = Face(Shapes({"still", "pout", "kiss"}, 2), &character).glb;
  EXPECT_THAT(Curve(glb, 1, "weights"), ElementsAre(1 / 3.f, 1 / 4.f, 2 / 3.f, 1 / 2.f));
}

TEST(FaceGlb, ACharacterThatNoTemplateMovesIsShownByTemplates) {
  const Character character = CharacterOf(R"(["still"])", "{}");
  Animation animation = Shapes({"still"}, 1);
  animation.weights[0] = 0.5;
  const auto [report, glb] = Face(animation, &character);
  EXPECT_THAT(TargetNames(glb), SizeIs(animation.templates.size()));
  EXPECT_EQ(Curve(glb, 1, "weights")[0], 0.5f);
  EXPECT_THAT(report.shapes_without_target, ElementsAre("still"));
  EXPECT_THAT(report.notes,
              ElementsAre("no template produces a shape of the character: the face shows the templates"));
}

TEST(FaceGlb, TheBuiltInCharacterHasAFaceForWhatItDrives) {
  const Character arkit = LoadCharacter("arkit52");
  const auto [report, glb] = StillFace(&arkit);
  EXPECT_EQ(TargetNames(glb).size() + report.shapes_without_target.size(), 52u);
  EXPECT_THAT(TargetNames(glb), testing::Contains("jawOpen"));
  EXPECT_THAT(report.shapes_without_target, testing::Contains("tongueOut"));
}

TEST(FaceGlb, PiecesThatATargetDoesNotMoveShareOneListOfZeros) {
  const Glb glb = StillFace(nullptr).glb;
  std::map<std::size_t, std::size_t> zeros; // accessors by vertex count
  std::size_t uses = 0;
  for (std::size_t p = 0; p < glb.json["meshes"][0]["primitives"].size(); ++p)
    for (const Json& target : glb.json["meshes"][0]["primitives"][p]["targets"]) {
      const std::vector<float> values = Floats(glb, target["POSITION"]);
      if (std::any_of(values.begin(), values.end(), [](float v) { return v != 0; })) continue;
      const auto [known, is_new] = zeros.emplace(values.size(), Number(target["POSITION"]));
      EXPECT_EQ(known->second, Number(target["POSITION"]));
      ++uses;
    }
  EXPECT_GT(uses, zeros.size());
}

TEST(FaceGlb, ClustersAreNodesBelowTheirParts) {
  const Character character = ReadCharacter(R"({"format":"mien character 1","name":"C","parts":{
      "jaw":{"shapes":["drop"],"clusters":{"root":{"translation":[0,9,0]},"rest":{"chin":{"translation":[1,2,3]},"lip":{}},
             "poses":{}}},
      "brow":{"shapes":["up"],"clusters":{"rest":{"face":{}}}}},
      "templates":{"Mouth":{"Open":{"drop":1}}}})",
                                            "c.json");
  Animation animation = Shapes({"drop", "up"}, 2);
  animation.clusters = {{"jaw", "chin"}, {"jaw", "lip"}, {"brow", "face"}};
  animation.local_clusters.resize(6);
  animation.local_clusters[5].translation = VgeTVector{7, 8, 9};
  const auto [report, glb] = Face(animation, &character);
  const Json& nodes = glb.json["nodes"];
  ASSERT_EQ(nodes.size(), 7u);
  EXPECT_EQ(nodes[0]["children"], Json::array({1, 2, 5}));
  EXPECT_EQ(nodes[2]["name"], "jaw");
  EXPECT_EQ(nodes[2]["translation"], Json::array({0.0, 9.0, 0.0}));
  EXPECT_EQ(nodes[2]["children"], Json::array({3, 4}));
  EXPECT_EQ(nodes[3]["name"], "chin");
  EXPECT_EQ(nodes[3]["translation"], Json::array({1.0, 2.0, 3.0}));
  EXPECT_EQ(nodes[6]["name"], "face") << "as the face's node, and still not taken for it";
  EXPECT_THAT(Curve(glb, 6, "translation"), ElementsAre(0, 0, 0, 7, 8, 9));
  EXPECT_THAT(Curve(glb, 3, "rotation"), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1));
  EXPECT_EQ(report.driven_clusters, 3u);
}

TEST(FaceGlb, IsAHeadOntoWhichTheSameAnimationFits) {
  const Character arkit = LoadCharacter("arkit52");
  const HeadReport report = Onto(Shapes(arkit.Shapes()), StillFace(&arkit).glb, "face").report;
  EXPECT_EQ(report.driven_targets, TargetNames(StillFace(&arkit).glb).size());
  EXPECT_THAT(report.targets_without_shape, IsEmpty());
}
