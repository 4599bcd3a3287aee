#include "host/animation/head_binding.h"

#include "tests/host/cpu_seconds.h"
#include "tests/host/head_glb.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using mien::AnimationLayout;
using mien::BindHead;
using mien::BoundNode;
using mien::Code;
using mien::Glb;
using mien::HeadBinding;
using mien::Note;
using mien::WeightKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::Head;
using tests::HeadOf;
using tests::Mesh;

namespace {

AnimationLayout Layout(const std::vector<std::string>& shapes) {
  AnimationLayout layout;
  layout.shapes = shapes;
  return layout;
}

HeadBinding Bind(const std::vector<std::string>& shapes, const Glb& head,
                 const std::optional<std::string>& head_node = std::nullopt) {
  return BindHead(Layout(shapes), head, {.head = head_node, .eyes = {}});
}

std::string Error(const AnimationLayout& layout, const Glb& head,
                  const std::optional<std::string>& head_node = std::nullopt) {
  return InputErrorOf([&] { BindHead(layout, head, {.head = head_node, .eyes = {}}); });
}

constexpr std::nullopt_t kNone = std::nullopt;

} // namespace

// --- Morph targets

TEST(HeadBinding, AShapeDrivesTheTargetOfItsName) {
  const HeadBinding binding =
      Bind({"a", "z", "b"}, Head(R"([{"mesh":0},{},{"mesh":0,"weights":[0.5,0.25,1]},{"mesh":1}])",
                                 "[" + Mesh(R"("b","tongue","a")") + "," + Mesh(R"("horns")") + "]"));
  EXPECT_EQ(binding.weights, WeightKind::Shapes);
  ASSERT_THAT(binding.nodes, SizeIs(2)) << "a mesh without driven targets is not bound";
  EXPECT_EQ(binding.nodes[0].node.node, 0u);
  EXPECT_THAT(*binding.nodes[0].drivers, ElementsAre(2, kNone, 0));
  EXPECT_EQ(binding.nodes[1].node.node, 2u);
  EXPECT_THAT(*binding.nodes[1].node.defaults, ElementsAre(0.5, 0.25, 1));
  EXPECT_THAT(*binding.nodes[1].drivers, ElementsAre(2, kNone, 0));
  EXPECT_EQ(binding.coverage.driven_targets, 2u);
  EXPECT_EQ(binding.coverage.driven_nodes, 2u);
  EXPECT_THAT(binding.coverage.shapes_without_target, ElementsAre("z"));
  EXPECT_THAT(binding.coverage.targets_without_shape, ElementsAre("tongue", "horns"));
  EXPECT_THAT(binding.coverage.notes, IsEmpty());
  EXPECT_EQ(binding.head_node, kNone);
}

// Once for each node, the lists of names alone would take 20 GB.
TEST(HeadBinding, ACrowdOfNodesThatShowsAMeshOfManyTargetsTakesNoMoreThanOne) {
  constexpr std::size_t kMany = 25000;
  std::string names = "\"a\"", nodes = "[{\"mesh\":0}";
  for (std::size_t i = 1; i < kMany; ++i) {
    names += ",\"n" + std::to_string(i) + '"';
    nodes += ",{\"mesh\":0}";
  }
  const Glb head = Head(nodes + "]", "[" + Mesh(names) + "]");
  const double seconds = CpuSecondsOf([&] {
    const HeadBinding binding = Bind({"a"}, head);
    EXPECT_EQ(binding.coverage.driven_nodes, kMany);
    EXPECT_EQ(binding.coverage.driven_targets, 1u);
    EXPECT_THAT(binding.coverage.targets_without_shape, SizeIs(kMany - 1));
    EXPECT_EQ(binding.nodes.back().drivers, binding.nodes.front().drivers);
    EXPECT_EQ(binding.nodes.back().node.targets, binding.nodes.front().node.targets);
  });
  EXPECT_LT(seconds, 20);
}

TEST(HeadBinding, WithoutACharacterTheTemplatesAreTheShapes) {
  const HeadBinding binding = Bind({}, HeadOf(R"("Mouth.Whistle","Mouth.Open","jawOpen")"));
  EXPECT_EQ(binding.weights, WeightKind::Templates);
  EXPECT_THAT(*binding.nodes.at(0).drivers, ElementsAre(1, 0, kNone));
  EXPECT_THAT(binding.coverage.shapes_without_target, SizeIs(AnimationLayout().templates.size() - 2));
}

