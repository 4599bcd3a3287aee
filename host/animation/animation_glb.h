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

/// Writes the head with one more animation, which has the take's name and begins at 0 s. Everything else in
/// the head is copied.
///
/// BindHead determines what drives what. A cluster's motion from its rest moves its node from the node's own
/// rest. Morph targets that nothing drives keep their rest weights. Of `nodes`, the head turns as
/// the performer's head turned from the neutral pose, and each eye as it turned against the head, about the
/// scene's axes: the head has to look along +z in the scene. A VRM avatar's eyes turn within its ranges, and one
/// of VRM 0.x looks along -z.
///
/// Throws InputError as BindHead does, and if the head's data is not in the file or there are no frames.
/// Nothing is written then.
HeadCoverage WriteAnimationOntoHead(const Animation& animation, Glb head, const HeadNodes& nodes,
                                    std::ostream& out);

/// Writes the built-in head (host/face/face_glb.h) with the animation, and beside it a node for each
/// cluster. Its eyes turn where the animation has them. `character` is the character of the animation; null
/// without one.
HeadCoverage WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out);

} // namespace mien
