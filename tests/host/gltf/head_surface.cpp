#include "host/gltf/head_surface.h"

#include "host/gltf/glb_data.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

using mien::AppendFloats;
using mien::Bounds;
using mien::ElementType;
using mien::Glb;
using mien::HeadSurface;
using mien::Point;
using mien::ReadHeadSurface;
using testing::ElementsAre;
using testing::HasSubstr;

namespace mien {
bool operator==(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }
void PrintTo(const Point& p, std::ostream* out) { *out << p.x << ' ' << p.y << ' ' << p.z; }
} // namespace mien

namespace {

using Json = nlohmann::ordered_json;

/// Two vertices, (1, 2, 3) and (4, 5, 6). Each target moves them along its own way, at accessor 1 and on.
Glb HeadWith(const std::vector<std::string>& names, const std::vector<std::vector<float>>& moved,
             const std::string& nodes = R"([{"mesh":0}])") {
  Glb glb{{{"nodes", Json::parse(nodes)}, {"buffers", {{{"byteLength", 0}}}}}, {}, "", "h.glb"};
  const std::vector<float> rest = {1, 2, 3, 4, 5, 6};
  AppendFloats(glb, rest, ElementType::Vec3, Bounds::With);
  Json targets = Json::array();
  for (const std::vector<float>& way : moved)
    targets.push_back({{"POSITION", AppendFloats(glb, way, ElementType::Vec3, Bounds::With)}});
  Json primitive = {{"attributes", {{"POSITION", 0}}}, {"targets", targets}};
  glb.json["meshes"] =
      Json::array({{{"primitives", Json::array({primitive})}, {"extras", {{"targetNames", names}}}}});
  return glb;
}

const std::vector<float> kFirstUp = {0, 1, 0, 0, 0, 0}, kSecondUp = {0, 0, 0, 0, 1, 0};

std::string Error(const Glb& glb) {
  return InputErrorOf([&] { ReadHeadSurface(glb); });
}

} // namespace

TEST(HeadSurface, HasTheShapesThatAreKnownInTheOrderOfThe52) {
  const HeadSurface surface = ReadHeadSurface(
      HeadWith({"brow_inner_up", "other", "JawOpen"}, {kFirstUp, {9, 9, 9, 9, 9, 9}, kSecondUp}));
  EXPECT_THAT(surface.rest, ElementsAre(Point{1, 2, 3}, Point{4, 5, 6}));
  EXPECT_THAT(surface.shapes, ElementsAre("jawOpen", "browInnerUp"));
  EXPECT_THAT(surface.moved[0], ElementsAre(Point{0, 0, 0}, Point{0, 1, 0}));
  EXPECT_THAT(surface.moved[1], ElementsAre(Point{0, 1, 0}, Point{0, 0, 0}));
}

TEST(HeadSurface, HalvesOfAShapeAreAddedUpAndOfTheSameTwiceTheFirstCounts) {
  const HeadSurface surface =
      ReadHeadSurface(HeadWith({"cheekPuffLeft", "cheekPuffRight", "jawOpen", "jaw_open"},
                               {kFirstUp, kSecondUp, kFirstUp, kSecondUp}));
  EXPECT_THAT(surface.shapes, ElementsAre("jawOpen", "cheekPuff"));
  EXPECT_THAT(surface.moved[0], ElementsAre(Point{0, 1, 0}, Point{0, 0, 0}));
  EXPECT_THAT(surface.moved[1], ElementsAre(Point{0, 1, 0}, Point{0, 1, 0}));
}

TEST(HeadSurface, StandsWhereItsNodesPutIt) {
  const HeadSurface surface = ReadHeadSurface(HeadWith(
      {"jawOpen"}, {kFirstUp},
      R"([{"children":[1],"translation":[10,0,0]},{"mesh":0,"rotation":[0,0,1,0],"scale":[2,3,4]}])"));
  EXPECT_THAT(surface.rest, ElementsAre(Point{8, -6, 12}, Point{2, -15, 24}));
  EXPECT_THAT(surface.moved[0][0], (Point{0, -3, 0}));
}

// Then the node's own place does not count.
TEST(HeadSurface, JointsPutTheirVertices) {
  Glb glb =
      HeadWith({"jawOpen"}, {kSecondUp},
               R"([{"mesh":0,"skin":0,"translation":[99,0,0]},{"translation":[0,0,1]},{"scale":[2,2,2]}])");
  const std::vector<float> joints = {0, 0, 0, 0, 0, 1, 0, 0}, weights = {1, 0, 0, 0, 0.5F, 0.5F, 0, 0};
  const std::vector<float> inverses = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -1, 1,
                                       1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0,  1};
  Json& attributes = glb.json["meshes"][0]["primitives"][0]["attributes"];
  attributes["JOINTS_0"] = AppendFloats(glb, joints, ElementType::Vec4, Bounds::Without);
  attributes["WEIGHTS_0"] = AppendFloats(glb, weights, ElementType::Vec4, Bounds::Without);
  const std::size_t matrices = AppendFloats(glb, inverses, ElementType::Vec4, Bounds::Without);
  glb.json["accessors"][matrices]["type"] = "MAT4";
  glb.json["accessors"][matrices]["count"] = 2;
  glb.json["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", matrices}}};
  const HeadSurface surface = ReadHeadSurface(glb);
  EXPECT_THAT(surface.rest,
              ElementsAre(Point{1, 2, 3}, Point{(4 + 18) / 2.0, (5 + 10) / 2.0, (6 + 12) / 2.0}));
  EXPECT_THAT(surface.moved[0][1], (Point{0, 1.5, 0}));

  glb.json["skins"][0]["joints"] = {1};
  glb.json["skins"][0].erase("inverseBindMatrices");
  EXPECT_THAT(Error(glb), HasSubstr("vertex 1 follows a joint that its skin does not have"));
}