TEST(HeadBinding, OtherSpellingsOfThe52AreTheSame) {
  const HeadBinding binding = Bind(
      {"jawOpen", "eyeBlink_L", "browInnerUp", "cheekPuffLeft", "cheekPuff"},
      HeadOf(
          R"("A01_Jaw_Open","EyeBlinkLeft","browInnerUp_L","browInnerUpRight","cheekPuff_L","CheekPuff_R")"));
  EXPECT_THAT(*binding.nodes.at(0).drivers, ElementsAre(0, 1, 2, 2, 3, 4));
  EXPECT_EQ(binding.coverage.driven_targets, 6u);
  EXPECT_THAT(binding.coverage.shapes_without_target, IsEmpty());
}

TEST(HeadBinding, TheSameNameComesBeforeTheSameMeaning) {
  const HeadBinding binding = Bind({"jawOpen", "JawOpen"}, HeadOf(R"("JawOpen","jawOpen","jaw_open")"));
  EXPECT_THAT(*binding.nodes.at(0).drivers, ElementsAre(1, 0, kNone));
}

// Otherwise the jaw would open three times as far.
TEST(HeadBinding, AShapeDrivesOneTargetOfAMesh) {
  const HeadBinding binding = Bind(
      {"jawOpen", "browInnerUp"},
      HeadOf(
          R"("Jaw_Open","jawOpen","JawOpen","browInnerUp_L","browInnerUp_R","browInnerUpLeft","BrowInnerUp")"));
  EXPECT_THAT(*binding.nodes.at(0).drivers, ElementsAre(kNone, 0, kNone, 1, 1, kNone, kNone));
  EXPECT_EQ(binding.coverage.driven_targets, 3u);
  EXPECT_THAT(binding.coverage.targets_without_shape,
              ElementsAre("Jaw_Open", "JawOpen", "browInnerUpLeft", "BrowInnerUp"));
  EXPECT_THAT(binding.coverage.notes,
              ElementsAre(Note{Code::Ignored, "",
                               "left at rest, because another target of the same mesh has the same meaning: "
                               "\"BrowInnerUp\", \"JawOpen\", \"Jaw_Open\", \"browInnerUpLeft\""}));
}

TEST(HeadBinding, NothingDrivenIsAnErrorThatListsNames) {
  EXPECT_EQ(Error(Layout({"jawDrop", "smirk"}), HeadOf(R"("t1","t2","t3","t4","t5","t6","t7")")),
            "h.glb: none of the head's morph targets (\"t1\", \"t2\", \"t3\", \"t4\", \"t5\" and 2 more) has "
            "the name of a shape (\"jawDrop\", \"smirk\"); solve with a character whose shapes the head has");
  EXPECT_EQ(Error(Layout({}), HeadOf(R"("jawOpen")")),
            "h.glb: none of the head's morph targets (\"jawOpen\") has the name of a shape (\"Mouth.Open\", "
            "\"Mouth.Whistle\", \"Mouth.CornersUpR\", \"Mouth.CornersUpL\", \"Mouth.CornersDownR\" and 18 "
            "more); solve with a character (-c), or give the targets the names of templates");
  EXPECT_EQ(Error(Layout({"a"}), Head(R"([{"name":"Head"}])")),
            "h.glb: the head has no named morph targets for shapes to drive; export it with its "
            "shape keys and their names");
}

// --- Clusters

TEST(HeadBinding, AClusterMovesTheOnlyNodeOfItsName) {
  AnimationLayout layout;
  layout.clusters = {{"jaw", "Chin"}, {"jaw", "Nowhere"}, {"brow", "Twin"}, {"brow", "Chin"}};
  const HeadBinding binding =
      BindHead(layout, Head(R"([{"name":"Twin"},{"name":"Twin"},{"name":"Chin"}])"), {});
  EXPECT_THAT(binding.cluster_nodes, ElementsAre(2, kNone, kNone, kNone));
  EXPECT_EQ(binding.coverage.driven_clusters, 1u);
  EXPECT_THAT(binding.coverage.clusters_without_node, ElementsAre("Nowhere", "Twin", "Chin"));
  EXPECT_THAT(
      binding.coverage.notes,
      ElementsAre(
          Note{Code::Duplicate, "", "2 nodes have the name of the cluster \"Twin\" and are not moved"},
          Note{Code::Duplicate, "", "the node \"Chin\" follows the first of the clusters of its name"}));
}

