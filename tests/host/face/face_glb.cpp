#include "host/face/face_glb.h"

#include "host/animation/eye_nodes.h"
#include "host/base/face_parts.h"
#include "host/character/character_file.h"
#include "host/face/face_mesh.h"
#include "host/gltf/accessors.h"
#include "host/gltf/head_surface.h"
#include "tests/host/glb_curves.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using mien::Character;
using mien::Code;
using mien::FaceGlb;
using mien::FaceMesh;
using mien::Glb;
using mien::kArkitNames;
using mien::LoadCharacter;
using mien::MakeFaceGlb;
using mien::MakeFaceMesh;
using mien::MakeMorph;
using mien::Morph;
using mien::Note;
using mien::ReadCharacter;
using mien::ShapeShare;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using tests::Json;
using tests::Number;
using Half = mien::ArkitMatch::Half;

namespace {

Character CharacterOf(const std::string& shapes, const std::string& templates,
                      const std::string& range = "") {
  return ReadCharacter(R"({"format":"mien character 1","name":"C",)" + range + R"("parts":{"p":{"shapes":)" +
                           shapes + R"(}},"templates":)" + templates + "}",
                       "c.json");
}

const FaceGlb& Templates() {
  static const FaceGlb face = MakeFaceGlb(nullptr);
  return face;
}

const FaceGlb& Arkit() {
  static const Character character = LoadCharacter("arkit52");
  static const FaceGlb face = MakeFaceGlb(&character);
  return face;
}

const FaceMesh& Mesh() {
  static const FaceMesh mesh = MakeFaceMesh();
  return mesh;
}

std::vector<std::string> TargetNames(const Glb& glb) {
  return glb.json["meshes"][0]["extras"]["targetNames"].get<std::vector<std::string>>();
}

std::vector<double> Numbers(const Glb& glb, const mien::JsonAt& object, const char* key) {
  return mien::Accessors(glb).Numbers(object.At(key), 3);
}

mien::JsonAt Primitive(const Glb& glb, std::size_t mesh, std::size_t piece) {
  return mien::JsonAt(glb).At("meshes").Element(mesh).At("primitives").Element(piece);
}

/// What a morph target does to a piece of the head: x, y and z of each vertex.
std::vector<double> Displacement(const Glb& glb, std::size_t piece, std::size_t target) {
  const mien::JsonAt positions = Primitive(glb, 0, piece).At("targets").Element(target).At("POSITION");
  return mien::Accessors(glb).Numbers(positions, 3, Mesh().head[piece].positions.size());
}

std::size_t Target(const Glb& glb, const std::string& name) {
  const auto names = TargetNames(glb);
  return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

std::size_t Shape(std::string_view name) {
  return static_cast<std::size_t>(std::find(kArkitNames.begin(), kArkitNames.end(), name) -
                                  kArkitNames.begin());
}

// Half a step of 1/32767 m, and what is too small to be stored.
constexpr double kStored = 0.5 / 32767 + 1e-9, kLeft = 6.1e-5;

/// Expects that a target shows these shares of the 52, piece by piece.
void ExpectShares(const Glb& glb, const std::string& target, const std::vector<ShapeShare>& shares) {
  ASSERT_LT(Target(glb, target), TargetNames(glb).size()) << target;
  double most = 0;
  for (std::size_t p = 0; p < Mesh().head.size(); ++p) {
    const std::vector<double> stored = Displacement(glb, p, Target(glb, target));
    const Morph morph = MakeMorph(Mesh().head[p], shares);
    for (std::size_t i = 0; i < stored.size(); ++i) {
      const double expected = static_cast<double>(morph.positions[i / 3][i % 3]);
      ASSERT_NEAR(stored[i], expected, stored[i] == 0 ? kLeft : kStored) << target << ' ' << p << ' ' << i;
      most = std::max(most, std::abs(stored[i]));
    }
  }
  EXPECT_GT(most, 0.001) << target;
}

} // namespace

TEST(FaceGlb, IsTheMeshPieceByPieceAroundThePivotOfTheHead) {
  const Glb& glb = Templates().glb;
  const std::vector<double> pivot =
      glb.json["nodes"][FaceGlb::kFace]["translation"].get<std::vector<double>>();
  ASSERT_EQ(glb.json["meshes"][0]["primitives"].size(), Mesh().head.size());
  const auto expect_piece = [&](const mien::JsonAt& primitive, const FaceMesh::Piece& piece,
                                const std::vector<double>& at) {
    const mien::JsonAt attributes = primitive.At("attributes");
    const std::vector<double> positions = Numbers(glb, attributes, "POSITION"),
                              normals = Numbers(glb, attributes, "NORMAL");
    ASSERT_EQ(positions.size(), 3 * piece.positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
      EXPECT_NEAR(positions[i] + at[i % 3], static_cast<double>(piece.positions[i / 3][i % 3]), 2 * kStored);
      EXPECT_NEAR(normals[i], static_cast<double>(piece.normals[i / 3][i % 3]), kStored);
    }
    const std::vector<double> colours =
        mien::Accessors(glb).Numbers(attributes.At("COLOR_0"), 4, piece.colours.size());
    for (std::size_t i = 0; i < colours.size(); ++i)
      EXPECT_NEAR(colours[i], i % 4 == 3 ? 1 : piece.colours[i / 4][i % 4] / 255.0, 1e-12);
    const Json& material = glb.json["materials"][Number(primitive.At("material").Value())];
    EXPECT_EQ(material["name"], piece.material);
    const Json& indices = glb.json["accessors"][Number(primitive.At("indices").Value())];
    ASSERT_EQ(indices["count"], piece.triangles.size());
    const std::size_t offset = Number(glb.json["bufferViews"][Number(indices["bufferView"])]["byteOffset"]);
    for (std::size_t i = 0; i < piece.triangles.size(); ++i)
      ASSERT_EQ(static_cast<unsigned char>(glb.binary[offset + 2 * i]) |
                    static_cast<unsigned char>(glb.binary[offset + 2 * i + 1]) << 8,
                piece.triangles[i]);
  };
  for (std::size_t p = 0; p < Mesh().head.size(); ++p)
    expect_piece(Primitive(glb, 0, p), Mesh().head[p], pivot);
  expect_piece(Primitive(glb, 1, 0), Mesh().eye, {0, 0, 0});
  expect_piece(Primitive(glb, 2, 0), Mesh().neck, {0, 0, 0});
  EXPECT_FALSE(glb.json.contains("animations"));
}

TEST(FaceGlb, TheSceneIsAHeadWithEyesAndANeckThatStays) {
  const Glb& glb = Templates().glb;
  const Json& nodes = glb.json["nodes"];
  EXPECT_EQ(glb.json["scenes"][0]["nodes"], Json::array({FaceGlb::kRoot}));
  ASSERT_THAT(nodes, SizeIs(5));
  EXPECT_EQ(nodes[FaceGlb::kRoot]["name"], "mien");
  EXPECT_EQ(nodes[FaceGlb::kRoot]["children"], Json::array({FaceGlb::kFace, FaceGlb::kBust}));
  EXPECT_EQ(nodes[FaceGlb::kFace]["name"], "face");
  EXPECT_EQ(nodes[FaceGlb::kFace]["mesh"], 0);
  EXPECT_EQ(nodes[FaceGlb::kFace]["children"], Json::array({FaceGlb::kLeftEye, FaceGlb::kRightEye}));
  EXPECT_EQ(nodes[FaceGlb::kBust]["name"], "bust");
  EXPECT_EQ(nodes[FaceGlb::kBust]["mesh"], 2);
  const auto eyes = mien::FindEyeNodes(glb);
  ASSERT_TRUE(eyes) << "by the rules for any head";
  EXPECT_EQ((*eyes)[0], FaceGlb::kLeftEye);
  EXPECT_EQ((*eyes)[1], FaceGlb::kRightEye);
  for (std::size_t eye = 0; eye < 2; ++eye)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double at = nodes[(*eyes)[eye]]["translation"][axis].get<double>() +
                        nodes[FaceGlb::kFace]["translation"][axis].get<double>();
      EXPECT_NEAR(at, static_cast<double>(Mesh().eyes[eye][axis]), 1e-8); // a float's rounding
    }
}

