#pragma once

/// @file
/// Animations as GLB. The file has a separate list for each curve, so the whole animation is needed.

#include "host/animation/animation.h"
#include "host/animation/head_binding.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <optional>
#include <ostream>
#include <string>

namespace mien {

/// Writes the head with one more animation (AnimateHead), which has the take's name and begins at 0 s. Everything
/// else in the head is copied. Throws InputError as AnimateHead does; nothing is written then.
HeadCoverage WriteAnimationOntoHead(const Animation& animation, Glb head, const HeadNodes& nodes,
                                    std::ostream& out);

/// Writes the built-in face with the animation (AnimateFace).
HeadCoverage WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out);

} // namespace mien