// --- The head's node

TEST(HeadBinding, TheHeadsNodeIsFoundByItsName) {
  const HeadBinding binding = Bind({"a"}, Head(R"([{},{"name":"Head"}])"), "Head");
  EXPECT_EQ(binding.head_node, 1u);
  EXPECT_EQ(binding.coverage.driven_targets, 0u) << "a head may only turn";
}

TEST(HeadBinding, TheHeadsNodeMustBeUnique) {
  const Glb head =
      Head(R"([{"mesh":0,"name":"Face"},{"name":"Bone"},{"name":"Bone"}])", "[" + Mesh(R"("a")") + "]");
  EXPECT_EQ(Error(Layout({"a"}), head, "head"),
            "h.glb: no node has the name \"head\"; name one of its nodes: \"Bone\", \"Face\"");
  EXPECT_EQ(Error(Layout({"a"}), Head(R"([{"mesh":0}])", "[" + Mesh(R"("a")") + "]"), "head"),
            "h.glb: no node has the name \"head\"; name the head's node, and export again");
  EXPECT_EQ(Error(Layout({"a"}), head, "Bone"),
            "h.glb: 2 nodes have the name \"Bone\"; give the head's node a unique name, and export again");
  AnimationLayout layout = Layout({"a"});
  layout.clusters = {{"face", "Face"}};
  EXPECT_EQ(Error(layout, head, "Face"),
            "h.glb: the node \"Face\" would follow both the head and the cluster of its name; name another "
            "node as the head, or remove the cluster from the character");
}

// --- Notes

TEST(HeadBinding, MorphTargetsWithoutNamesAreNoted) {
  const Glb head = Head(R"([{"mesh":0},{"mesh":1}])",
                        "[" + Mesh(R"("a")") + R"(,{"name":"hair","primitives":[{"targets":[{}]}]}])");
  EXPECT_THAT(Bind({"a"}, head).coverage.notes,
              ElementsAre(Note{Code::Ignored, "",
                               "the morph target of mesh \"hair\" has no name and stays as it is"}));
}

TEST(HeadBinding, FilesBesideTheHeadAreNoted) {
  const Glb head = HeadOf(
      R"("a")", R"(,"images":[{"uri":"skin.png"},{"uri":"data:image/png;base64,AA"},{"bufferView":0}])");
  EXPECT_THAT(Bind({"a"}, head).coverage.notes,
              ElementsAre(Note{Code::Missing, "",
                               "the head refers to \"skin.png\" beside it: keep it beside the output too"}));
}

TEST(HeadBinding, ASkinnedNodeThatCannotTurnIsNoted) {
  const Glb head = Head(R"([{"mesh":0,"skin":0,"name":"Head"},{"name":"HeadBone"}])",
                        "[" + Mesh(R"("a")") + "]", R"(,"skins":[{"joints":[1]}])");
  EXPECT_THAT(Bind({"a"}, head, "Head").coverage.notes,
              ElementsAre(Note{Code::Doubtful, "",
                               "the node \"Head\" has a skinned mesh, which follows only its bones: to turn "
                               "the head, name its bone"}));
  EXPECT_THAT(Bind({"a"}, head, "HeadBone").coverage.notes, IsEmpty());
}

TEST(HeadBinding, AnimationsInTheHeadAreNoted) {
  const auto notes = [](const std::string& animations) {
    return Bind({"a"}, HeadOf(R"("a")", ",\"animations\":" + animations)).coverage.notes;
  };
  EXPECT_THAT(notes("[]"), IsEmpty());
  EXPECT_THAT(
      notes("[{}]"),
      ElementsAre(Note{Code::Doubtful, "", "the head already has an animation: this one is added after it"}));
  EXPECT_THAT(
      notes("[{},{}]"),
      ElementsAre(Note{Code::Doubtful, "", "the head already has 2 animations: this one is added after it"}));
}

// --- Eyes

