#include "host/gltf/morph_targets.h"

#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::Code;
using mien::FindMorphTargets;
using mien::Glb;
using mien::MorphTargets;
using mien::Note;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

MorphTargets Find(const std::string& json) {
  return FindMorphTargets(Glb{nlohmann::ordered_json::parse(json), {}, "", "h.glb"});
}

std::string Error(const std::string& json) {
  return InputErrorOf([&] { Find(json); });
}

/// One mesh of two targets, with `more` members, shown by one node with others.
std::string OneMesh(const std::string& more, const std::string& of_node = "") {
  return R"({"nodes":[{"mesh":0)" + of_node + R"(}],"meshes":[{"primitives":[{"targets":[{},{}]}])" + more +
         "}]}";
}

const std::string kNames = R"(,"extras":{"targetNames":["jawOpen","smile"]})";

} // namespace

TEST(MorphTargets, AreNamedByTheMesh) {
  const MorphTargets found = Find(OneMesh(kNames));
  ASSERT_EQ(found.nodes.size(), 1u);
  EXPECT_EQ(found.nodes[0].node, 0u);
  EXPECT_THAT(*found.nodes[0].targets, ElementsAre("jawOpen", "smile"));
  EXPECT_THAT(*found.nodes[0].defaults, ElementsAre(0, 0));
  EXPECT_THAT(found.notes, IsEmpty());
}

TEST(MorphTargets, AreNamedByTheFirstPrimitiveWhereTheMeshDoesNot) {
  const std::string primitives = R"("primitives":[{"targets":[{}],"extras":{"targetNames":["older"]}}])";
  EXPECT_THAT(Find(R"({"nodes":[{"mesh":0}],"meshes":[{)" + primitives + "}]}").Names(),
              ElementsAre("older"));
  EXPECT_THAT(
      Find(R"({"nodes":[{"mesh":0}],"meshes":[{)" + primitives + R"(,"extras":{"targetNames":["newer"]}}]})")
          .Names(),
      ElementsAre("newer"));
}

TEST(MorphTargets, ExtrasMayBeAnythingElse) {
  for (const std::string extras : {"1", "\"text\"", "null", "[]", "{}", R"({"targetName":[1]})"})
    EXPECT_THAT(Find(OneMesh(",\"extras\":" + extras)).nodes, IsEmpty()) << extras;
}

TEST(MorphTargets, RestAtTheNodesWeightsElseTheMeshsElseAtZero) {
  const std::string of_mesh = kNames + R"(,"weights":[0.25,1])";
  EXPECT_THAT(*Find(OneMesh(of_mesh, R"(,"weights":[-1,0.5])")).nodes[0].defaults, ElementsAre(-1, 0.5));
  EXPECT_THAT(*Find(OneMesh(of_mesh)).nodes[0].defaults, ElementsAre(0.25, 1));
}

TEST(MorphTargets, EveryNodeThatShowsAMeshHasThem) {
  const MorphTargets found = Find(R"({"nodes":[{},{"mesh":1},{"mesh":0},{"mesh":1,"name":"twin"}],"meshes":[
      {"primitives":[{}]},
      {"primitives":[{"targets":[{}]},{"targets":[{}]}],"extras":{"targetNames":["a"]}}]})");
  ASSERT_EQ(found.nodes.size(), 2u);
  EXPECT_EQ(found.nodes[0].node, 1u);
  EXPECT_EQ(found.nodes[1].node, 3u);
}

// Thousands of nodes may show one mesh: each must not have lists of its own.
TEST(MorphTargets, NodesOfEqualTargetsAndWeightsShareTheLists) {
  const std::string mesh = R"({"primitives":[{"targets":[{},{}]}],"extras":{"targetNames":["a","b"]}})";
  const MorphTargets found = Find(R"({"nodes":[{"mesh":0},{"mesh":1},{"mesh":0,"weights":[0,1]},
      {"mesh":1,"weights":[0,1]},{"mesh":0,"weights":[0,0]}],"meshes":[)" +
                                  mesh + "," + mesh + "]}");
  ASSERT_EQ(found.nodes.size(), 5u);
  for (const mien::MorphNode& node : found.nodes) EXPECT_EQ(node.targets, found.nodes[0].targets);
  EXPECT_EQ(found.nodes[1].defaults, found.nodes[0].defaults);
  EXPECT_EQ(found.nodes[3].defaults, found.nodes[2].defaults);
  EXPECT_EQ(found.nodes[4].defaults, found.nodes[0].defaults);
  EXPECT_NE(found.nodes[2].defaults, found.nodes[0].defaults);
}

