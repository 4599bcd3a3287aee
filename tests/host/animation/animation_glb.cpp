#include "host/animation/animation_glb.h"

#include "host/character/character_file.h"
#include "host/face/face_glb.h"
#include "host/gltf/glb.h"
#include "mien/base/geometry.h"
#include "tests/host/glb_binary.h"
#include "tests/host/glb_curves.h"
#include "tests/host/head_glb.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::Character;
using mien::Code;
using mien::FaceGlb;
using mien::Glb;
using mien::HeadCoverage;
using mien::LoadCharacter;
using mien::MakeFaceGlb;
using mien::Note;
using mien::ReadCharacter;
using mien::ReadGlb;
using mien::WriteAnimationOntoHead;
using mien::WriteFaceAnimation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::Affine;
using tests::Curve;
using tests::ExpectTurns;
using tests::Floats;
using tests::Head;
using tests::HeadOf;
using tests::Json;
using tests::Mesh;
using tests::Number;
using tests::Rotation;
using tests::Sampler;
using tests::Turned;

namespace {

/// Frames every 1/4 s from second 10 on; shape s has the weight (frame + 1) / (s + 2).
Animation Shapes(const std::vector<std::string>& shapes, std::size_t frames = 3) {
  Animation animation;
  animation.layout.take = "walk & talk";
  animation.layout.character = "Robot";
  animation.layout.rate = {4, 1};
  animation.layout.shapes = shapes;
  for (std::size_t f = 0; f < frames; ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f) + 40);
    animation.times.push_back(10 + static_cast<double>(f) / 4);
    for (std::size_t s = 0; s < shapes.size(); ++s)
      animation.shape_weights.push_back(static_cast<double>(f + 1) / static_cast<double>(s + 2));
    animation.heads.emplace_back();
  }
  animation.weights.assign(frames * animation.layout.templates.size(), 0.0);
  return animation;
}

struct Result {
  HeadCoverage coverage;
  Glb glb;
};

Result Onto(const Animation& animation, const Glb& head,
            const std::optional<std::string>& head_node = std::nullopt) {
  std::ostringstream out;
  HeadCoverage coverage = WriteAnimationOntoHead(animation, head, {.head = head_node, .eyes = {}}, out);
  return {std::move(coverage), ReadGlb(out.str(), "out.glb")};
}

std::string Error(const Animation& animation, const Glb& head,
                  const std::optional<std::string>& head_node = std::nullopt) {
  return InputErrorOf([&] { Onto(animation, head, head_node); });
}

} // namespace

TEST(AnimationOntoHead, TheWeightsOfAMeshAreOneCurveFrameByFrame) {
  const auto [coverage, glb] = Onto(Shapes({"jawOpen", "smile"}), HeadOf(R"("smile","jawOpen")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(1 / 3.f, 0.5f, 2 / 3.f, 1.f, 1.f, 1.5f));
  EXPECT_EQ((*Sampler(glb, 0, "weights"))["interpolation"], "LINEAR");
  EXPECT_EQ(glb.json["animations"][0]["name"], "walk & talk");
  EXPECT_EQ(coverage.driven_targets, 2u);
  EXPECT_EQ(coverage.driven_nodes, 1u);
  EXPECT_THAT(coverage.shapes_without_target, IsEmpty());
  EXPECT_THAT(coverage.targets_without_shape, IsEmpty());
  EXPECT_THAT(coverage.notes, IsEmpty());
}

TEST(AnimationOntoHead, FramesThatAreEqualInFloatsAreLeftOut) {
  Animation animation = Shapes({"a"}, 4);
  animation.times = {1e6, 1e6 + 100, std::nextafter(1e6 + 100, 2e6), 1e6 + 101};
  const auto [coverage, glb] = Onto(animation, HeadOf(R"("a")"));
  EXPECT_THAT(Floats(glb, (*Sampler(glb, 0, "weights"))["input"]), ElementsAre(0, 100, 101));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f, 1, 2));
  EXPECT_THAT(
      coverage.notes,
      ElementsAre(Note{Code::Lossy, "",
                       "1 frame was left out: too close to the previous frame for the times of glTF"}));
}

