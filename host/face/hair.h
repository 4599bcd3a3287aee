#pragma once

#include "host/face/surface.h"

namespace mien {

/// The short hair of the head, a shell over its skin.
void BuildHair(Surface& head);

} // namespace mien
