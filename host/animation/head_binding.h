#pragma once

#include "host/animation/animation.h"
#include "host/animation/vrm_binding.h"
#include "host/base/error.h"
#include "host/gltf/glb.h"
#include "host/gltf/morph_targets.h"

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// What an animation moves in a head, and what it does not.
struct HeadCoverage {
  std::size_t driven_targets = 0;                 ///< names of morph targets, each counted once
  std::size_t driven_nodes = 0;                   ///< nodes whose mesh has at least one of these
  std::vector<std::string> shapes_without_target; ///< in the animation's order
  std::vector<std::string> targets_without_shape; ///< in the head's order; empty for an avatar
  bool is_avatar = false;                         ///< a VRM avatar, whose expressions drive its targets
  std::size_t driven_expressions = 0;
  std::vector<std::string> expressions_without_shape; ///< in the avatar's order
  bool turns_head = false;
  std::size_t driven_clusters = 0;
  std::vector<std::string> clusters_without_node; ///< in the animation's order
  std::vector<std::string> eye_nodes; ///< the names of the nodes that turn with the eyes: none or two
  std::vector<Note> notes;
};

/// Names of nodes of a head.
struct HeadNodes {
  std::optional<std::string> head;                         ///< turns with the performer's head
  std::optional<std::pair<std::string, std::string>> eyes; ///< turn with the left and the right eye
};

/// For each morph target of a node, the index of the animation's weight that drives it. Nothing if there is
/// none: the target then keeps its rest weight.
using TargetDrivers = std::vector<std::optional<std::size_t>>;

/// By morph target of a node: the expressions of an avatar that move it, each with the target's weight at the
/// expression's weight of 1.
using TargetExpressions = std::map<std::size_t, std::vector<std::pair<std::size_t, double>>>;

/// A node of which at least one morph target is driven.
struct BoundNode {
  MorphNode node;
  /// (size: the node's targets); nodes of the same targets share it. Null where only expressions move the node.
  std::shared_ptr<const TargetDrivers> drivers;
  TargetExpressions expressions = {}; ///< targets in here do not follow `drivers`
};

/// Which parts of an animation drive which parts of a head, by their names.
struct HeadBinding {
  WeightKind weights = WeightKind::Shapes; ///< the weights that drive morph targets
  std::vector<BoundNode> nodes;            ///< in the head's order
  std::optional<VrmBinding> vrm;           ///< of an avatar
  /// The node that each cluster moves, if any (size: the layout's clusters).
  std::vector<std::optional<std::size_t>> cluster_nodes;
  std::optional<std::size_t> head_node;                ///< the node that turns with the performer's head
  std::optional<std::array<std::size_t, 2>> eye_nodes; ///< those that turn with the left and the right eye
  HeadCoverage coverage;
};

/// What an animation has besides weights.
struct AnimatedParts {
  bool head = false; ///< the head moves
  bool eyes = false; ///< it has the eyes' angles
};

/// Finds what drives what. A shape drives the morph targets of its name. Of the targets without a shape of
/// their name, it drives those that mean the same one of the 52 (host/character/arkit_names.h); of several on
/// one mesh, the first. Without a character, the templates ("Mouth.Open") are the shapes. A cluster moves the
/// only node of its name. `nodes` names those that turn with the head and the eyes.
///
/// Without names for the eyes, but with their angles, the two nodes with usual names of eyes turn ("LeftEye",
/// "eye.L"). Not so where a morph target follows the eyes ("eyeLookUpLeft"), unless both nodes show meshes
/// that nothing else moves: eyeballs, beside lids that follow. Of several such nodes those that are joints.
///
/// On a VRM avatar, shapes drive its expressions (VrmBinding) and these its morph targets, besides the targets
/// of their own names; its bones are the head that turns, if the animation's head moves, and the eyes.
///
/// Throws InputError if the head contradicts itself, if nothing is driven, and if a name of `nodes` is not
/// that of exactly one node that nothing else moves.
HeadBinding BindHead(const AnimationLayout& layout, const Glb& head, const HeadNodes& nodes,
                     const AnimatedParts& animated = {});

} // namespace mien