TEST(AnimationOntoHead, ASingleFrameIsAnAnimation) {
  const Glb glb = Onto(Shapes({"a"}, 1), HeadOf(R"("a")")).glb;
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f));
}

TEST(AnimationOntoHead, HasFirstFrameRateAndTimecode) {
  Animation animation = Shapes({"a"});
  animation.layout.rate = {30000, 1001};
  EXPECT_EQ(Onto(animation, HeadOf(R"("a")")).glb.json["animations"][0]["extras"],
            Json::parse(R"({"first_frame":40,"rate":"30000/1001"})"));
  animation.layout.timecode = mien::Timecode{.count = 250, .rate = {25, 1}};
  EXPECT_EQ(Onto(animation, HeadOf(R"("a")")).glb.json["animations"][0]["extras"]["timecode"],
            "00:00:10:00@25");
}

TEST(AnimationOntoHead, TheHeadsContentIsUnchanged) {
  Glb head = Head(R"([{"mesh":0,"name":"Head","matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]},{"matrix":7}])",
                  "[" + Mesh(R"("a")") + "]",
                  R"(,"zeta":[1e-7],"accessors":[{"count":1}],"bufferViews":[{"buffer":0,"byteLength":3}],
                      "animations":[{"name":"idle"}],"extensions":{"V":{"k":null}})");
  const std::string further = head.further_chunks = std::string("\4\0\0\0XTRAkept", 12);
  const Glb glb = Onto(Shapes({"a"}), head).glb;
  EXPECT_EQ(glb.further_chunks, further);
  EXPECT_EQ(tests::BinaryOf(glb).substr(0, head.binary.size()), tests::BinaryOf(head));

  Json rest = glb.json;
  rest["animations"].erase(1);
  for (const char* list : {"accessors", "bufferViews"})
    while (rest[list].size() > 1) rest[list].erase(rest[list].size() - 1);
  EXPECT_EQ(rest["buffers"][0]["byteLength"], glb.binary.size());
  rest["buffers"][0]["byteLength"] = 3;
  EXPECT_EQ(rest.dump(), head.json.dump()) << "including its order";
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
  EXPECT_NE(output(0), output(3)) << "other rest weights";
  EXPECT_THAT(glb.json["accessors"], SizeIs(4)) << "the times and three curves";
}

TEST(AnimationOntoHead, TargetsThatAreNotDrivenKeepTheirRest) {
  const auto [coverage, glb] =
      Onto(Shapes({"a", "z"}, 2),
           Head(R"([{"mesh":0},{"mesh":0,"weights":[0.5,0.25]},{"mesh":1}])",
                "[" + Mesh(R"("a","tongue")", R"(,"weights":[1,0.75])") + "," + Mesh(R"("horns")") + "]"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.5f, 0.75f, 1, 0.75f));
  EXPECT_THAT(Curve(glb, 1, "weights"), ElementsAre(0.5f, 0.25f, 1, 0.25f));
  EXPECT_FALSE(Sampler(glb, 2, "weights")) << "a mesh without driven targets has no curve";
  EXPECT_EQ(coverage.driven_targets, 1u);
  EXPECT_EQ(coverage.driven_nodes, 2u);
  EXPECT_THAT(coverage.shapes_without_target, ElementsAre("z"));
  EXPECT_THAT(coverage.targets_without_shape, ElementsAre("tongue", "horns"));
}

TEST(AnimationOntoHead, WithoutACharacterTheTemplatesAreTheShapes) {
  Animation animation = Shapes({}, 2);
  animation.weights[0] = 0.5;                                   // Mouth.Open
  animation.weights[animation.layout.templates.size() + 1] = 1; // Mouth.Whistle
  const auto [coverage, glb] = Onto(animation, HeadOf(R"("Mouth.Whistle","Mouth.Open","jawOpen")"));
  EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0, 0.5f, 0, 1, 0, 0));
  EXPECT_THAT(coverage.shapes_without_target, SizeIs(animation.layout.templates.size() - 2));
}

