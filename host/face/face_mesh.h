#pragma once

#include "host/character/arkit_names.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// The built-in head: at rest, and with the 52 shapes of phone face capture. It stands where the reference
/// face stands, a reference unit being a centimetre: the chin near y = 0, the back of the head near z = 0.
/// Metres, y up, z out of the face, x to the face's own left (glTF's axes). At rest it is its own mirror
/// image, and the shapes of the right side are the mirror images of the left ones.
struct FaceMesh {
  using Vector = std::array<float, 3>;

  /// What has one material.
  struct Piece {
    std::string material;                             ///< its name: "skin", "hair", "teeth", "tongue", "eyes"
    double roughness;                                 ///< of the material, 0 to 1
    std::vector<Vector> positions;                    ///< at rest; each is used by a triangle
    std::vector<Vector> normals;                      ///< of length 1
    std::vector<std::array<std::uint8_t, 3>> colours; ///< linear; 255 is 1
    std::vector<std::uint16_t> triangles; ///< three indices a triangle, counter-clockwise seen from outside

    /// Where each of the 52 at weight 1 takes each vertex, in the order of kArkitNames (size: 52 x
    /// positions); empty if none moves the piece.
    std::vector<std::vector<Vector>> displacements;
  };

  std::vector<Piece> head; ///< turns with the head
  Piece neck;              ///< stays; its top is in the head

  Piece eye;                  ///< an eyeball about the origin, which looks along +z
  std::array<Vector, 2> eyes; ///< where the left and the right eyeball are
};

FaceMesh MakeFaceMesh();

/// A share of one of the 52 shapes, or of its left or right half.
struct ShapeShare {
  std::size_t shape; ///< index in kArkitNames
  double weight;
  ArkitMatch::Half half = ArkitMatch::Half::Both;

  bool operator==(const ShapeShare&) const = default;
};

/// How a piece differs from rest.
struct Morph {
  std::vector<FaceMesh::Vector> positions, normals; ///< (size: positions of the piece)
};

/// What these shares do together. The normals are those of the surface that they make.
Morph MakeMorph(const FaceMesh::Piece& piece, std::span<const ShapeShare> shares);

} // namespace mien
