#pragma once

#include "host/face/vector.h"

#include <array>
#include <cstddef>
#include <vector>

namespace mien {

// What the parts of the built-in head are built of. Head and neck are built as left halves, from the middle
// plane on: the right half is the mirror image, and the halves share the vertices of the middle.

enum class Material { Skin, Hair, Teeth, Tongue };
inline constexpr std::size_t kMaterials = 4;

/// Linear red, green and blue.
using Colour = std::array<double, 3>;

/// What carries a vertex along.
enum class Tissue { Skin, UpperTeeth, LowerTeeth, Tongue };

struct Vertex {
  Vec at = {};
  Colour colour = {};
  Tissue tissue = Tissue::Skin;

  /// Above the line between the lips or below it, where a place alone does not say: lips that meet, and
  /// what is behind them.
  enum class Lip { Upper, Lower } lip = Lip::Upper;

  /// How far above the line between the lips it is, in centimetres; below, less than 0.
  double above_mouth = 0;

  /// How much it moves with the lips: 1 on the face, less the deeper it is in the mouth.
  double with_lips = 1;

  /// How far it is rolled in between lips that are shut: 0 on the face, 1 where they meet and behind that.
  double rolled = 0;

  /// Of lids: how far up it goes when the eye shuts, below 0 for the upper lid. And z, were there no eye
  /// below.
  double shut = 0;
  double under = 0;
};

struct Surface {
  using Id = std::size_t;
  using Row = std::vector<Id>;

  std::vector<Vertex> vertices;
  std::array<std::vector<std::array<Id, 3>>, kMaterials> triangles; ///< counter-clockwise seen from outside

  Id Add(const Vertex& vertex) {
    vertices.push_back(vertex);
    return vertices.size() - 1;
  }

  /// Corners that are the same vertex leave a triangle, or nothing.
  void AddTriangle(Material material, Id a, Id b, Id c) {
    if (a != b && b != c && c != a) triangles[static_cast<std::size_t>(material)].push_back({a, b, c});
  }
  void AddQuad(Material material, Id a, Id b, Id c, Id d) {
    AddTriangle(material, a, b, c);
    AddTriangle(material, a, c, d);
  }

  /// Between two rows, the first above the second, both from the middle of the face to the left.
  void AddBand(Material material, const Row& above, const Row& below) {
    for (std::size_t i = 1; i < above.size(); ++i)
      AddQuad(material, above[i - 1], below[i - 1], below[i], above[i]);
  }
};

} // namespace mien
