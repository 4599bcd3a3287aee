#pragma once

#include "host/base/error.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// The built-in face (face_mesh.h) as a head: the only mesh of a scene of two nodes, of which the second,
/// "face", shows it.
struct
    FaceGlb { // NOLINT(bugprone-exception-escape): moving a JSON value does not throw, although it does not say so
  static constexpr std::size_t kRoot = 0, kFace = 1; ///< the nodes

  Glb glb;

  /// Whether its morph targets have the names of the character's shapes; otherwise those of templates.
  bool has_shapes = false;

  /// Shapes of the character that no template produces, in its order.
  std::vector<std::string> shapes_without_target;
  std::vector<Note> notes;
};

/// The face at rest. Its morph targets are the character's shapes: each has its share of every template that
/// produces it, so that together they show what the templates show. Without a character, or where no template
/// produces one of its shapes, the targets are the templates.
FaceGlb MakeFaceGlb(const Character* character);

} // namespace mien
