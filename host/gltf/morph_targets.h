#pragma once

#include "host/base/error.h"
#include "host/gltf/glb.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace mien {

/// A node that shows a mesh with named morph targets. Thousands of nodes may show one mesh of thousands of
/// targets, so nodes share their lists: equal ones are the same object.
struct MorphNode {
  std::size_t node;
  std::shared_ptr<const std::vector<std::string>> targets; ///< their names, in the mesh's order

  /// The weights at rest: of the node, else of the mesh, else 0 (size: targets).
  std::shared_ptr<const std::vector<double>> defaults;
};

struct MorphTargets {
  std::vector<MorphNode> nodes; ///< in the file's order
  std::vector<Note> notes;      ///< on meshes with targets without names

  /// The names of all targets, each once, in the order of the nodes.
  std::vector<std::string> Names() const;
};

/// What becomes of meshes whose targets have no names.
enum class UnnamedTargets {
  LeftOut,  ///< with a note
  Numbered, ///< "target 0", "target 1", ...
};

/// The names are those in `extras.targetNames` of the mesh or, as older exporters of avatars write them, of
/// its first primitive. Throws InputError where the file contradicts itself: a list of names that is not as
/// long as the list of targets would drive the wrong ones.
MorphTargets FindMorphTargets(const Glb& head, UnnamedTargets unnamed = UnnamedTargets::LeftOut);

} // namespace mien