TEST(AnimationOntoHead, TheHeadTurnsAboutTheScenesAxes) {
  Animation animation = Shapes({"a"}, 3);
  animation.layout.neutral_head = Affine(Rotation(20, -50, 70));
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
    animation.heads[f] = product(animation.layout.neutral_head, turns[f]);
    animation.heads[f].m[3][0] = 1000; // its position does not matter
  }

  // The parents are rotated by 90 degrees about z and then, by a matrix, about x; the node's own rest by 90
  // degrees about y.
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
        EXPECT_NEAR(shown[row], expected, tests::kFloatRounding) << "frame " << f;
      }
    }
  EXPECT_TRUE(glb.json["nodes"][0].contains("matrix")) << "the parents are unchanged";
}

TEST(AnimationOntoHead, BelowAMirroringParentTheHeadTurnsTheRightWay) {
  Animation animation = Shapes({"a"}, 1);
  animation.heads[0] = Affine(Rotation(0, 30, 10));
  const Glb glb = Onto(animation,
                       Head(R"([{"children":[1],"scale":[-1,1,1]},{"name":"Head","mesh":0}])",
                            "[" + Mesh(R"("a")") + "]"),
                       "Head")
                      .glb;
  ExpectTurns(Curve(glb, 1, "rotation").data(), Rotation(0, -30, -10)); // mirrored
}

// Below a node that stands on its side, as bones do.
TEST(AnimationOntoHead, EyesTurnAboutTheScenesAxes) {
  Animation animation = Shapes({"a"}, 2);
  animation.eyes = {{}, {{{.yaw = 0.5, .pitch = 0}, {.yaw = 0, .pitch = 0.25}}}};
  const Glb head = Head(R"([{"name":"Head","mesh":0,"children":[1,2]},{"name":"eye.L"},
                            {"name":"bone","rotation":[0,0,0.7071067811865476,0.7071067811865476],"children":[3]},
                            {"name":"eye.R"}])",
                        "[" + Mesh(R"("a")") + "]");
  const auto [coverage, glb] = Onto(animation, head);
  EXPECT_THAT(coverage.eye_nodes, ElementsAre("eye.L", "eye.R"));
  constexpr double kDegrees = 57.29577951308232;
  ExpectTurns(Curve(glb, 1, "rotation").data(), Rotation(0, 0, 0));
  ExpectTurns(&Curve(glb, 1, "rotation")[4], Rotation(0, 0.5 * kDegrees, 0));
  // About the scene's x, which is the bone's -y.
  ExpectTurns(&Curve(glb, 3, "rotation")[4], Rotation(0, -0.25 * kDegrees, 0));
}

TEST(AnimationOntoHead, AnAvatarFollowsItsOwnTables) {
  Animation animation = Shapes({"aa"}, 2); // 0.5 and 1
  animation.eyes = {{}, {{{.yaw = 0.5, .pitch = 0}, {.yaw = 0.5, .pitch = 0}}}};
  animation.heads[1] = Affine(Rotation(10, 20, 30));
  const std::string nodes = R"([{"mesh":0,"weights":[0.25,0]},{"name":"head"},{"name":"l"},{"name":"r"}])";
  const std::string bones[] = {
      R"({"head":{"node":1},"leftEye":{"node":2},"rightEye":{"node":3}})",
      R"([{"bone":"head","node":1},{"bone":"leftEye","node":2},{"bone":"rightEye","node":3}])"};
  const std::string range1 = R"({"inputMaxValue":90,"outputScale":45})",
                    range0 = R"({"xRange":90,"yRange":45})";
  const Glb avatar1 = Head(
      nodes, "[" + Mesh(R"("x","y")") + "]",
      R"(,"extensions":{"VRMC_vrm":{"humanoid":{"humanBones":)" + bones[0] +
          R"(},"lookAt":{"rangeMapHorizontalInner":)" + range1 + R"(,"rangeMapHorizontalOuter":)" + range1 +
          R"(},"expressions":{"preset":{"aa":{"morphTargetBinds":[{"node":0,"index":1,"weight":0.5}]}}}}})");
  const Glb avatar0 = Head(nodes, "[" + Mesh(R"("x","y")") + "]",
                           R"(,"extensions":{"VRM":{"humanoid":{"humanBones":)" + bones[1] +
                               R"(},"firstPerson":{"lookAtHorizontalInner":)" + range0 +
                               R"(,"lookAtHorizontalOuter":)" + range0 +
                               R"(},"blendShapeMaster":{"blendShapeGroups":[{"name":"A","presetName":"a",)"
                               R"("binds":[{"mesh":0,"index":1,"weight":50}]}]}}})");
  for (const Glb* const avatar : {&avatar1, &avatar0}) {
    const double side = avatar == &avatar0 ? -1 : 1; // that of 0.x looks along -z
    const auto [coverage, glb] = Onto(animation, *avatar);
    EXPECT_THAT(Curve(glb, 0, "weights"), ElementsAre(0.25f, 0.25f, 0.25f, 0.5f))
        << "the first stays at rest";
    ExpectTurns(&Curve(glb, 1, "rotation")[4], Rotation(side * 10, 20, side * 30));
    for (const std::size_t eye : {2u, 3u})
      ExpectTurns(&Curve(glb, eye, "rotation")[4], Rotation(0, 0.25 * 180 / std::numbers::pi, 0));
    EXPECT_TRUE(coverage.is_avatar && coverage.turns_head);
    EXPECT_THAT(coverage.eye_nodes, ElementsAre("l", "r"));
  }
}

