#include "host/gltf/node_tree.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>

using mien::AppendNode;
using mien::AxesOfParents;
using mien::ClusterTransform;
using mien::Glb;
using mien::NodesByName;
using mien::ReplaceMatrix;
using mien::TransformOfNode;
using testing::ElementsAre;
using testing::Pair;

namespace {

Glb Nodes(const std::string& nodes) {
  return {nlohmann::ordered_json::parse("{\"nodes\":" + nodes + "}"), {}, "", "h.glb"};
}

/// The columns of a matrix, to the rounding of a few operations.
template <class Matrix>
void ExpectColumns(const Matrix& matrix, const double (&columns)[3][3]) {
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      EXPECT_NEAR(matrix.m[column][row], columns[column][row], 1e-12) << column << ' ' << row;
}

std::string ErrorOfMatrix(const std::string& matrix) {
  return InputErrorOf([&] { TransformOfNode(Nodes("[{\"matrix\":" + matrix + "}]"), 0); });
}

} // namespace

TEST(NodeTree, NodesAreFoundByName) {
  EXPECT_THAT(NodesByName(Nodes(R"([{"name":"b"},{},{"name":"a"},{"name":"b"}])")),
              ElementsAre(Pair("a", ElementsAre(2)), Pair("b", ElementsAre(0, 3))));
  EXPECT_EQ(InputErrorOf([] { NodesByName(Nodes(R"([{"name":{}}])")); }),
            "h.glb:/nodes/0/name: this is not a string; export the head again");
}

TEST(NodeTree, ANodeStandsWhereItsTransformSays) {
  const ClusterTransform at =
      TransformOfNode(Nodes(R"([{"translation":[1,2,3],"rotation":[0,0,0.6,0.8],"scale":[4,-5,6]}])"), 0);
  EXPECT_EQ(at.translation, (VgeTVector{1, 2, 3}));
  EXPECT_EQ(at.scale, VgeSVector(4, -5, 6));
  ExpectColumns(at.rotation, {{0.28, 0.96, 0}, {-0.96, 0.28, 0}, {0, 0, 1}});
  EXPECT_EQ(TransformOfNode(Nodes("[{}]"), 0).translation, (VgeTVector{0, 0, 0}));
}

TEST(NodeTree, AMatrixIsSplit) {
  const ClusterTransform at =
      TransformOfNode(Nodes(R"([{"matrix":[0,2,0,0, -3,0,0,0, 0,0,4,0, 5,6,7,1]}])"), 0);
  EXPECT_EQ(at.translation, (VgeTVector{5, 6, 7}));
  EXPECT_EQ(at.scale, VgeSVector(2, 3, 4));
  ExpectColumns(at.rotation, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}});
}

TEST(NodeTree, AMirroringMatrixHasANegativeScaleAndAProperRotation) {
  const ClusterTransform at =
      TransformOfNode(Nodes(R"([{"matrix":[0,2,0,0, 3,0,0,0, 0,0,4,0, 0,0,0,1]}])"), 0);
  EXPECT_EQ(at.scale, VgeSVector(-2, 3, 4));
  ExpectColumns(at.rotation, {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}); // times the scale: the matrix again
}

TEST(NodeTree, ReplacingAMatrixKeepsThePlaceAndEverythingElse) {
  Glb glb =
      Nodes(R"([{"name":"x"},{"name":"y","matrix":[0,2,0,0, -3,0,0,0, 0,0,4,0, 5,6,7,1],"extras":[1]}])");
  const ClusterTransform before = TransformOfNode(glb, 1);
  ReplaceMatrix(glb, 1);
  EXPECT_FALSE(glb.json["nodes"][1].contains("matrix"));
  EXPECT_EQ(glb.json["nodes"][1]["extras"], nlohmann::ordered_json::array({1}));
  const ClusterTransform after = TransformOfNode(glb, 1);
  EXPECT_EQ(after.translation, before.translation);
  EXPECT_EQ(after.scale, before.scale);
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      EXPECT_NEAR(after.rotation.m[column][row], before.rotation.m[column][row], 1e-15);

  const auto untouched = glb.json;
  ReplaceMatrix(glb, 0);
  ReplaceMatrix(glb, 1);
  EXPECT_EQ(glb.json, untouched) << "without a matrix there is nothing to replace";
}

