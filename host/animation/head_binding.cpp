#include "host/animation/head_binding.h"

#include "host/animation/eye_nodes.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/json_at.h"
#include "host/gltf/node_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace mien {

namespace {

/// The weight that drives each target of a mesh: the one of its name, otherwise one with the same meaning. A
/// weight drives one target, or one for each half. Further spellings on the same mesh would move it twice;
/// they are added to `spare`.
TargetDrivers FindDrivers(const std::vector<std::string>& targets, const WeightFinder& weights,
                          std::set<std::string>& spare) {
  using Half = ArkitMatch::Half;
  TargetDrivers drivers(targets.size());
  std::map<std::size_t, std::set<Half>> taken; // by weight
  for (const bool by_name : {true, false})
    for (std::size_t t = 0; t < targets.size(); ++t) {
      if (drivers[t]) continue;
      const auto meaning = FindArkitName(targets[t]);
      const auto weight = by_name   ? weights.Named(targets[t])
                          : meaning ? weights.Meaning(*meaning)
                                    : std::nullopt;
      if (!weight) continue;
      const Half half = meaning ? meaning->half : Half::Both;
      std::set<Half>& halves = taken[*weight];
      if (halves.contains(half) || halves.contains(Half::Both) || (half == Half::Both && !halves.empty())) {
        spare.insert(targets[t]);
        continue;
      }
      halves.insert(half);
      drivers[t] = weight;
    }
  return drivers;
}

/// Binds the targets with the names and meanings of weights. Returns those that are left at rest, because
/// another target of their mesh has the same meaning.
std::set<std::string> BindTargets(const WeightFinder& weights, const MorphTargets& targets,
                                  HeadBinding& binding) {
  std::set<std::string> spare;
  std::map<const std::vector<std::string>*, std::shared_ptr<const TargetDrivers>>
      known; // null where nothing drives
  for (const MorphNode& node : targets.nodes) {
    const auto [shared, is_new] = known.try_emplace(node.targets.get());
    if (is_new) {
      TargetDrivers drivers = FindDrivers(*node.targets, weights, spare);
      if (std::any_of(drivers.begin(), drivers.end(), [](const auto& driver) { return driver.has_value(); }))
        shared->second = std::make_shared<const TargetDrivers>(std::move(drivers));
    }
    if (shared->second) binding.nodes.push_back({node, shared->second});
  }
  return spare;
}

/// Binds the targets of the avatar's expressions that are driven.
void BindExpressions(const MorphTargets& targets, HeadBinding& binding) {
  std::map<std::size_t, BoundNode> bound; // by node
  for (BoundNode& node : binding.nodes) bound.emplace(node.node.node, std::move(node));
  std::map<std::size_t, const MorphNode*> morphs;
  for (const MorphNode& node : targets.nodes) morphs.emplace(node.node, &node);
  const std::vector<VrmExpression>& expressions = binding.vrm->Avatar().expressions;
  for (std::size_t e = 0; e < expressions.size(); ++e) {
    if (!binding.vrm->IsDriven(e)) continue;
    for (const VrmExpression::Bind& bind : expressions[e].binds) {
      const MorphNode& morph = *morphs.at(bind.node);
      BoundNode& node = bound.try_emplace(bind.node, BoundNode{morph, nullptr}).first->second;
      node.expressions[bind.target].emplace_back(e, bind.weight);
    }
  }
  binding.nodes.clear();
  for (auto& [index, node] : bound) binding.nodes.push_back(std::move(node));
}

/// What is driven, and what is not.
void Cover(const WeightFinder& weights, const MorphTargets& targets, std::set<std::string> spare,
           bool has_eyes, HeadBinding& binding) {
  HeadCoverage& coverage = binding.coverage;
  std::set<std::string> driven;  // targets
  std::set<std::size_t> driving; // weights
  std::set<const TargetDrivers*> counted;
  for (const BoundNode& bound : binding.nodes) {
    for (const auto& [target, expressions] : bound.expressions) driven.insert((*bound.node.targets)[target]);
    if (!bound.drivers || !counted.insert(bound.drivers.get()).second) continue;
    for (std::size_t t = 0; t < bound.drivers->size(); ++t)
      if (const auto& weight = (*bound.drivers)[t]) {
        driving.insert(*weight);
        driven.insert((*bound.node.targets)[t]);
      }
  }
  coverage.driven_targets = driven.size();
  coverage.driven_nodes = binding.nodes.size();
  if (binding.vrm) {
    coverage.is_avatar = true;
    const std::vector<VrmExpression>& expressions = binding.vrm->Avatar().expressions;
    for (std::size_t e = 0; e < expressions.size(); ++e) {
      const std::vector<std::size_t>& sources = binding.vrm->WeightsOf(e);
      driving.insert(sources.begin(), sources.end());
      if (binding.vrm->IsDriven(e))
        ++coverage.driven_expressions;
      else if (!expressions[e].binds.empty())
        coverage.expressions_without_shape.push_back(expressions[e].name);
    }
  } else {
    for (const std::string& target : targets.Names())
      if (!driven.contains(target)) coverage.targets_without_shape.push_back(target);
  }
  // The avatar's own tables show where the eyes look, whatever shapes follow them.
  const bool shows_gaze =
      binding.vrm && has_eyes && (binding.vrm->Avatar().looks_by_expressions || binding.vrm->Avatar().eyes);
  for (std::size_t w = 0; w < weights.All().size(); ++w) {
    const std::string& weight = weights.All()[w];
    const bool is_gaze = weight.starts_with("look") || weight.starts_with("eyeLook");
    if (!driving.contains(w) && !(shows_gaze && is_gaze)) coverage.shapes_without_target.push_back(weight);
  }
  std::erase_if(spare, [&](const std::string& target) { return driven.contains(target); });
  if (!spare.empty())
    coverage.notes.push_back(
        {Code::Ignored, "",
         fmt::format("left at rest, because another target of the same mesh has the same meaning: {}",
                     SomeQuoted({spare.begin(), spare.end()}))});
}

using NodeNames = std::map<std::string, std::vector<std::size_t>>;

void BindClusters(const std::vector<ClusterColumn>& clusters, const NodeNames& names, HeadBinding& binding) {
  HeadCoverage& coverage = binding.coverage;
  std::set<std::size_t> moved;
  for (const ClusterColumn& cluster : clusters) {
    static const std::vector<std::size_t> kNone;
    const auto known = names.find(cluster.name);
    const std::vector<std::size_t>& found = known == names.end() ? kNone : known->second;
    if (found.size() == 1 && moved.insert(found[0]).second) {
      binding.cluster_nodes.emplace_back(found[0]);
      ++coverage.driven_clusters;
      continue;
    }
    binding.cluster_nodes.emplace_back(std::nullopt);
    coverage.clusters_without_node.push_back(cluster.name);
    if (found.size() > 1)
      coverage.notes.push_back({Code::Duplicate, "",
                                fmt::format("{} nodes have the name of the cluster {} and are not moved",
                                            found.size(), Quoted(cluster.name))});
    else if (found.size() == 1)
      coverage.notes.push_back(
          {Code::Duplicate, "",
           fmt::format("the node {} follows the first of the clusters of its name", Quoted(cluster.name))});
  }
}

[[noreturn]] void FailUndriven(const Glb& head, const std::vector<std::string>& targets,
                               const WeightFinder& weights, const HeadBinding& binding) {
  if (binding.vrm) {
    std::vector<std::string> expressions;
    for (const VrmExpression& expression : binding.vrm->Avatar().expressions)
      expressions.push_back(expression.name);
    throw InputError(Code::Unmatched, head.file, "",
                     expressions.empty()
                         ? "the avatar has no expressions for shapes to drive"
                         : fmt::format("none of the avatar's expressions ({}) has the name of a shape ({})",
                                       SomeQuoted(expressions), SomeQuoted(weights.All())),
                     expressions.empty() ? "give it expressions, and export it again"
                                         : "name the character of the presets: --character vrm1");
  }
  if (targets.empty())
    throw InputError(Code::Unmatched, head.file, "",
                     "the head has no named morph targets for shapes to drive",
                     "export it with its shape keys and their names");
  throw InputError(Code::Unmatched, head.file, "",
                   fmt::format("none of the head's morph targets ({}) has the name of a shape ({})",
                               SomeQuoted(targets), SomeQuoted(weights.All())),
                   binding.weights == WeightKind::Templates
                       ? "solve with a character (-c), or give the targets the names of templates"
                       : "solve with a character whose shapes the head has");
}

std::size_t FindNode(const Glb& head, const NodeNames& nodes, const std::string& name) {
  const auto found = nodes.find(name);
  if (found == nodes.end()) {
    std::vector<std::string> names;
    for (const auto& [known, indices] : nodes) names.push_back(known);
    throw InputError(Code::NotFound, head.file, "", fmt::format("no node has the name {}", Quoted(name)),
                     names.empty() ? "name the head's node, and export again"
                                   : "name one of its nodes: " + SomeQuoted(names));
  }
  if (found->second.size() > 1)
    throw InputError(Code::Duplicate, head.file, "",
                     fmt::format("{} nodes have the name {}", found->second.size(), Quoted(name)),
                     "give the head's node a unique name, and export again");
  return found->second[0];
}

bool FollowsCluster(const HeadBinding& binding, std::size_t node) {
  return std::find(binding.cluster_nodes.begin(), binding.cluster_nodes.end(), node) !=
         binding.cluster_nodes.end();
}

/// `what`: "head", "left eye".
std::size_t FindFreeNode(const Glb& head, const NodeNames& names, const std::string& name,
                         std::string_view what, const HeadBinding& binding) {
  const std::size_t node = FindNode(head, names, name);
  if (FollowsCluster(binding, node))
    throw InputError(
        Code::Contradiction, head.file, "",
        fmt::format("the node {} would follow both the {} and the cluster of its name", Quoted(name), what),
        fmt::format("name another node as the {}, or remove the cluster from the character", what));
  return node;
}

void BindHeadNode(const Glb& head, const NodeNames& names, const std::string& name, HeadBinding& binding) {
  const std::size_t node = FindFreeNode(head, names, name, "head", binding);
  if (JsonAt(head).At("nodes").Element(node).Find("skin"))
    binding.coverage.notes.push_back(
        {Code::Doubtful, "",
         fmt::format("the node {} has a skinned mesh, which follows only its bones: to turn the head, name "
                     "its bone",
                     Quoted(name))});
  binding.head_node = node;
}

/// Whether a morph target follows the eyes, such as eyeLookUpLeft.
bool HasGazeTarget(const HeadBinding& binding) {
  for (const BoundNode& bound : binding.nodes)
    for (std::size_t t = 0; bound.drivers && t < bound.drivers->size(); ++t)
      if (const auto meaning = FindArkitName((*bound.node.targets)[t]);
          meaning && (*bound.drivers)[t] && kArkitNames[meaning->name].starts_with("eyeLook"))
        return true;
  return false;
}

/// Whether morph targets already turn what these nodes of eyes would. Those of the lids, which follow the
/// eyes, do not turn eyeballs with meshes of their own.
bool TargetsTurnEyes(const Glb& head, const HeadBinding& binding, const std::array<std::size_t, 2>& eyes) {
  const auto is_still_ball = [&](std::size_t eye) {
    return JsonAt(head).At("nodes").Element(eye).Find("mesh") &&
           std::none_of(binding.nodes.begin(), binding.nodes.end(),
                        [eye](const BoundNode& bound) { return bound.node.node == eye; });
  };
  return HasGazeTarget(binding) && !std::all_of(eyes.begin(), eyes.end(), is_still_ball);
}

/// The nodes that the user names as the eyes.
void BindNamedEyes(const Glb& head, const NodeNames& names, const std::pair<std::string, std::string>& eyes,
                   HeadBinding& binding) {
  const std::array<std::size_t, 2> nodes = {FindFreeNode(head, names, eyes.first, "left eye", binding),
                                            FindFreeNode(head, names, eyes.second, "right eye", binding)};
  if (nodes[0] == nodes[1] || binding.head_node == nodes[0] || binding.head_node == nodes[1])
    throw InputError(
        Code::Contradiction, head.file, "",
        fmt::format("{} and {} are not two nodes besides the head", Quoted(eyes.first), Quoted(eyes.second)),
        "name the nodes of the left and the right eye");
  if (TargetsTurnEyes(head, binding, nodes))
    binding.coverage.notes.push_back(
        {Code::Doubtful, "", "the eyes turn by their nodes, and morph targets follow them as well"});
  binding.eye_nodes = nodes;
}

/// The avatar's bones of the eyes or, of another head, the nodes with usual names, unless they follow something
/// else already.
void BindUsualEyes(const Glb& head, HeadBinding& binding) {
  const auto nodes = binding.vrm ? binding.vrm->Avatar().eyes : FindEyeNodes(head);
  if (!nodes) return;
  if (binding.vrm ? binding.vrm->Avatar().looks_by_expressions : TargetsTurnEyes(head, binding, *nodes))
    return;
  for (const std::size_t node : *nodes)
    if (FollowsCluster(binding, node) || binding.head_node == node) return;
  binding.eye_nodes = nodes;
}

void BindAvatarsHead(HeadBinding& binding) {
  const auto& node = binding.vrm->Avatar().head;
  if (node && !FollowsCluster(binding, *node)) binding.head_node = node;
}

} // namespace