TEST(FaceGlb, IsBelowAMegabyte) {
  for (const FaceGlb* face : {&Arkit(), &Templates()}) {
    std::ostringstream out;
    WriteGlb(face->glb, out);
    EXPECT_LT(out.str().size(), 1'000'000u);
  }
}

TEST(FaceGlb, WithoutACharacterHasATargetForEachTemplate) {
  std::vector<std::string> names;
  for (const auto& column : mien::TemplateColumns()) names.push_back(column.name);
  EXPECT_FALSE(Templates().has_shapes);
  EXPECT_THAT(TargetNames(Templates().glb), ElementsAreArray(names));
  EXPECT_EQ(Templates().glb.json["meshes"][0]["weights"], Json(std::vector<double>(names.size(), 0.0)));
}

TEST(FaceGlb, TemplatesLookLikeTheShapesThatPhonesHaveForThem) {
  const auto one = [](std::string_view shape) { return std::vector<ShapeShare>{{Shape(shape), 1}}; };
  const Glb& glb = Templates().glb;
  ExpectShares(glb, "Mouth.Open", one("jawOpen"));
  ExpectShares(glb, "Mouth.Whistle", {{Shape("mouthPucker"), 0.8}, {Shape("mouthFunnel"), 0.4}});
  ExpectShares(glb, "Mouth.CornersUpL", one("mouthSmileLeft"));
  ExpectShares(glb, "Mouth.CornersUpR", one("mouthSmileRight"));
  ExpectShares(glb, "Mouth.CornersDownL", one("mouthFrownLeft"));
  ExpectShares(glb, "Mouth.CornersDownR", one("mouthFrownRight"));
  ExpectShares(glb, "Mouth.Square",
               {{Shape("mouthUpperUpLeft"), 1},
                {Shape("mouthUpperUpRight"), 1},
                {Shape("mouthLowerDownLeft"), 1},
                {Shape("mouthLowerDownRight"), 1}});
  for (const bool right : {false, true}) {
    const std::string side = right ? "Right" : "Left";
    const Half half = right ? Half::Right : Half::Left;
    ExpectShares(glb, side + "Brow.Up", {{Shape("browOuterUp" + side), 1}, {Shape("browInnerUp"), 1, half}});
    ExpectShares(glb, side + "Brow.Down", one("browDown" + side));
    ExpectShares(glb, side + "Eye.Close", one("eyeBlink" + side));
    ExpectShares(glb, side + "Eye.Squint", one("eyeSquint" + side));
    ExpectShares(glb, side + "Eye.WideOpen", one("eyeWide" + side));
    ExpectShares(glb, side + "Cheek.Up", one("cheekSquint" + side));
    ExpectShares(glb, side + "Cheek.Out", {{Shape("cheekPuff"), 1, half}});
    ExpectShares(glb, side + "Nostril.Up", one("noseSneer" + side));
  }
}

