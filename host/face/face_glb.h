#pragma once

#include "host/base/error.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// The built-in head (face_mesh.h) as a scene: "face", which turns about the top of the neck, with the nodes
/// "LeftEye" and "RightEye" of the eyeballs below it, and "bust", which stays.
struct
    FaceGlb { // NOLINT(bugprone-exception-escape): moving a JSON value does not throw, although it does not say so
  static constexpr std::size_t kRoot = 0, kFace = 1, kLeftEye = 2, kRightEye = 3, kBust = 4; ///< the nodes

  Glb glb;

  /// Whether its morph targets have the names of the character's shapes; otherwise those of templates.
  bool has_shapes = false;

  /// Shapes of the character that it cannot show, in the character's order.
  std::vector<std::string> shapes_without_target;
  std::vector<Note> notes;
};

/// The head at rest. Its morph targets are the character's shapes:
/// - If the character limits its weights, a shape that means one of the 52 of phone face capture looks like
///   it at the limit. For the built-in character, these are all.
/// - Any other shape has its share of every template that produces it, so that together they show what the
///   templates show.
/// Without a character, or where neither gives a target, the targets are the templates.
///
/// Mesh data is stored as normalised integers (KHR_mesh_quantization): positions to 0.03 mm.
FaceGlb MakeFaceGlb(const Character* character);

} // namespace mien