TEST(MorphTargets, NamesAreEachListedOnce) {
  EXPECT_THAT(Find(R"({"nodes":[{"mesh":0},{"mesh":1}],"meshes":[
      {"primitives":[{"targets":[{},{}]}],"extras":{"targetNames":["b","a"]}},
      {"primitives":[{"targets":[{},{}]}],"extras":{"targetNames":["a","c"]}}]})")
                  .Names(),
              ElementsAre("b", "a", "c"));
}

TEST(MorphTargets, WithoutNamesAreNotedAndLeftAlone) {
  const MorphTargets found = Find(OneMesh(",\"name\":\"Body\""));
  EXPECT_THAT(found.nodes, IsEmpty());
  EXPECT_THAT(found.notes,
              ElementsAre(Note{Code::Ignored, "",
                               "the 2 morph targets of mesh \"Body\" have no names and stay as they are"}));
  EXPECT_THAT(
      Find(R"({"meshes":[{"primitives":[{"targets":[{}]}]}]})").notes,
      ElementsAre(Note{Code::Ignored, "", "the morph target of mesh 0 has no name and stays as it is"}));
}

TEST(MorphTargets, AHeadWithoutAnythingHasNone) {
  EXPECT_THAT(Find("{}").nodes, IsEmpty());
  EXPECT_THAT(Find(R"({"nodes":[],"meshes":[]})").nodes, IsEmpty());
}

TEST(MorphTargets, NamesThatAreNotAsManyAsTheTargetsAreAnError) {
  EXPECT_EQ(Error(OneMesh(R"(,"extras":{"targetNames":["jawOpen"]})")),
            "h.glb:/meshes/0/extras/targetNames: 1 name for 2 morph targets, so that none can be matched; "
            "export the "
            "head again with a name for each target");
  EXPECT_EQ(
      Error(R"({"meshes":[{"primitives":[{"extras":{"targetNames":["a"]}}]}]})"),
      "h.glb:/meshes/0/primitives/0/extras/targetNames: 1 name for 0 morph targets, so that none can be "
      "matched; export the head again with a name for each target");
}

TEST(MorphTargets, PrimitivesWithUnequalTargetsAreAnError) {
  EXPECT_EQ(
      Error(R"({"meshes":[{"primitives":[{"targets":[{},{}]},{"targets":[{},{}]},{"targets":[{}]}]}]})"),
      "h.glb:/meshes/0/primitives/2: this primitive has 1 morph target, and the mesh's first one 2; give "
      "every "
      "material of the mesh the same targets, then export the head again");
}

TEST(MorphTargets, WhatIsFollowedIsChecked) {
  const std::string again = "; export the head again";
  EXPECT_EQ(Error(R"({"nodes":{}})"), "h.glb:/nodes: this is not an array" + again);
  EXPECT_EQ(Error(R"({"nodes":[7]})"), "h.glb:/nodes/0: this is not an object" + again);
  for (const std::string index : {"1", "-1", "0.5", "\"0\"", "18446744073709551615", "1e300", "null", "[0]"})
    EXPECT_EQ(Error(R"({"nodes":[{"mesh":)" + index + R"(}],"meshes":[{"primitives":[]}]})"),
              "h.glb:/nodes/0/mesh: this is not the index of one of the 1 meshes" + again)
        << index;
  EXPECT_EQ(Error(R"({"meshes":[{}]})"), "h.glb:/meshes/0: the member \"primitives\" is missing" + again);
  EXPECT_EQ(Error(R"({"meshes":[{"primitives":[{"targets":1}]}]})"),
            "h.glb:/meshes/0/primitives/0/targets: this is not an array" + again);
  EXPECT_EQ(Error(OneMesh(R"(,"extras":{"targetNames":["a",1]})")),
            "h.glb:/meshes/0/extras/targetNames/1: this is not a string" + again);
  EXPECT_EQ(Error(OneMesh(kNames + R"(,"weights":[0])")),
            "h.glb:/meshes/0/weights: this is not a list of 2 numbers" + again);
  EXPECT_EQ(Error(OneMesh(kNames, R"(,"weights":[0,1e39])")),
            "h.glb:/nodes/0/weights: this is not a list of 2 numbers" + again)
      << "no float holds it";
  EXPECT_EQ(Error(OneMesh(",\"name\":5")), "h.glb:/meshes/0/name: this is not a string" + again);
}

TEST(MorphTargets, ErrorsHaveCodes) {
  EXPECT_EQ(ProblemOf([] { Find(OneMesh(R"(,"extras":{"targetNames":["jawOpen"]})")); }),
            "contradiction at /meshes/0/extras/targetNames");
  EXPECT_EQ(ProblemOf([] { Find(R"({"meshes":[{"primitives":[{"targets":[{},{}]},{"targets":[{}]}]}]})"); }),
            "contradiction at /meshes/0/primitives/1");
}
