#include "host/face/face_glb.h"

#include "host/base/face_parts.h"
#include "host/character/arkit_names.h"
#include "host/face/face_mesh.h"
#include "host/gltf/glb_data.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;
using Half = ArkitMatch::Half;

/// A morph target of the head, and the shares of the 52 that it consists of.
struct FaceTarget {
  std::string name;
  std::vector<ShapeShare> shares;

  bool operator==(const FaceTarget&) const = default;
};

std::size_t ShapeNamed(std::string_view name) {
  return static_cast<std::size_t>(std::find(kArkitNames.begin(), kArkitNames.end(), name) -
                                  kArkitNames.begin());
}

/// What a template looks like. Sides are those of the template's part, or of its name's last letter.
std::vector<ShapeShare> SharesOf(const TemplateColumn& column) {
  const std::string_view name = column.name;
  const std::string_view part = name.substr(0, name.find('.')), slot = name.substr(part.size() + 1);
  const bool right = part.starts_with("Right") || slot.ends_with('R');
  const auto sided = [right](std::string shape) {
    return ShapeShare{ShapeNamed(shape.append(right ? "Right" : "Left")), 1};
  };
  const auto half = [right](std::string_view shape) {
    return ShapeShare{ShapeNamed(shape), 1, right ? Half::Right : Half::Left};
  };
  const auto both = [](std::string_view shape, double weight) {
    return ShapeShare{ShapeNamed(shape), weight};
  };
  if (slot == "Open") return {both("jawOpen", 1)};
  if (slot == "Whistle") return {both("mouthPucker", 0.8), both("mouthFunnel", 0.4)};
  if (slot.starts_with("CornersUp")) return {sided("mouthSmile")};
  if (slot.starts_with("CornersDown")) return {sided("mouthFrown")};
  if (slot == "Square")
    return {both("mouthUpperUpLeft", 1), both("mouthUpperUpRight", 1), both("mouthLowerDownLeft", 1),
            both("mouthLowerDownRight", 1)};
  if (part.ends_with("Brow"))
    return slot == "Up" ? std::vector{sided("browOuterUp"), half("browInnerUp")}
                        : std::vector{sided("browDown")};
  if (part.ends_with("Eye"))
    return {sided(slot == "Close" ? "eyeBlink" : slot == "Squint" ? "eyeSquint" : "eyeWide")};
  if (part.ends_with("Cheek")) return {slot == "Up" ? sided("cheekSquint") : half("cheekPuff")};
  return {sided("noseSneer")};
}

std::vector<FaceTarget> TargetsOfTemplates() {
  std::vector<FaceTarget> targets;
  for (const TemplateColumn& column : TemplateColumns()) targets.push_back({column.name, SharesOf(column)});
  return targets;
}

/// By shape, its shares of the templates. With w the weights above 0 that a template gives its shapes, each
/// shape has the share w / sum w^2 of it: driven by w, the shapes sum up to the template.
std::map<std::string, std::vector<ShapeShare>> SharesOfTemplates(const Character& character) {
  std::map<std::string, std::vector<ShapeShare>> shares;
  for (const TemplateColumn& column : TemplateColumns()) {
    const ShapeWeights& weights =
        character.templates[static_cast<std::size_t>(column.part)][static_cast<std::size_t>(column.slot)];
    double squares = 0;
    for (const auto& [shape, weight] : weights)
      if (weight > 0) squares += weight * weight;
    for (const auto& [shape, weight] : weights)
      if (weight > 0)
        for (ShapeShare share : SharesOf(column)) {
          share.weight *= weight / squares;
          shares[shape].push_back(share);
        }
  }
  return shares;
}

std::vector<FaceTarget> TargetsOfShapes(const Character& character) {
  const auto of_templates = SharesOfTemplates(character);
  std::vector<FaceTarget> targets;
  for (const std::string& shape : character.Shapes()) {
    const auto match = FindArkitName(shape);
    if (match && character.range && character.range->most > 0)
      targets.push_back({shape, {{match->name, 1 / character.range->most, match->half}}});
    else if (const auto found = of_templates.find(shape); found != of_templates.end())
      targets.push_back({shape, found->second});
  }
  return targets;
}

