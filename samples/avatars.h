#pragma once

// Small VRM avatars: the built-in face on the bones of a humanoid, without a body.

#include "host/gltf/glb.h"

#include <map>
#include <string>

namespace mien::samples {

/// VRM 1.0: the presets and, as expressions of its own, the 52 shapes; the eyes are bones.
Glb Avatar1();

/// VRM 0.x: the presets; looks along -z, shows where the eyes look by expressions, and has no names of morph
/// targets.
Glb Avatar0();

/// Both by their names in the folder of samples.
std::map<std::string, std::string> AvatarFiles();

} // namespace mien::samples