// Such as that of a person among many, which the file sets to 1.
TEST(HeadSurface, OtherTargetsHaveTheirWeightsAtRest) {
  Glb glb = HeadWith({"jawOpen", "Nose_Wide"}, {kFirstUp, {2, 0, 0, 0, 0, 0}});
  glb.json["meshes"][0]["weights"] = {0.5, 0.25};
  EXPECT_THAT(ReadHeadSurface(glb).rest, ElementsAre(Point{1.5, 2, 3}, Point{4, 5, 6})) << "but not jawOpen";
}

TEST(HeadSurface, AMeshMayLackAShapeAndATargetItsPositions) {
  Glb glb =
      HeadWith({"jawOpen", "cheekPuff"}, {kFirstUp, kSecondUp}, R"([{"mesh":0},{"mesh":1},{"mesh":2}])");
  const Json mesh = glb.json["meshes"][0];
  Json still = mesh, other = mesh;
  still["primitives"][0]["targets"][0].erase("POSITION");
  still["extras"]["targetNames"] = {"jawOpen", "mouthLeft"};
  other["extras"]["targetNames"] = {"a", "b"};
  glb.json["meshes"] = {mesh, other, still};
  const HeadSurface surface = ReadHeadSurface(glb);
  EXPECT_EQ(surface.rest.size(), 4u) << "without the mesh of other targets";
  EXPECT_THAT(surface.shapes, ElementsAre("jawOpen", "mouthLeft", "cheekPuff"));
  const Point none, up = {0, 1, 0};
  EXPECT_THAT(surface.moved[0], ElementsAre(up, none, none, none));
  EXPECT_THAT(surface.moved[1], ElementsAre(none, none, none, up));
  EXPECT_THAT(surface.moved[2], ElementsAre(none, up, none, none));
}

TEST(HeadSurface, RefusesWhatIsNotAHeadWithShapes) {
  EXPECT_EQ(Error(HeadWith({"a", "b"}, {kFirstUp, kFirstUp})),
            "h.glb: none of the head's morph targets means one of the 52 shapes: \"a\", \"b\"; export a head "
            "whose shape keys have the names of the 52, such as jawOpen");
  EXPECT_THAT(Error(HeadWith({}, {})), HasSubstr("the head has no morph targets with names"));

  Glb glb = HeadWith({"jawOpen"}, {kFirstUp});
  Glb without = glb;
  without.json["meshes"][0]["primitives"][0]["attributes"].erase("POSITION");
  EXPECT_EQ(Error(without), "h.glb:/meshes/0/primitives/0/attributes: the member \"POSITION\" is missing; "
                            "export the head again");
  Glb compressed = glb;
  compressed.json["accessors"][0].erase("bufferView");
  EXPECT_THAT(Error(compressed), HasSubstr("/accessors/0: the data is not in this file, or is compressed"));
  Glb huge = glb;
  huge.json["accessors"][0]["count"] = 500'001;
  EXPECT_THAT(Error(huge), HasSubstr("more than 500000 vertices"));
  Glb empty = glb;
  empty.json["accessors"][0]["count"] = empty.json["accessors"][1]["count"] = 0;
  EXPECT_THAT(Error(empty), HasSubstr("have no vertices"));
  Glb far = HeadWith({"jawOpen"}, {kFirstUp},
                     R"([{"mesh":0,"scale":[1e38,1,1]},{"children":[0],"scale":[1e38,1,1]},
                         {"children":[1],"scale":[1e38,1,1]},{"children":[2],"scale":[1e38,1,1]},
                         {"children":[3],"scale":[1e38,1,1]},{"children":[4],"scale":[1e38,1,1]},
                         {"children":[5],"scale":[1e38,1,1]},{"children":[6],"scale":[1e38,1,1]},
                         {"children":[7],"scale":[1e38,1,1]}])");
  EXPECT_THAT(Error(far), HasSubstr("infinitely far away"));
  std::string many = R"([{"mesh":0})";
  for (int i = 0; i < 200; ++i) many += R"(,{"mesh":0})";
  EXPECT_THAT(Error(HeadWith({"jawOpen"}, {kFirstUp}, many + "]")),
              HasSubstr("/nodes/200: with this more than 200 nodes"));
}