/// Around which the head turns: on the neck's axis, where it enters the head. Metres.
constexpr FaceMesh::Vector kPivot = {0, 0.025F, 0.07F};

FaceMesh::Vector FromPivot(const FaceMesh::Vector& v) {
  return {v[0] - kPivot[0], v[1] - kPivot[1], v[2] - kPivot[2]};
}

std::vector<float> Flat(const std::vector<FaceMesh::Vector>& vectors) {
  std::vector<float> flat;
  flat.reserve(3 * vectors.size());
  for (const FaceMesh::Vector& v : vectors) flat.insert(flat.end(), v.begin(), v.end());
  return flat;
}

/// The materials, by their names. The colours are those of the vertices.
class Materials {
public:
  std::size_t For(Glb& glb, const FaceMesh::Piece& piece) {
    const auto [known, is_new] = known_.try_emplace(piece.material);
    if (is_new)
      known->second =
          AppendTo(glb, "materials",
                   {{"name", piece.material},
                    {"pbrMetallicRoughness", {{"metallicFactor", 0}, {"roughnessFactor", piece.roughness}}},
                    {"doubleSided", true}});
    return known->second;
  }

private:
  std::map<std::string, std::size_t> known_;
};

/// The material, the data and the triangles of one piece, without morph targets.
Json AppendPiece(Glb& glb, const FaceMesh::Piece& piece, Materials& materials) {
  std::vector<std::uint8_t> colours;
  for (const auto& [red, green, blue] : piece.colours) colours.insert(colours.end(), {red, green, blue, 255});
  const std::size_t positions = AppendPacked(glb, Flat(piece.positions), Packed::Short, Bounds::With);
  const std::size_t normals = AppendPacked(glb, Flat(piece.normals), Packed::Short, Bounds::Without);
  return {{"attributes",
           {{"POSITION", positions}, {"NORMAL", normals}, {"COLOR_0", AppendColours(glb, colours)}}},
          {"indices", AppendIndices(glb, piece.triangles)},
          {"material", materials.For(glb, piece)}};
}

/// The vertices that a target moves far enough for the data to show.
std::vector<std::uint16_t> Moved(const Morph& morph) {
  constexpr float kLeast = 6e-5F, kLeastTurn = 0.03F; // metres, and of a normal
  const auto exceeds = [](const FaceMesh::Vector& v, float least) {
    return std::any_of(v.begin(), v.end(), [least](float c) { return std::fabs(c) > least; });
  };
  std::vector<std::uint16_t> moved;
  for (std::size_t i = 0; i < morph.positions.size(); ++i)
    if (exceeds(morph.positions[i], kLeast) || exceeds(morph.normals[i], kLeastTurn))
      moved.push_back(static_cast<std::uint16_t>(i));
  return moved;
}

/// Accessors of zeros, by their number of vertices, for all targets that do not move a piece.
using StillAccessors = std::map<std::size_t, Json>;

Json AppendMorph(Glb& glb, const FaceMesh::Piece& piece, const FaceTarget& target, StillAccessors& still) {
  const Morph morph = MakeMorph(piece, target.shares);
  const auto append = [&](std::vector<std::uint16_t> indices) -> Json {
    const SparseIndices elements = AppendSparseIndices(glb, std::move(indices));
    const std::size_t positions =
        AppendSparse(glb, Flat(morph.positions), elements, Packed::Short, Bounds::With);
    return {{"POSITION", positions},
            {"NORMAL", AppendSparse(glb, Flat(morph.normals), elements, Packed::Byte, Bounds::Without)}};
  };
  std::vector<std::uint16_t> moved = Moved(morph);
  if (!moved.empty()) return append(std::move(moved));
  const auto [known, is_new] = still.try_emplace(piece.positions.size());
  if (is_new) known->second = append({});
  return known->second;
}

