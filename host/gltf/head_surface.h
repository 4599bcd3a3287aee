#pragma once

#include "host/base/point.h"
#include "host/gltf/glb.h"

#include <string>
#include <vector>

namespace mien {

/// The vertices of a head's meshes whose morph targets mean some of the 52 shapes, and how these move them. In
/// the units and axes of the scene.
struct HeadSurface {
  std::vector<Point> rest;
  std::vector<std::string> shapes;       ///< of the 52, in their order, those that a mesh has
  std::vector<std::vector<Point>> moved; ///< from rest, at weight 1 (size: shapes x vertices)
};

/// Reads every mesh that a node shows, where its nodes and joints put it. At rest, the shapes are 0, and other
/// morph targets have the weights that the file gives them. A head's own halves of a shape ("browInnerUpLeft",
/// "browInnerUpRight") are added up. Of several targets of a mesh that mean the same, the first counts.
///
/// Throws InputError if there are no such meshes, for positions or targets that are not in the file, for more
/// than 500,000 vertices, and where the file contradicts itself.
HeadSurface ReadHeadSurface(const Glb& head);

} // namespace mien
