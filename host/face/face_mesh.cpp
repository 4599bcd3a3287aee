#include "host/face/face_mesh.h"

#include "host/face/ear.h"
#include "host/face/eyes.h"
#include "host/face/hair.h"
#include "host/face/head_form.h"
#include "host/face/mouth.h"
#include "host/face/neck.h"
#include "host/face/shapes.h"
#include "host/face/skin.h"

#include <map>

namespace mien {

namespace {

using Vector = FaceMesh::Vector;
using Piece = FaceMesh::Piece;

struct Paint {
  const char* name;
  double roughness;
};
constexpr Paint kPaints[kMaterials] = {{"skin", 0.6}, {"hair", 0.8}, {"teeth", 0.3}, {"tongue", 0.45}};

Vector Metres(const Vec& cm) {
  return {static_cast<float>(cm.x / 100), static_cast<float>(cm.y / 100), static_cast<float>(cm.z / 100)};
}

Vec Wide(const Vector& v) {
  return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

/// Of each vertex the mean of its triangles' normals. Their weights are those that are right for points of
/// a sphere, however it is divided into triangles: the sine of the angle between the two edges, over the
/// edges' lengths.
std::vector<Vector> NormalsOf(const std::vector<std::uint16_t>& triangles,
                              const std::vector<Vec>& positions) {
  std::vector<Vec> sums(positions.size());
  for (std::size_t t = 0; t < triangles.size(); t += 3) {
    const Vec corners[] = {positions[triangles[t]], positions[triangles[t + 1]], positions[triangles[t + 2]]};
    const Vec edges[] = {corners[1] - corners[0], corners[2] - corners[1], corners[0] - corners[2]};
    const Vec normal = Cross(edges[0], edges[1]);
    for (std::size_t i = 0; i < 3; ++i) {
      const double squares = Dot(edges[i], edges[i]) * Dot(edges[(i + 2) % 3], edges[(i + 2) % 3]);
      if (squares > 0) sums[triangles[t + i]] += (1 / squares) * normal;
    }
  }
  std::vector<Vector> normals;
  for (const Vec& sum : sums) {
    const double length = Length(sum);
    const Vec normal = length > 0 ? (1 / length) * sum : Vec{0, 0, 1};
    normals.push_back(
        {static_cast<float>(normal.x), static_cast<float>(normal.y), static_cast<float>(normal.z)});
  }
  return normals;
}

std::vector<Vec> Wide(const std::vector<Vector>& vectors) {
  std::vector<Vec> wide;
  wide.reserve(vectors.size());
  for (const Vector& v : vectors) wide.push_back(Wide(v));
  return wide;
}

/// Whether a surface is the left half of what it becomes, or all of it.
enum class Extent { LeftHalf, Whole };

/// Collects the vertices of a material as its triangles use them.
class PieceOf {
public:
  PieceOf(const Surface& surface, Extent extent, const Paint& paint, bool moves)
      : surface_(surface), extent_(extent), piece_{paint.name, paint.roughness, {}, {}, {}, {}, {}} {
    if (moves) piece_.displacements.resize(kArkitNames.size());
  }

  void Add(const std::vector<std::array<Surface::Id, 3>>& triangles, bool right) {
    for (const auto& [a, b, c] : triangles)
      for (const Surface::Id id : {a, right ? c : b, right ? b : c})
        piece_.triangles.push_back(Index(id, right));
  }

  Piece Finished() {
    piece_.normals = NormalsOf(piece_.triangles, Wide(piece_.positions));
    for (std::size_t i = 0; i < piece_.positions.size(); ++i)
      if (in_middle_[i]) { // exactly, although its triangles are not summed in mirrored order
        Vec normal = Wide(piece_.normals[i]);
        normal.x = 0;
        const double length = Length(normal);
        piece_.normals[i] = {0, static_cast<float>(normal.y / length), static_cast<float>(normal.z / length)};
      }
    return std::move(piece_);
  }

private:
  std::uint16_t Index(Surface::Id id, bool right) {
    const Vertex& vertex = surface_.vertices[id];
    const bool middle = extent_ == Extent::LeftHalf && vertex.at.x == 0; // the halves share it
    const auto [found, added] =
        indices_.try_emplace({id, right && !middle}, static_cast<std::uint16_t>(indices_.size()));
    if (!added) return found->second;
    piece_.positions.push_back(Metres(right ? Mirrored(vertex.at) : vertex.at));
    in_middle_.push_back(middle);
    std::array<std::uint8_t, 3> colour{};
    for (std::size_t c = 0; c < 3; ++c)
      colour[c] = static_cast<std::uint8_t>(std::floor(255 * vertex.colour[c] + 0.5));
    piece_.colours.push_back(colour);
    for (std::size_t s = 0; s < piece_.displacements.size(); ++s)
      piece_.displacements[s].push_back(Metres(ShapeMotion(s, vertex, right)));
    return found->second;
  }

  const Surface& surface_;
  Extent extent_;
  Piece piece_;
  std::map<std::pair<Surface::Id, bool>, std::uint16_t> indices_;
  std::vector<bool> in_middle_;
};

Piece BothHalves(const Surface& left, std::size_t material, bool moves) {
  PieceOf piece(left, Extent::LeftHalf, kPaints[material], moves);
  for (const bool right : {false, true}) piece.Add(left.triangles[material], right);
  return piece.Finished();
}

} // namespace

FaceMesh MakeFaceMesh() {
  Surface left;
  const LidEdges lids = BuildSkin(left);
  BuildEar(left);
  BuildHair(left);
  BuildBrow(left);
  BuildLashes(left, lids);
  BuildTeeth(left);
  BuildTongue(left);
  for (Vertex& vertex : left.vertices) vertex.above_mouth = vertex.at.y - MouthHeight(vertex.at.x);

  FaceMesh mesh;
  for (std::size_t material = 0; material < kMaterials; ++material)
    mesh.head.push_back(BothHalves(left, material, true));
  mesh.neck = BothHalves(MakeNeck(), static_cast<std::size_t>(Material::Skin), false);
  const Surface ball = MakeEyeball();
  PieceOf eye(ball, Extent::Whole, {"eyes", 0.1}, false);
  eye.Add(ball.triangles[static_cast<std::size_t>(Material::Skin)], false);
  mesh.eye = eye.Finished();
  mesh.eyes = {Metres(kEye), Metres(Mirrored(kEye))};
  return mesh;
}

Morph MakeMorph(const Piece& piece, std::span<const ShapeShare> shares) {
  Morph morph;
  morph.positions.resize(piece.positions.size());
  morph.normals.resize(piece.positions.size());
  if (piece.displacements.empty()) return morph;
  std::vector<Vec> moved = Wide(piece.positions), sums(piece.positions.size());
  for (const auto& [shape, weight, half] : shares)
    for (std::size_t i = 0; i < sums.size(); ++i) {
      const double left = LeftShare(100 * static_cast<double>(piece.positions[i][0]));
      const double share = half == ArkitMatch::Half::Both   ? 1
                           : half == ArkitMatch::Half::Left ? left
                                                            : 1 - left;
      sums[i] += (weight * share) * Wide(piece.displacements[shape][i]);
    }
  for (std::size_t i = 0; i < sums.size(); ++i) {
    moved[i] += sums[i];
    morph.positions[i] = {static_cast<float>(sums[i].x), static_cast<float>(sums[i].y),
                          static_cast<float>(sums[i].z)};
  }
  const std::vector<Vector> normals = NormalsOf(piece.triangles, moved);
  for (std::size_t i = 0; i < normals.size(); ++i)
    for (std::size_t axis = 0; axis < 3; ++axis)
      morph.normals[i][axis] = normals[i][axis] - piece.normals[i][axis];
  return morph;
}

} // namespace mien
