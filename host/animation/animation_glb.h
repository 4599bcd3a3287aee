#pragma once

#include "host/animation/animation.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace mien {

/// What an animation moves in a head, and what it does not.
struct HeadReport {
  std::size_t driven_targets = 0;                 ///< names of morph targets, each counted once
  std::size_t driven_nodes = 0;                   ///< nodes that show a mesh with one of these
  std::vector<std::string> shapes_without_target; ///< in the animation's order
  std::vector<std::string> targets_without_shape; ///< in the head's order
  std::size_t driven_clusters = 0;
  std::vector<std::string> clusters_without_node; ///< in the animation's order
  std::vector<std::string> notes;
};

/// Writes the head with one more animation, which has the take's name and begins at 0 s. Whatever the head holds besides
/// is copied.
///
/// A shape drives the morph targets of its name and, of those that no shape has the name of, the ones that mean the same
/// of the 52 (host/character/arkit_names.h), of several on one mesh the first. Without a character the templates ("Mouth.Open") are the shapes. A cluster's
/// motion from its rest drives the one node of its name, from that node's own rest. Targets that nothing drives keep the weights that they have at rest.
///
/// `head_node` is the name of a node to turn as the head turned from the neutral pose, about the scene's axes: the head
/// has to look along +z there.
///
/// Throws InputError where the head contradicts itself, where nothing at all is driven, and where
/// `head_node` is not the name of exactly one node.
HeadReport WriteAnimationOntoHead(const Animation& animation, Glb head,
                                  const std::optional<std::string>& head_node, std::ostream& out);

/// Writes the built-in face (host/gltf/face_mesh.h) with the animation on it. Its morph targets are the character's
/// shapes: each takes its share of every template that produces it, so that together they give back what the templates
/// show. Without a character, or where no template produces a shape of it, they are the templates.
HeadReport WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out);

/// The same face at rest, as a head to try things on.
HeadReport WriteFace(const Character* character, std::ostream& out);

} // namespace mien
