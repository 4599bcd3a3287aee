#pragma once

#include "mien/base/geometry.h"

#include <vector>

namespace mien {

/// The plane of the points p for which Dot(normal, p) is `offset`.
struct SymmetryPlane {
  VgeTVector normal; ///< of length 1
  double offset = 0;
};

/// The planes in which a cloud of points mirrors itself best and nearly as well, up to four and best first.
/// Their normals differ by 14 degrees or more. Points without a counterpart do not disturb. `points` are in
/// millimetres. None if no two of them are 25 mm apart.
std::vector<SymmetryPlane> FindSymmetryPlanes(const std::vector<VgeTVector>& points);

} // namespace mien