TEST(AnimationOntoHead, ANodeThatTurnsLosesItsMatrix) {
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
  animation.layout.clusters = {{"jaw", "Chin"}, {"jaw", "Nowhere"}, {"brow", "Twin"}, {"brow", "Chin"}};
  animation.local_clusters.resize(8);
  animation.layout.rest_clusters.resize(4);
  animation.local_clusters[0].translation = VgeTVector{1, 2, 3};
  animation.local_clusters[4].translation = VgeTVector{4, 5, 6};
  animation.local_clusters[4].rotation = Rotation(0, 0, 45);
  animation.local_clusters[4].scale = VgeSVector(1, -2, 3);
  const auto [coverage, glb] = Onto(
      animation,
      Head(
          R"([{"name":"Twin"},{"name":"Twin"},{"name":"Chin","matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])"));
  EXPECT_THAT(Curve(glb, 2, "translation"), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(Curve(glb, 2, "scale"), ElementsAre(1, 1, 1, 1, -2, 3));
  ExpectTurns(&Curve(glb, 2, "rotation")[4], Rotation(0, 0, 45));
  EXPECT_FALSE(glb.json["nodes"][2].contains("matrix"));
  EXPECT_THAT(glb.json["animations"][0]["channels"], SizeIs(3)) << "no node is driven twice";
  EXPECT_EQ(coverage.driven_clusters, 1u);
  EXPECT_THAT(coverage.clusters_without_node, ElementsAre("Nowhere", "Twin", "Chin"));
}

// Otherwise bones would collapse if the rest pose in the character file differs from the head's.
TEST(AnimationOntoHead, AClustersMotionFromItsRestStartsFromTheRestOfItsNode) {
  Animation animation = Shapes({"a"}, 1);
  animation.layout.clusters = {{"jaw", "Chin"}};
  animation.layout.rest_clusters.resize(1);
  animation.layout.rest_clusters[0].translation = VgeTVector{1, 1, 1};
  animation.layout.rest_clusters[0].rotation = Rotation(0, 0, 20);
  animation.layout.rest_clusters[0].scale = VgeSVector(2, 2, 2);
  animation.local_clusters.resize(1);
  animation.local_clusters[0].translation = VgeTVector{1, 2, 4};
  animation.local_clusters[0].rotation = Rotation(0, 0, 50);
  animation.local_clusters[0].scale = VgeSVector(2, 4, 1);
  // The node's rest is at (9, 9, 9), rotated by 90 degrees about z, scaled by 3.
  const auto [coverage, glb] =
      Onto(animation, Head(R"([{"name":"Chin","matrix":[0,3,0,0, -3,0,0,0, 0,0,3,0, 9,9,9,1]}])"));
  EXPECT_THAT(Curve(glb, 0, "translation"), ElementsAre(9, 10, 12));
  EXPECT_THAT(Curve(glb, 0, "scale"), ElementsAre(3, 6, 1.5));
  ExpectTurns(Curve(glb, 0, "rotation").data(), Rotation(0, 0, 90 + 30));
}

TEST(AnimationOntoHead, TheNameOfATakeMayContainAnyBytes) {
  Animation animation = Shapes({"a"});
  animation.layout.take = "\xFF";
  EXPECT_EQ(Onto(animation, HeadOf(R"("a")")).glb.json["animations"][0]["name"], "\xEF\xBF\xBD");
}

TEST(AnimationOntoHead, AHeadMayOnlyTurn) {
  const auto [coverage, glb] = Onto(Shapes({"a"}), Head(R"([{"name":"Head"}])"), "Head");
  EXPECT_THAT(glb.json["animations"][0]["channels"], SizeIs(1));
  EXPECT_EQ(coverage.driven_targets, 0u);
}

TEST(AnimationOntoHead, WithoutAFrameThereIsNothingToWrite) {
  EXPECT_EQ(Error(Shapes({"a"}, 0), HeadOf(R"("a")")),
            "walk & talk: the take has no frames; solve a take with frames");
}

TEST(AnimationOntoHead, MembersThatShouldBeListsAreErrors) {
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
  HeadCoverage coverage = WriteFaceAnimation(animation, character, out);
  return {std::move(coverage), ReadGlb(out.str(), "face.glb")};
}

std::vector<std::string> TargetNames(const Glb& glb) {
  return glb.json["meshes"][0]["extras"]["targetNames"].get<std::vector<std::string>>();
}

Character CharacterOf(const std::string& shapes, const std::string& templates) {
  return ReadCharacter(R"({"format":"mien character 1","name":"C","parts":{"p":{"shapes":)" + shapes +
                           R"(}},"templates":)" + templates + "}",
                       "c.json");
}

} // namespace

