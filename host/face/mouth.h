#pragma once

#include "host/face/surface.h"

namespace mien {

/// Both rows of teeth, and the tongue, in the mouth that the skin lines.
void BuildTeeth(Surface& head);
void BuildTongue(Surface& head);

} // namespace mien