namespace {

using Names = std::pair<std::string, std::string>;

/// Two eyes, and a mesh with these targets.
Glb WithEyes(const std::string& targets = R"("jawOpen")") {
  return Head(R"([{"name":"Head","mesh":0},{"name":"LeftEye"},{"name":"RightEye"},{"name":"ball"}])",
              "[" + Mesh(targets) + "]");
}

HeadBinding BindEyes(const Glb& head, bool has_eyes, const std::optional<Names>& named = {}) {
  return BindHead(Layout({"jawOpen", "eyeLookUpLeft"}), head, {.head = {}, .eyes = named},
                  {.eyes = has_eyes});
}

std::string ErrorWithEyes(const Names& named) {
  return InputErrorOf(
      [&] { BindHead(Layout({"jawOpen"}), WithEyes(), {.head = "Head", .eyes = named}, {.eyes = true}); });
}

} // namespace

TEST(HeadBinding, NodesWithUsualNamesTurnWithTheEyes) {
  const HeadBinding binding = BindEyes(WithEyes(), true);
  EXPECT_THAT(binding.eye_nodes, testing::Optional(ElementsAre(1, 2)));
  EXPECT_THAT(binding.coverage.eye_nodes, ElementsAre("LeftEye", "RightEye"));
  EXPECT_EQ(BindEyes(WithEyes(), false).eye_nodes, kNone) << "the take does not show where they look";
}

TEST(HeadBinding, WhereMorphTargetsFollowTheEyesTheirNodesDoNot) {
  const Glb head = WithEyes(R"("jawOpen","eyeLookUp_L")");
  EXPECT_EQ(BindEyes(head, true).eye_nodes, kNone);
  const HeadBinding named = BindEyes(head, true, Names("ball", "RightEye"));
  EXPECT_THAT(named.eye_nodes, testing::Optional(ElementsAre(3, 2))) << "unless the user names them";
  EXPECT_THAT(named.coverage.notes,
              ElementsAre(Note{Code::Doubtful, "",
                               "the eyes turn by their nodes, and morph targets follow them as well"}));
}

TEST(HeadBinding, EyeballsWithMeshesOfTheirOwnTurnBesideLidsThatFollow) {
  const std::string meshes = "[" + Mesh(R"("jawOpen","eyeLookUp_L")") + R"(,{"primitives":[{}]}])";
  const Glb balls =
      Head(R"([{"name":"Head","mesh":0},{"name":"LeftEye","mesh":1},{"name":"RightEye","mesh":1}])", meshes);
  EXPECT_THAT(BindEyes(balls, true).eye_nodes, testing::Optional(ElementsAre(1, 2)));
  const HeadBinding named = BindEyes(balls, true, Names("LeftEye", "RightEye"));
  EXPECT_THAT(named.eye_nodes, testing::Optional(ElementsAre(1, 2)));
  EXPECT_THAT(named.coverage.notes, IsEmpty());
  for (const char* other : {R"({"name":"RightEye","mesh":0})", R"({"name":"RightEye"})"}) {
    const Glb head =
        Head(R"([{"name":"Head","mesh":0},{"name":"LeftEye","mesh":1},)" + std::string(other) + "]", meshes);
    EXPECT_EQ(BindEyes(head, true).eye_nodes, kNone) << other;
  }
}

TEST(HeadBinding, NamedEyesAreTwoNodesBesidesTheHead) {
  EXPECT_EQ(ErrorWithEyes({"LeftEye", "Eye"}), "h.glb: no node has the name \"Eye\"; name one of its nodes: "
                                               "\"Head\", \"LeftEye\", \"RightEye\", \"ball\"");
  for (const Names& names : {Names("ball", "ball"), Names("Head", "ball"), Names("ball", "Head")})
    EXPECT_EQ(ErrorWithEyes(names),
              "h.glb: \"" + names.first + "\" and \"" + names.second +
                  "\" are not two nodes besides the head; name the nodes of the left and the right eye");
}

// --- VRM avatars

