#pragma once

#include "host/face/skin.h"

namespace mien {

/// The hair of brow and lashes.
void BuildBrow(Surface& head);
void BuildLashes(Surface& head, const LidEdges& edges);

/// An eyeball about the origin, which looks along +z: all of it, as Material::Skin.
Surface MakeEyeball();

} // namespace mien