std::size_t AppendMesh(Glb& glb, const char* name, const FaceMesh::Piece& piece, Materials& materials) {
  return AppendTo(glb, "meshes",
                  {{"name", name}, {"primitives", Json::array({AppendPiece(glb, piece, materials)})}});
}

Glb MakeGlb(const std::vector<FaceTarget>& targets) {
  FaceMesh mesh = MakeFaceMesh();
  for (FaceMesh::Piece& piece : mesh.head)
    for (FaceMesh::Vector& position : piece.positions) position = FromPivot(position);
  const FaceMesh::Vector left = FromPivot(mesh.eyes[0]), right = FromPivot(mesh.eyes[1]);
  Glb glb;
  glb.file = "the face";
  glb.json = {{"asset", {{"version", "2.0"}, {"generator", "mien"}}},
              {"extensionsUsed", {"KHR_mesh_quantization"}},
              {"extensionsRequired", {"KHR_mesh_quantization"}},
              {"scene", 0},
              {"scenes", {{{"nodes", {FaceGlb::kRoot}}}}},
              {"nodes",
               {{{"name", "mien"}, {"children", {FaceGlb::kFace, FaceGlb::kBust}}},
                {{"name", "face"},
                 {"translation", kPivot},
                 {"mesh", 0},
                 {"children", {FaceGlb::kLeftEye, FaceGlb::kRightEye}}},
                {{"name", "LeftEye"}, {"translation", left}, {"mesh", 1}},
                {{"name", "RightEye"}, {"translation", right}, {"mesh", 1}},
                {{"name", "bust"}, {"mesh", 2}}}},
              {"meshes", Json::array()},
              {"materials", Json::array()},
              {"accessors", Json::array()},
              {"bufferViews", Json::array()},
              {"buffers", {{{"byteLength", 0}}}}};
  Json primitives = Json::array(), names = Json::array();
  Materials materials;
  StillAccessors still;
  for (const FaceMesh::Piece& piece : mesh.head) {
    Json primitive = AppendPiece(glb, piece, materials);
    for (const FaceTarget& target : targets)
      primitive["targets"].push_back(AppendMorph(glb, piece, target, still));
    primitives.push_back(std::move(primitive));
  }
  for (const FaceTarget& target : targets) names.push_back(target.name);
  AppendTo(glb, "meshes",
           {{"name", "face"},
            {"primitives", std::move(primitives)},
            {"weights", std::vector<double>(targets.size(), 0.0)},
            {"extras", {{"targetNames", std::move(names)}}}});
  AppendMesh(glb, "eye", mesh.eye, materials);
  AppendMesh(glb, "bust", mesh.neck, materials);
  return glb;
}

/// What MakeGlb makes, of which the last one is kept: a batch writes the same head with one take after another, and
/// making it takes longer than solving a short take.
Glb GlbOf(const std::vector<FaceTarget>& targets) {
  struct Made {
    std::vector<FaceTarget> targets;
    Glb glb;
  };
  static std::mutex mutex;
  static std::shared_ptr<const Made> last;
  std::shared_ptr<const Made> made;
  {
    const std::lock_guard lock(mutex);
    made = last;
  }
  if (!made || made->targets != targets) {
    made = std::make_shared<const Made>(Made{targets, MakeGlb(targets)});
    const std::lock_guard lock(mutex);
    last = made;
  }
  return made->glb;
}

} // namespace

FaceGlb MakeFaceGlb(const Character* character) {
  FaceGlb face;
  std::vector<FaceTarget> targets;
  if (character) {
    targets = TargetsOfShapes(*character);
    face.has_shapes = !targets.empty();
    auto next = targets.begin(); // in the order of the character's shapes
    for (const std::string& shape : character->Shapes())
      if (next != targets.end() && next->name == shape)
        ++next;
      else
        face.shapes_without_target.push_back(shape);
    if (!face.has_shapes)
      face.notes.push_back({Code::Unmatched, "",
                            "no template produces a shape of the character: the face shows the templates"});
  }
  if (!face.has_shapes) targets = TargetsOfTemplates();
  face.glb = GlbOf(targets);
  return face;
}

} // namespace mien
