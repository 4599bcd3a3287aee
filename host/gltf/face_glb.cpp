#include "host/gltf/face_glb.h"

#include "host/base/face_parts.h"
#include "host/gltf/face_mesh.h"
#include "host/gltf/glb_data.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

/// A morph target of the face: how much it has of each template.
struct FaceTarget {
  std::string name;
  std::vector<std::pair<std::size_t, double>> shares; // by column of TemplateColumns()
};

std::vector<FaceTarget> TargetsOfTemplates() {
  std::vector<FaceTarget> targets;
  for (const TemplateColumn& column : TemplateColumns())
    targets.push_back({column.name, {{targets.size(), 1.0}}});
  return targets;
}

/// One for each shape that a template produces. With w the weights above 0 that a template gives its shapes,
/// each shape has the share w / sum w^2 of it: driven by w, the shapes sum up to the template.
std::vector<FaceTarget> TargetsOfShapes(const Character& character) {
  std::map<std::string, FaceTarget> produced;
  const std::vector<TemplateColumn> columns = TemplateColumns();
  for (std::size_t c = 0; c < columns.size(); ++c) {
    const ShapeWeights& weights =
        character
            .templates[static_cast<std::size_t>(columns[c].part)][static_cast<std::size_t>(columns[c].slot)];
    double squares = 0;
    for (const auto& [shape, weight] : weights)
      if (weight > 0) squares += weight * weight;
    for (const auto& [shape, weight] : weights)
      if (weight > 0) produced[shape].shares.emplace_back(c, weight / squares);
  }
  std::vector<FaceTarget> targets;
  for (const std::string& shape : character.Shapes())
    if (const auto found = produced.find(shape); found != produced.end())
      targets.push_back({shape, std::move(found->second.shares)});
  return targets;
}

std::vector<float> Flat(const std::vector<FaceMesh::Vector>& vectors) {
  std::vector<float> flat;
  flat.reserve(3 * vectors.size());
  for (const FaceMesh::Vector& v : vectors) flat.insert(flat.end(), v.begin(), v.end());
  return flat;
}

std::vector<float> Displacements(const FaceTarget& target, const FaceMesh::Piece& piece) {
  std::vector<double> sums(3 * piece.positions.size(), 0.0);
  for (const auto& [column, share] : target.shares)
    for (std::size_t v = 0; v < piece.positions.size(); ++v)
      for (std::size_t axis = 0; axis < 3; ++axis)
        sums[3 * v + axis] += share * static_cast<double>(piece.displacements[column][v][axis]);
  std::vector<float> displacements;
  displacements.reserve(sums.size());
  for (const double sum : sums) displacements.push_back(static_cast<float>(sum));
  return displacements;
}

std::size_t AppendMaterial(Glb& glb, const FaceMesh::Piece& piece) {
  return AppendTo(glb, "materials",
                  {{"name", piece.name},
                   {"pbrMetallicRoughness",
                    {{"baseColorFactor", piece.colour}, {"metallicFactor", 0}, {"roughnessFactor", 0.9}}},
                   {"doubleSided", true}});
}

/// Accessors of zeros, by their number of vertices: of every target that a piece does not move.
using StillAccessors = std::map<std::size_t, std::size_t>;

std::size_t AppendMorph(Glb& glb, const FaceTarget& target, const FaceMesh::Piece& piece,
                        StillAccessors& still) {
  const std::vector<float> moved = Displacements(target, piece);
  const auto append = [&] {
    return AppendFloats(glb, moved, ElementType::Vec3, Bounds::With, ViewTarget::Vertices);
  };
  if (std::any_of(moved.begin(), moved.end(), [](float d) { return d != 0; })) return append();
  const auto [known, is_new] = still.try_emplace(piece.positions.size());
  if (is_new) known->second = append();
  return known->second;
}

/// The material, the positions and the morph targets of one piece of the mesh, with their data.
Json AppendPiece(Glb& glb, const FaceMesh::Piece& piece, const std::vector<FaceTarget>& targets,
                 StillAccessors& still) {
  const std::size_t material = AppendMaterial(glb, piece);
  const std::size_t positions =
      AppendFloats(glb, Flat(piece.positions), ElementType::Vec3, Bounds::With, ViewTarget::Vertices);
  Json morphs = Json::array();
  for (const FaceTarget& target : targets)
    morphs.push_back({{"POSITION", AppendMorph(glb, target, piece, still)}});
  return {{"attributes", {{"POSITION", positions}}},
          {"indices", AppendIndices(glb, piece.triangles)},
          {"material", material},
          {"targets", std::move(morphs)}};
}

Glb MakeGlb(const std::vector<FaceTarget>& targets) {
  Glb glb;
  glb.file = "the face";
  glb.json = {
      {"asset", {{"version", "2.0"}, {"generator", "mien"}}},
      {"scene", 0},
      {"scenes", {{{"nodes", {FaceGlb::kRoot}}}}},
      {"nodes", {{{"name", "mien"}, {"children", {FaceGlb::kFace}}}, {{"name", "face"}, {"mesh", 0}}}},
      {"meshes", Json::array()},
      {"materials", Json::array()},
      {"accessors", Json::array()},
      {"bufferViews", Json::array()},
      {"buffers", {{{"byteLength", 0}}}}};
  Json primitives = Json::array(), names = Json::array();
  StillAccessors still;
  for (const FaceMesh::Piece& piece : MakeFaceMesh().pieces)
    primitives.push_back(AppendPiece(glb, piece, targets, still));
  for (const FaceTarget& target : targets) names.push_back(target.name);
  AppendTo(glb, "meshes",
           {{"name", "face"},
            {"primitives", std::move(primitives)},
            {"weights", std::vector<double>(targets.size(), 0.0)},
            {"extras", {{"targetNames", std::move(names)}}}});
  return glb;
}

} // namespace

FaceGlb MakeFaceGlb(const Character* character) {
  FaceGlb face;
  std::vector<FaceTarget> targets;
  if (character) {
    targets = TargetsOfShapes(*character);
    face.has_shapes = !targets.empty();
    std::set<std::string_view> produced;
    for (const FaceTarget& target : targets) produced.insert(target.name);
    for (const std::string& shape : character->Shapes())
      if (!produced.contains(shape)) face.shapes_without_target.push_back(shape);
    if (!face.has_shapes)
      face.notes.push_back({Code::Unmatched, "",
                            "no template produces a shape of the character: the face shows the templates"});
  }
  if (!face.has_shapes) targets = TargetsOfTemplates();
  face.glb = MakeGlb(targets);
  return face;
}

} // namespace mien
