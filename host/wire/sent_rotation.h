#pragma once

#include "mien/base/geometry.h"

#include <optional>

namespace mien {

/// The rotation of a quaternion in a packet, whose length is near 1; empty for any other.
std::optional<VgeRMatrix> SentRotation(double x, double y, double z, double w);

} // namespace mien