TEST(FaceAnimation, WeightsAndTheHeadMove) {
  Animation animation = Shapes({}, 2);
  const std::size_t templates = animation.layout.templates.size();
  for (std::size_t w = 0; w < 2 * templates; ++w) animation.weights[w] = static_cast<double>(w) / 8;
  animation.heads[1] = Affine(Rotation(5, 10, 15));
  const auto [coverage, glb] = Face(animation, nullptr);
  std::vector<float> weights;
  for (const double weight : animation.weights) weights.push_back(static_cast<float>(weight));
  EXPECT_EQ(Curve(glb, 1, "weights"), weights);
  const std::vector<float> rotation = Curve(glb, 1, "rotation");
  ASSERT_EQ(rotation.size(), 8u);
  ExpectTurns(&rotation[0], Rotation(0, 0, 0));
  ExpectTurns(&rotation[4], Rotation(5, 10, 15));
  EXPECT_EQ(coverage.driven_targets, templates);
  EXPECT_EQ(coverage.driven_nodes, 1u);
}

TEST(FaceAnimation, TheEyesTurnInTheHeadAndTheNeckStays) {
  Animation animation = Shapes({}, 2);
  animation.heads[1] = Affine(Rotation(5, 10, 15));
  EXPECT_THAT(Curve(Face(animation, nullptr).glb, FaceGlb::kLeftEye, "rotation"), IsEmpty())
      << "the take does not show where they look";
  animation.eyes = {{}, {{{.yaw = 0.5, .pitch = 0}, {.yaw = 0, .pitch = 0.25}}}};
  const auto [coverage, glb] = Face(animation, nullptr);
  EXPECT_THAT(coverage.eye_nodes, ElementsAre("LeftEye", "RightEye"));
  constexpr double kDegrees = 57.29577951308232;
  const auto left = Curve(glb, FaceGlb::kLeftEye, "rotation"),
             right = Curve(glb, FaceGlb::kRightEye, "rotation");
  ASSERT_EQ(left.size(), 8u);
  ASSERT_EQ(right.size(), 8u);
  ExpectTurns(&left[4], Rotation(0, 0.5 * kDegrees, 0));
  ExpectTurns(&right[4], Rotation(0.25 * kDegrees, 0, 0));
  for (const Json& channel : glb.json["animations"][0]["channels"])
    EXPECT_LE(channel["target"]["node"], FaceGlb::kRightEye) << "the neck is behind it";
}

