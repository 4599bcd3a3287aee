#pragma once

// Animations as GLB. Each curve is a list of its own in the file, so that the whole animation has to be there.

#include "host/animation/animation.h"
#include "host/animation/head_binding.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <optional>
#include <ostream>
#include <string>

namespace mien {

/// Writes the head with one more animation, which has the take's name and begins at 0 s. Whatever the head holds besides
/// is copied.
///
/// BindHead says what drives what. A cluster's motion from its rest drives its node from that node's own rest. Morph
/// targets that nothing drives keep the weights that they have at rest. `head_node` is the name of a node to turn as the
/// head turned from the neutral pose, about the scene's axes: the head has to look along +z there.
///
/// Throws InputError as BindHead does, where the head's data is not in it, and where there are no frames; nothing is
/// written then.
HeadCoverage WriteAnimationOntoHead(const Animation& animation, Glb head,
                                    const std::optional<std::string>& head_node, std::ostream& out);

/// Writes the built-in face (host/gltf/face_glb.h) with the animation on it, and below it a node for each cluster.
/// `character` is the one that the animation was solved for; null where it has none.
HeadCoverage WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out);

} // namespace mien