TEST(NodeTree, MatricesThatCannotBeSplitAreErrors) {
  EXPECT_EQ(
      ErrorOfMatrix("[1,0,0,0, 0.1,1,0,0, 0,0,1,0, 0,0,0,1]"),
      "h.glb:/nodes/0/matrix: this matrix shears its node, which no rotation and scale can express; apply "
      "the node's "
      "transform in the program that made the head and export it again");
  EXPECT_EQ(ErrorOfMatrix("[1,0,0,0, 0,0,0,0, 0,0,1,0, 0,0,0,1]"),
            "h.glb:/nodes/0/matrix: this matrix scales its node to 0 along an axis, so that it cannot be "
            "turned; give the "
            "node a scale "
            "other than 0 and export the head again");
  for (const char* matrix : {"[]", "1", "[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,\"1\"]", "{}"})
    EXPECT_EQ(ErrorOfMatrix(matrix),
              "h.glb:/nodes/0/matrix: this is not a list of 16 numbers; export the head again");
}

TEST(NodeTree, SixDigitsOfPrecisionAreNotShear) {
  EXPECT_EQ(ErrorOfMatrix("[0.866025,0.5,0,0, -0.500001,0.866025,0,0, 0,0,1,0, 0,0,0,1]"), "no InputError");
}

TEST(NodeTree, InvalidTransformsAreErrors) {
  const auto error = [](const std::string& node) {
    return InputErrorOf([&] { TransformOfNode(Nodes("[" + node + "]"), 0); });
  };
  EXPECT_EQ(error(R"({"rotation":[0,0,0,0]})"),
            "h.glb:/nodes/0/rotation: this is not a rotation: the quaternion is 0; export the head again");
  EXPECT_EQ(error(R"({"translation":[0,0]})"),
            "h.glb:/nodes/0/translation: this is not a list of 3 numbers; export the head again");
  EXPECT_EQ(error(R"({"scale":"big"})"),
            "h.glb:/nodes/0/scale: this is not a list of 3 numbers; export the head again");
  EXPECT_EQ(error(R"({"matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1],"scale":[1,1,1]})"),
            "h.glb:/nodes/0: this node has both a matrix and a translation, rotation or scale; export the "
            "head again");
}

TEST(NodeTree, AnAppendedNodeStandsWhereItWasPut) {
  Glb glb = Nodes(R"([{"name":"a"}])");
  ClusterTransform transform;
  transform.translation = {1, 2, 3};
  transform.scale = VgeSVector(4, -5, 6);
  EXPECT_EQ(AppendNode(glb, "b", transform), 1u);
  EXPECT_EQ(glb.json["nodes"].dump(),
            R"([{"name":"a"},{"name":"b","translation":[1.0,2.0,3.0],"rotation":[0.0,0.0,0.0,1.0],)"
            R"("scale":[4.0,-5.0,6.0]}])");
  transform.rotation = TransformOfNode(Nodes(R"([{"rotation":[0,0,0.6,0.8]}])"), 0).rotation;
  const std::size_t turned = AppendNode(glb, "c", transform);
  ExpectColumns(TransformOfNode(glb, turned).rotation, {{0.28, 0.96, 0}, {-0.96, 0.28, 0}, {0, 0, 1}});
}

