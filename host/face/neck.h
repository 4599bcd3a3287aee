#pragma once

#include "host/face/surface.h"

namespace mien {

/// The left half of neck and shoulders, which stay while the head turns: the top is in the head.
Surface MakeNeck();

} // namespace mien
