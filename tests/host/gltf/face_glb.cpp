#include "host/gltf/face_glb.h"

#include "host/base/face_parts.h"
#include "host/character/character_file.h"
#include "host/gltf/face_mesh.h"
#include "tests/host/glb_curves.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

using mien::Character;
using mien::Code;
using mien::FaceGlb;
using mien::FaceMesh;
using mien::Glb;
using mien::LoadCharacter;
using mien::MakeFaceGlb;
using mien::MakeFaceMesh;
using mien::Note;
using mien::ReadCharacter;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using tests::Floats;
using tests::Json;
using tests::Number;

namespace {

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

std::vector<float> Flat(const std::vector<FaceMesh::Vector>& vectors) {
  std::vector<float> flat;
  for (const auto& v : vectors) flat.insert(flat.end(), v.begin(), v.end());
  return flat;
}

} // namespace

TEST(FaceGlb, IsTheMeshPieceByPiece) {
  const Glb glb = MakeFaceGlb(nullptr).glb;
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
  const Glb glb = MakeFaceGlb(nullptr).glb;
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

TEST(FaceGlb, TheFirstSceneShowsTheFace) {
  const Glb glb = MakeFaceGlb(nullptr).glb;
  EXPECT_EQ(glb.json["scene"], 0);
  EXPECT_EQ(glb.json["scenes"][0]["nodes"], Json::array({0}));
  EXPECT_EQ(glb.json["nodes"][0]["name"], "mien");
  EXPECT_EQ(glb.json["nodes"][0]["children"], Json::array({1}));
  EXPECT_EQ(glb.json["nodes"][1]["name"], "face");
  EXPECT_EQ(glb.json["nodes"][1]["mesh"], 0);
}

TEST(FaceGlb, WithoutACharacterHasATargetForEachTemplate) {
  std::vector<std::string> names;
  for (const auto& column : mien::TemplateColumns()) names.push_back(column.name);
  const FaceGlb face = MakeFaceGlb(nullptr);
  EXPECT_FALSE(face.has_shapes);
  EXPECT_THAT(TargetNames(face.glb), ElementsAreArray(names));
  EXPECT_EQ(face.glb.json["meshes"][0]["weights"], Json(std::vector<double>(names.size(), 0.0)));
}

TEST(FaceGlb, ShapesThatShareATemplateShowItTogether) {
  // Whistle: 2 * (2 / 5) + 1 * (1 / 5) = 1. "pout" also has all of Open.
  const Character character =
      CharacterOf(R"(["still","pout","kiss","anti"])",
                  R"({"Mouth":{"Whistle":{"pout":2,"kiss":1,"anti":-1},"Open":{"pout":0.5}}})");
  const FaceGlb face = MakeFaceGlb(&character);
  EXPECT_THAT(TargetNames(face.glb), ElementsAre("pout", "kiss"));
  EXPECT_THAT(face.shapes_without_target, ElementsAre("still", "anti"));
  EXPECT_THAT(face.notes, IsEmpty());
  const FaceMesh mesh = MakeFaceMesh();
  for (std::size_t p = 0; p < mesh.pieces.size(); ++p) {
    const auto open = Flat(mesh.pieces[p].displacements[0]), whistle = Flat(mesh.pieces[p].displacements[1]);
    const auto pout = Displacement(face.glb, p, 0), kiss = Displacement(face.glb, p, 1);
    for (std::size_t i = 0; i < open.size(); ++i) {
      constexpr float kRounding = 1e-8f; // of floats below 0.1
      EXPECT_NEAR(pout[i], 2.f / 5 * whistle[i] + 2 * open[i], kRounding);
      EXPECT_NEAR(kiss[i], 1.f / 5 * whistle[i], kRounding);
      EXPECT_NEAR(2 * (pout[i] - 2 * open[i]) + kiss[i], whistle[i], kRounding);
    }
  }
}

TEST(FaceGlb, ACharacterThatNoTemplateMovesIsShownByTemplates) {
  const Character character = CharacterOf(R"(["still"])", "{}");
  const FaceGlb face = MakeFaceGlb(&character);
  EXPECT_FALSE(face.has_shapes);
  EXPECT_EQ(face.glb.json, MakeFaceGlb(nullptr).glb.json);
  EXPECT_THAT(face.shapes_without_target, ElementsAre("still"));
  EXPECT_THAT(
      face.notes,
      ElementsAre(Note{Code::Unmatched, "",
                       "no template produces a shape of the character: the face shows the templates"}));
}

TEST(FaceGlb, TheBuiltInCharacterHasAFaceForWhatItDrives) {
  const Character arkit = LoadCharacter("arkit52");
  const FaceGlb face = MakeFaceGlb(&arkit);
  EXPECT_EQ(TargetNames(face.glb).size() + face.shapes_without_target.size(), 52u);
  EXPECT_THAT(TargetNames(face.glb), testing::Contains("jawOpen"));
  EXPECT_THAT(face.shapes_without_target, testing::Contains("tongueOut"));
}

TEST(FaceGlb, PiecesThatATargetDoesNotMoveShareOneListOfZeros) {
  const Glb glb = MakeFaceGlb(nullptr).glb;
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