TEST(NodeTree, ParentsTurnWhatIsBelowThem) {
  const double h = std::sqrt(0.5);
  const std::string quarter = std::to_string(h) + "," + std::to_string(h);
  // x to y by the outer one, then y to z by the inner one.
  const Glb glb = Nodes(R"([{"children":[1],"rotation":[0,0,)" + quarter +
                        R"(]},{"children":[2],"rotation":[)" + std::to_string(h) + ",0,0," +
                        std::to_string(h) + R"(],"scale":[7,7,7]},{"rotation":[1,0,0,0]}])");
  ExpectColumns(AxesOfParents(glb, 2), {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}});
  ExpectColumns(AxesOfParents(glb, 0), {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
}

TEST(NodeTree, AMirroringParentMirrorsTheAxes) {
  ExpectColumns(AxesOfParents(Nodes(R"([{"children":[1],"scale":[-2,2,2]},{}])"), 1),
                {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
  ExpectColumns(
      AxesOfParents(Nodes(R"([{"children":[1],"matrix":[1,0,0,0, 0,1,0,0, 0,0,-1,0, 0,0,0,1]},{}])"), 1),
      {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}});
}

TEST(NodeTree, CirclesAndForeignChildrenAreErrors) {
  const auto error = [](const std::string& nodes, std::size_t node) {
    return InputErrorOf([&] { AxesOfParents(Nodes(nodes), node); });
  };
  EXPECT_EQ(error(R"([{"children":[0]}])", 0),
            "h.glb:/nodes/0: this node is its own ancestor; export the head again");
  EXPECT_EQ(error(R"([{"children":[1]},{"children":[0,2]},{}])", 2),
            "h.glb:/nodes/2: this node is its own ancestor; export the head again");
  EXPECT_EQ(error(R"([{"children":[2]},{"children":[2]},{}])", 2),
            "h.glb:/nodes/1/children/0: this node is already a child of node 0; export the head again");
  EXPECT_EQ(error(R"([{"children":[1]}])", 0),
            "h.glb:/nodes/0/children/0: this is not the index of one of the 1 nodes; export the head again");
}

TEST(NodeTree, ALongLineOfParentsIsWalkedWithoutRecursion) {
  constexpr std::size_t kDeep = 100'000;
  auto nodes = nlohmann::ordered_json::array();
  for (std::size_t n = 0; n + 1 < kDeep; ++n) nodes.push_back({{"children", {n + 1}}});
  nodes.push_back(nlohmann::ordered_json::object());
  const Glb glb{{{"nodes", nodes}}, {}, "", "h.glb"};
  ExpectColumns(AxesOfParents(glb, kDeep - 1), {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
}

TEST(NodeTree, ErrorsHaveCodes) {
  const auto of_node = [](const std::string& node) {
    return ProblemOf([&] { TransformOfNode(Nodes("[" + node + "]"), 0); });
  };
  EXPECT_EQ(of_node(R"({"matrix":[1,0,0,0, 0.1,1,0,0, 0,0,1,0, 0,0,0,1]})"),
            "invalid-value at /nodes/0/matrix");
  EXPECT_EQ(of_node(R"({"matrix":[1,0,0,0, 0,0,0,0, 0,0,1,0, 0,0,0,1]})"),
            "invalid-value at /nodes/0/matrix");
  EXPECT_EQ(of_node(R"({"rotation":[0,0,0,0]})"), "invalid-value at /nodes/0/rotation");
  EXPECT_EQ(of_node(R"({"matrix":[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1],"scale":[1,1,1]})"),
            "contradiction at /nodes/0");
  const auto of_parents = [](const std::string& nodes, std::size_t node) {
    return ProblemOf([&] { AxesOfParents(Nodes(nodes), node); });
  };
  EXPECT_EQ(of_parents(R"([{"children":[0]}])", 0), "contradiction at /nodes/0");
  EXPECT_EQ(of_parents(R"([{"children":[2]},{"children":[2]},{}])", 2), "duplicate at /nodes/1/children/0");
}

TEST(NodeTree, ANodesPlaceInTheSceneIsThatOfItsAncestorsAndItsOwn) {
  const Glb glb = Nodes(R"([{"translation":[1,0,0],"children":[1]},{"rotation":[0,0,0.6,0.8],"scale":[2,3,4],
                             "children":[2]},{"translation":[0,1,0],"scale":[1,1,-1]},{}])");
  mien::ScenePlaces places(glb);
  ExpectColumns(places.Of(2), {{0.56, 1.92, 0}, {-2.88, 0.84, 0}, {0, 0, -4}});
  EXPECT_NEAR(places.Of(2).m[3][0], 1 - 2.88, 1e-12);
  EXPECT_NEAR(places.Of(2).m[3][1], 0.84, 1e-12);
  EXPECT_EQ(places.Of(0).m[3][0], 1);
  ExpectColumns(places.Of(3), {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
  const Glb circle = Nodes(R"([{"children":[1]},{"children":[0]}])");
  EXPECT_EQ(InputErrorOf([&] { mien::ScenePlaces(circle).Of(0); }),
            "h.glb:/nodes/0: this node is its own ancestor; export the head again");
}
