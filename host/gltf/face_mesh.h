#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace mien {

/// A low-polygon face that shows a solve: the neutral face, and for each template where its weight of 1 takes
/// every vertex. It stands where the reference face stands, a reference unit being a centimetre: the chin
/// near y = 0, the back of the head near z = 0. Metres, y up, z out of the face, x to the face's own left
/// (glTF's axes).
///
/// It has no normals and is meant to be shaded flat and on both sides: lashes and teeth are strips. Its rest
/// pose is symmetric; its displacements are as symmetric as the reference face's templates.
struct FaceMesh {
  using Vector = std::array<float, 3>;

  struct Piece {
    std::string name;              ///< of its material: "skin", "hair", "lips", "mouth" (its inside), ...
    std::array<float, 4> colour;   ///< linear RGBA
    std::vector<Vector> positions; ///< at rest; each is used by a triangle
    std::vector<std::uint16_t> triangles; ///< three indices a triangle, counter-clockwise seen from outside

    /// At weight 1, in the order of TemplateColumns() (size: templates x positions).
    std::vector<std::vector<Vector>> displacements;
  };
  std::vector<Piece> pieces;
};

FaceMesh MakeFaceMesh();

} // namespace mien