TEST(FaceGlb, TheBuiltInCharacterHasATargetForEachOfThe52) {
  EXPECT_TRUE(Arkit().has_shapes);
  EXPECT_THAT(TargetNames(Arkit().glb), ElementsAreArray(LoadCharacter("arkit52").Shapes()));
  EXPECT_THAT(Arkit().shapes_without_target, IsEmpty());
  EXPECT_THAT(Arkit().notes, IsEmpty());
  for (const std::string_view name : kArkitNames)
    ExpectShares(Arkit().glb, std::string(name), {{Shape(name), 1}});
}

TEST(FaceGlb, ShapesThatMeanOneOfThe52LookLikeItAtTheLimitOfTheWeights) {
  const Character character =
      CharacterOf(R"(["Jaw_Open","browInnerUp_L","blob"])", "{}", R"("range":[0,100],)");
  const FaceGlb face = MakeFaceGlb(&character);
  EXPECT_THAT(TargetNames(face.glb), ElementsAre("Jaw_Open", "browInnerUp_L"));
  EXPECT_THAT(face.shapes_without_target, ElementsAre("blob"));
  const Morph jaw = MakeMorph(Mesh().head[0], std::vector<ShapeShare>{{Shape("jawOpen"), 0.01}});
  const Morph brow =
      MakeMorph(Mesh().head[0], std::vector<ShapeShare>{{Shape("browInnerUp"), 0.01, Half::Left}});
  for (std::size_t t = 0; t < 2; ++t) {
    const std::vector<double> stored = Displacement(face.glb, 0, t);
    double most = 0;
    for (std::size_t i = 0; i < stored.size(); ++i) {
      EXPECT_NEAR(stored[i], static_cast<double>((t == 0 ? jaw : brow).positions[i / 3][i % 3]), kLeft);
      most = std::max(most, std::abs(stored[i]));
    }
    EXPECT_GT(most, 6e-5);
  }
}

