#pragma once

#include "host/character/character.h"
#include "host/gltf/glb.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace mien {

/// The nodes of each name, in the file's order.
std::map<std::string, std::vector<std::size_t>> NodesByName(const Glb& glb);

/// Where a node stands in its parent: from its translation, rotation and scale, or out of its matrix. Throws InputError
/// for a matrix that no such three make up.
ClusterTransform TransformOfNode(const Glb& glb, std::size_t node);

/// Appends a node that stands there in its parent, and answers its index. No other node has it as a child yet.
std::size_t AppendNode(Glb& glb, const std::string& name, const ClusterTransform& transform);

/// Gives a node that has a matrix a translation, a rotation and a scale instead: only these can be animated.
void ReplaceMatrix(Glb& glb, std::size_t node);

/// The axes in which a node stands, in those of the scene: the rotations of all its parents and, where one of them is
/// scaled by less than 0, its mirror. Orthonormal, but not always right-handed; without
/// translation.
VgeAMatrix AxesOfParents(const Glb& glb, std::size_t node);

} // namespace mien
