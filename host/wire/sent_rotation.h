#pragma once

#include "mien/base/geometry.h"

#include <optional>

namespace mien {

/// The rotation of a quaternion that a packet has: of any length near 1; nothing for one that is no rotation.
std::optional<VgeRMatrix> SentRotation(double x, double y, double z, double w);

} // namespace mien