namespace {

/// An avatar of VRM 1.0: a mesh with these targets, shown by node 1, and these expressions.
Glb AvatarOf(const std::string& targets, const std::string& presets, const std::string& customs = "") {
  return Head(
      R"([{"name":"Neck"},{"mesh":0},{"name":"skull"},{"name":"l"},{"name":"r"}])", "[" + Mesh(targets) + "]",
      R"(,"extensions":{"VRMC_vrm":{"humanoid":{"humanBones":{"head":{"node":2},"leftEye":{"node":3},)"
      R"("rightEye":{"node":4}}},"expressions":{"preset":{)" +
          presets + R"(},"custom":{)" + customs + "}}}}");
}

/// An expression that moves a target of node 1.
std::string Moving(const std::string& name, int target) {
  return "\"" + name + R"(":{"morphTargetBinds":[{"node":1,"weight":0.5,"index":)" + std::to_string(target) +
         "}]}";
}

} // namespace

TEST(HeadBinding, AnAvatarsExpressionsMoveItsTargets) {
  const HeadBinding binding =
      Bind({"aa", "happy"}, AvatarOf(R"("x","y","z")", Moving("aa", 2) + "," + Moving("oh", 1)));
  ASSERT_THAT(binding.nodes, SizeIs(1));
  EXPECT_EQ(binding.nodes[0].node.node, 1u);
  EXPECT_EQ(binding.nodes[0].drivers, nullptr);
  ASSERT_THAT(binding.nodes[0].expressions, SizeIs(1));
  EXPECT_THAT(binding.nodes[0].expressions.at(2), ElementsAre(testing::Pair(0, 0.5)));
  EXPECT_EQ(binding.coverage.driven_expressions, 1u);
  EXPECT_EQ(binding.coverage.driven_targets, 1u);
  EXPECT_THAT(binding.coverage.shapes_without_target, ElementsAre("happy"));
  EXPECT_THAT(binding.coverage.expressions_without_shape, ElementsAre("oh"));
  EXPECT_THAT(binding.coverage.targets_without_shape, IsEmpty());
}

TEST(HeadBinding, WhatAnExpressionMovesDoesNotFollowItsOwnName) {
  const HeadBinding binding =
      Bind({"jawOpen", "browInnerUp"}, AvatarOf(R"("jawOpen","browInnerUp")", "", Moving("JawOpen", 0)));
  ASSERT_THAT(binding.nodes, SizeIs(1));
  EXPECT_THAT(*binding.nodes[0].drivers, ElementsAre(0, 1));
  EXPECT_THAT(binding.nodes[0].expressions, testing::ElementsAre(testing::Key(0)));
  EXPECT_EQ(binding.coverage.driven_targets, 2u);
}

TEST(HeadBinding, TargetsOfAvatarsNeedNoNames) {
  Glb avatar = AvatarOf(R"("x","y")", Moving("aa", 1));
  avatar.json["meshes"][0].erase("extras");
  const HeadBinding binding = Bind({"aa"}, avatar);
  EXPECT_THAT(binding.nodes.at(0).expressions, testing::ElementsAre(testing::Key(1)));
  EXPECT_THAT(binding.coverage.notes, IsEmpty());
}

TEST(HeadBinding, AnAvatarsBonesAreItsHeadAndEyes) {
  const Glb avatar = AvatarOf(R"("x")", Moving("aa", 0));
  const auto bind = [&](const mien::AnimatedParts& animated) {
    return BindHead(Layout({"aa", "lookUp"}), avatar, {}, animated);
  };
  const HeadBinding all = bind({.head = true, .eyes = true});
  EXPECT_EQ(all.head_node, 2u);
  EXPECT_THAT(all.eye_nodes, testing::Optional(ElementsAre(3, 4)));
  EXPECT_THAT(all.coverage.shapes_without_target, IsEmpty()) << "the eyes show lookUp";
  const HeadBinding none = bind({});
  EXPECT_EQ(none.head_node, kNone);
  EXPECT_EQ(none.eye_nodes, kNone);
  EXPECT_THAT(none.coverage.shapes_without_target, ElementsAre("lookUp"));
}

TEST(HeadBinding, AnAvatarOfWhichNothingMovesIsReported) {
  EXPECT_EQ(
      Error(Layout({"jawOpen"}), AvatarOf(R"("x")", Moving("aa", 0))),
      "h.glb: none of the avatar's expressions (\"aa\") has the name of a shape (\"jawOpen\"); name the "
      "character of the presets: --character vrm1");
  EXPECT_EQ(
      Error(Layout({"jawOpen"}), AvatarOf(R"("x")", "")),
      "h.glb: the avatar has no expressions for shapes to drive; give it expressions, and export it again");
}