TEST(FaceGlb, OtherShapesThatShareATemplateShowItTogether) {
  // Whistle: 2 * (2 / 5) + 1 * (1 / 5) = 1. "pout" also has all of Open.
  const Character character =
      CharacterOf(R"(["still","pout","kiss","anti"])",
                  R"({"Mouth":{"Whistle":{"pout":2,"kiss":1,"anti":-1},"Open":{"pout":0.5}}})");
  const FaceGlb face = MakeFaceGlb(&character);
  EXPECT_THAT(TargetNames(face.glb), ElementsAre("pout", "kiss"));
  EXPECT_THAT(face.shapes_without_target, ElementsAre("still", "anti"));
  EXPECT_THAT(face.notes, IsEmpty());
  ExpectShares(
      face.glb, "pout",
      {{Shape("jawOpen"), 2}, {Shape("mouthPucker"), 0.8 * 2 / 5}, {Shape("mouthFunnel"), 0.4 * 2 / 5}});
  ExpectShares(face.glb, "kiss", {{Shape("mouthPucker"), 0.8 / 5}, {Shape("mouthFunnel"), 0.4 / 5}});
}

TEST(FaceGlb, WithoutLimitsShapesOfUsualNamesFollowTheTemplatesToo) {
  const Character character = CharacterOf(R"(["jawOpen"])", R"({"Mouth":{"Open":{"jawOpen":50}}})");
  const Morph share = MakeMorph(Mesh().head[0], std::vector<ShapeShare>{{Shape("jawOpen"), 0.02}});
  const FaceGlb face = MakeFaceGlb(&character);
  const std::vector<double> stored = Displacement(face.glb, 0, 0);
  for (std::size_t i = 0; i < stored.size(); ++i)
    EXPECT_NEAR(stored[i], static_cast<double>(share.positions[i / 3][i % 3]), kLeft);
}

TEST(FaceGlb, ACharacterThatNothingMovesIsShownByTemplates) {
  const Character character = CharacterOf(R"(["still"])", "{}");
  const FaceGlb face = MakeFaceGlb(&character);
  EXPECT_FALSE(face.has_shapes);
  EXPECT_EQ(face.glb.json, Templates().glb.json);
  EXPECT_THAT(face.shapes_without_target, ElementsAre("still"));
  EXPECT_THAT(
      face.notes,
      ElementsAre(Note{Code::Unmatched, "",
                       "no template produces a shape of the character: the face shows the templates"}));
}

// The last head is kept, and a program may change what it got.
TEST(FaceGlb, IsTheSameEachTimeWhateverWasMadeBefore) {
  const auto text = [](const Character* character) {
    std::ostringstream out;
    FaceGlb face = MakeFaceGlb(character);
    WriteGlb(face.glb, out);
    face.glb.json["meshes"].clear();
    return out.str();
  };
  const Character arkit = LoadCharacter("arkit52");
  const std::string templates = text(nullptr), shapes = text(&arkit);
  EXPECT_NE(templates, shapes);
  EXPECT_TRUE(text(&arkit) == shapes) << "again";
  EXPECT_TRUE(text(nullptr) == templates) << "after another";
  Character halved = arkit;
  halved.range->most *= 2;
  EXPECT_TRUE(text(&halved) != shapes) << "a target is another where its limit is";
  EXPECT_TRUE(text(&arkit) == shapes) << "after one of the same names";
}

TEST(FaceGlb, TheReaderOfHeadsFindsThe52OnIt) {
  const mien::HeadSurface surface = ReadHeadSurface(Arkit().glb);
  EXPECT_THAT(surface.shapes, ElementsAreArray(kArkitNames));
  std::size_t vertices = 0;
  for (const FaceMesh::Piece& piece : Mesh().head) vertices += piece.positions.size();
  EXPECT_THAT(surface.rest, SizeIs(vertices));
}

TEST(FaceGlb, PiecesThatATargetDoesNotMoveShareOneAccessorWithoutData) {
  const Glb& glb = Templates().glb;
  std::map<std::size_t, std::size_t> zeros; // accessors by vertex count
  std::size_t uses = 0;
  for (const Json& primitive : glb.json["meshes"][0]["primitives"])
    for (const Json& target : primitive["targets"]) {
      const Json& accessor = glb.json["accessors"][Number(target["POSITION"])];
      if (accessor.contains("sparse")) continue;
      const auto [known, is_new] = zeros.emplace(Number(accessor["count"]), Number(target["POSITION"]));
      EXPECT_EQ(known->second, Number(target["POSITION"]));
      EXPECT_FALSE(accessor.contains("bufferView"));
      ++uses;
    }
  EXPECT_GT(uses, zeros.size());
}
