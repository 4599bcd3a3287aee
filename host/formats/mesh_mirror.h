#pragma once

#include <cstddef>

namespace mien {

/// Points of the face mesh that web cameras' trackers give: without and with those of the irises, 468 to 477.
inline constexpr std::size_t kMeshWithoutIrises = 468, kMeshPoints = 478;

/// The point on the other half of the face; of a point in the middle the point itself. `point` is below
/// kMeshPoints.
std::size_t MirroredMeshPoint(std::size_t point);

} // namespace mien