HeadBinding BindHead(const AnimationLayout& layout, const Glb& head, const HeadNodes& nodes,
                     const AnimatedParts& animated) {
  HeadBinding binding;
  binding.weights = layout.shapes.empty() ? WeightKind::Templates : WeightKind::Shapes;
  const WeightFinder weights(layout.WeightNames(binding.weights));
  if (auto avatar = ReadVrm(head)) binding.vrm.emplace(std::move(*avatar), weights, animated.eyes);
  MorphTargets targets =
      FindMorphTargets(head, binding.vrm ? UnnamedTargets::Numbered : UnnamedTargets::LeftOut);
  std::vector<Note>& notes = binding.coverage.notes;
  notes = std::move(targets.notes);
  if (const auto note = NoteOnFilesBeside(head)) notes.push_back(*note);
  if (const std::size_t own = JsonAt(head).ElementsOf("animations").size(); own > 0)
    notes.push_back({Code::Doubtful, "",
                     fmt::format("the head already has {}: this one is added after it",
                                 own == 1 ? "an animation" : Count(own, "animation"))});

  std::set<std::string> spare = BindTargets(weights, targets, binding);
  if (binding.vrm) BindExpressions(targets, binding);
  Cover(weights, targets, std::move(spare), animated.eyes, binding);
  const NodeNames node_names = NodesByName(head);
  BindClusters(layout.clusters, node_names, binding);
  if (binding.coverage.driven_targets == 0 && binding.coverage.driven_clusters == 0 && !nodes.head)
    FailUndriven(head, targets.Names(), weights, binding);
  if (nodes.head)
    BindHeadNode(head, node_names, *nodes.head, binding);
  else if (binding.vrm && animated.head)
    BindAvatarsHead(binding);
  binding.coverage.turns_head = binding.head_node.has_value();
  if (nodes.eyes)
    BindNamedEyes(head, node_names, *nodes.eyes, binding);
  else if (animated.eyes)
    BindUsualEyes(head, binding);
  if (binding.eye_nodes)
    for (const std::size_t node : *binding.eye_nodes) {
      const auto name = JsonAt(head).At("nodes").Element(node).Find("name");
      binding.coverage.eye_nodes.push_back(name ? name->String() : "");
    }
  return binding;
}

} // namespace mien
