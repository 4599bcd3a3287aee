#pragma once

#include "host/face/surface.h"

namespace mien {

/// The ear, a shell of its own whose open end is in the head.
void BuildEar(Surface& head);

} // namespace mien