TEST(FaceAnimation, WithoutFramesItIsTheFaceAtRest) {
  std::ostringstream still;
  WriteGlb(MakeFaceGlb(nullptr).glb, still);
  std::ostringstream out;
  const HeadCoverage coverage = WriteFaceAnimation(Shapes({}, 0), nullptr, out);
  EXPECT_EQ(out.str(), still.str());
  EXPECT_EQ(coverage.driven_targets, 0u);
}

TEST(FaceAnimation, ShapesFollowTheCharactersWeights) {
  const Character character =
      CharacterOf(R"(["still","pout","kiss"])", R"({"Mouth":{"Whistle":{"pout":2,"kiss":1}}})");
  const Glb glb = Face(Shapes({"still", "pout", "kiss"}, 2), &character).glb;
  EXPECT_THAT(Curve(glb, 1, "weights"), ElementsAre(1 / 3.f, 1 / 4.f, 2 / 3.f, 1 / 2.f));
}

TEST(FaceAnimation, ACharacterWithoutShapesIsShownByTemplates) {
  const Character character = CharacterOf(R"(["still"])", "{}");
  Animation animation = Shapes({"still"}, 1);
  animation.weights[0] = 0.5;
  const auto [coverage, glb] = Face(animation, &character);
  EXPECT_THAT(TargetNames(glb), SizeIs(animation.layout.templates.size()));
  EXPECT_EQ(Curve(glb, 1, "weights")[0], 0.5f);
  EXPECT_THAT(coverage.shapes_without_target, ElementsAre("still"));
  EXPECT_THAT(
      coverage.notes,
      ElementsAre(Note{Code::Unmatched, "",
                       "no template produces a shape of the character: the face shows the templates"}));
}

TEST(FaceAnimation, ClustersAreNodesBelowTheirParts) {
  const Character character = ReadCharacter(R"({"format":"mien character 1","name":"C","parts":{
      "jaw":{"shapes":["drop"],"clusters":{"root":{"translation":[0,9,0]},"rest":{"chin":{"translation":[1,2,3]},"lip":{}},
             "poses":{}}},
      "brow":{"shapes":["up"],"clusters":{"rest":{"face":{}}}}},
      "templates":{"Mouth":{"Open":{"drop":1}}}})",
                                            "c.json");
  Animation animation = Shapes({"drop", "up"}, 2);
  animation.layout.clusters = {{"jaw", "chin"}, {"jaw", "lip"}, {"brow", "face"}};
  animation.layout.rest_clusters.resize(3);
  animation.layout.rest_clusters[0].translation = VgeTVector{1, 2, 3};
  animation.local_clusters.resize(6);
  animation.local_clusters[5].translation = VgeTVector{7, 8, 9};
  const auto [coverage, glb] = Face(animation, &character);
  const Json& nodes = glb.json["nodes"];
  ASSERT_EQ(nodes.size(), 10u) << "the head's five first";
  EXPECT_EQ(nodes[0]["children"], Json::array({1, 4, 5, 8}));
  EXPECT_EQ(nodes[5]["name"], "jaw");
  EXPECT_EQ(nodes[5]["translation"], Json::array({0.0, 9.0, 0.0}));
  EXPECT_EQ(nodes[5]["children"], Json::array({6, 7}));
  EXPECT_EQ(nodes[6]["name"], "chin");
  EXPECT_EQ(nodes[6]["translation"], Json::array({1.0, 2.0, 3.0}));
  EXPECT_EQ(nodes[9]["name"], "face") << "the same name as the face's node, but not taken for it";
  EXPECT_THAT(Curve(glb, 9, "translation"), ElementsAre(0, 0, 0, 7, 8, 9));
  EXPECT_THAT(Curve(glb, 6, "rotation"), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1));
  EXPECT_EQ(coverage.driven_clusters, 3u);
}

TEST(FaceAnimation, IsAHeadOntoWhichTheSameAnimationFits) {
  const Character arkit = LoadCharacter("arkit52");
  const FaceGlb face = MakeFaceGlb(&arkit);
  const HeadCoverage coverage = Onto(Shapes(arkit.Shapes()), face.glb, "face").coverage;
  EXPECT_EQ(coverage.driven_targets, TargetNames(face.glb).size());
  EXPECT_THAT(coverage.targets_without_shape, IsEmpty());
}
