#pragma once

#include "host/animation/animation.h"
#include "host/base/error.h"
#include "host/gltf/glb.h"
#include "host/gltf/morph_targets.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What an animation moves in a head, and what it does not.
struct HeadCoverage {
  std::size_t driven_targets = 0;                 ///< names of morph targets, each counted once
  std::size_t driven_nodes = 0;                   ///< nodes that show a mesh with one of these
  std::vector<std::string> shapes_without_target; ///< in the animation's order
  std::vector<std::string> targets_without_shape; ///< in the head's order
  std::size_t driven_clusters = 0;
  std::vector<std::string> clusters_without_node; ///< in the animation's order
  std::vector<Note> notes;
};

/// For each morph target of a node the weight that drives it, by its index among the animation's; nothing: none does, and
/// the target keeps its weight at rest.
using TargetDrivers = std::vector<std::optional<std::size_t>>;

/// A node of which at least one morph target is driven.
struct BoundNode {
  MorphNode node;
  std::shared_ptr<const TargetDrivers>
      drivers; ///< (size: the node's targets); nodes of the same targets share it
};

/// What of an animation drives what of a head, by their names.
struct HeadBinding {
  WeightKind weights = WeightKind::Shapes; ///< those that drive morph targets
  std::vector<BoundNode> nodes;            ///< in the head's order
  std::vector<std::optional<std::size_t>>
      cluster_nodes; ///< the node that each cluster moves, if one (size: the layout's clusters)
  std::optional<std::size_t> head_node; ///< the node that turns as the head did
  HeadCoverage coverage;
};

/// A shape drives the morph targets of its name and, of those that no shape has the name of, the ones that mean the same of
/// the 52 (host/character/arkit_names.h), of several on one mesh the first. Without a character the templates
/// ("Mouth.Open") are the shapes. A cluster moves the one node of its name. `head_node` is the name of the node that is to
/// turn with the head.
///
/// Throws InputError where the head contradicts itself, where nothing at all is driven, and where `head_node` is not the
/// name of exactly one node that no cluster moves.
HeadBinding BindHead(const AnimationLayout& layout, const Glb& head,
                     const std::optional<std::string>& head_node);

} // namespace mien
