#pragma once

#include "host/character/character.h"
#include "host/gltf/glb.h"
#include "host/gltf/json_at.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The nodes of each name, in the file's order.
std::map<std::string, std::vector<std::size_t>> NodesByName(const Glb& glb);

/// Where a node stands in its parent: its translation, rotation and scale, or those of its matrix. Throws
/// InputError for a matrix that cannot be split into these three.
ClusterTransform TransformOfNode(const Glb& glb, std::size_t node);

/// Appends a node with this transform, and answers its index. It is not yet a child of any node.
std::size_t AppendNode(Glb& glb, const std::string& name, const ClusterTransform& transform);

/// Replaces a node's matrix, if it has one, by a translation, a rotation and a scale: only these can be
/// animated.
void ReplaceMatrix(Glb& glb, std::size_t node);

/// The axes in which a node stands, in those of the scene: the product of its ancestors' rotations and, where
/// a scale is below 0, reflections. Orthonormal, but not always right-handed; without translation. Throws
/// InputError where the nodes are not a tree.
VgeAMatrix AxesOfParents(const Glb& glb, std::size_t node);

/// Where nodes stand in the scene.
class ScenePlaces {
public:
  /// The GLB must live on unchanged. Throws InputError where a node is the child of two.
  explicit ScenePlaces(const Glb& glb);

  /// The product of the node's transform and its ancestors', each computed once. Throws InputError where the
  /// nodes are not a tree, or as TransformOfNode does.
  const VgeAMatrix& Of(std::size_t node);

private:
  std::vector<JsonAt> nodes_;
  std::vector<std::optional<std::size_t>> parents_;
  std::map<std::size_t, VgeAMatrix> known_;
};

} // namespace mien
