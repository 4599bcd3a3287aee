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

/// Finds weights by name and by meaning.
class WeightNames {
public:
  explicit WeightNames(std::vector<std::string> names) : names_(std::move(names)) {
    for (std::size_t n = 0; n < names_.size(); ++n) {
      by_name_.emplace(names_[n], n);
      if (const auto meaning = FindArkitName(names_[n])) by_meaning_.emplace(Key(*meaning), n);
    }
  }

  const std::vector<std::string>& All() const { return names_; }

  /// The weight of this name.
  std::optional<std::size_t> Named(const std::string& target) const {
    const auto same = by_name_.find(target);
    return same != by_name_.end() ? std::optional(same->second) : std::nullopt;
  }

  /// A weight with this meaning.
  std::optional<std::size_t> Meaning(const ArkitMatch& meaning) const {
    const ArkitMatch whole = {meaning.name, ArkitMatch::Half::Both}; // drives both halves
    for (const ArkitMatch& wanted : {meaning, whole})
      if (const auto found = by_meaning_.find(Key(wanted)); found != by_meaning_.end()) return found->second;
    return std::nullopt;
  }

private:
  static std::pair<std::size_t, ArkitMatch::Half> Key(const ArkitMatch& match) {
    return {match.name, match.half};
  }

  std::vector<std::string> names_;
  std::map<std::string, std::size_t> by_name_;                                 // of equal ones the first
  std::map<std::pair<std::size_t, ArkitMatch::Half>, std::size_t> by_meaning_; // likewise
};

/// The weight that drives each target of a mesh: the one of its name, otherwise one with the same meaning. A
/// weight drives one target, or one for each half. Further spellings on the same mesh would move it twice;
/// they are added to `spare`.
TargetDrivers FindDrivers(const std::vector<std::string>& targets, const WeightNames& weights,
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

void BindTargets(const WeightNames& weights, const MorphTargets& targets, HeadBinding& binding) {
  std::set<std::string> driven, spare; // targets
  std::set<std::size_t> driving;       // weights
  std::map<const std::vector<std::string>*, std::shared_ptr<const TargetDrivers>>
      known; // null where nothing drives
  for (const MorphNode& node : targets.nodes) {
    const auto [shared, is_new] = known.try_emplace(node.targets.get());
    if (is_new) {
      TargetDrivers drivers = FindDrivers(*node.targets, weights, spare);
      bool any = false;
      for (std::size_t t = 0; t < drivers.size(); ++t) {
        if (!drivers[t]) continue;
        driven.insert((*node.targets)[t]);
        driving.insert(*drivers[t]);
        any = true;
      }
      if (any) shared->second = std::make_shared<const TargetDrivers>(std::move(drivers));
    }
    if (shared->second) binding.nodes.push_back({node, shared->second});
  }

  HeadCoverage& coverage = binding.coverage;
  coverage.driven_targets = driven.size();
  coverage.driven_nodes = binding.nodes.size();
  for (const std::string& target : targets.Names())
    if (!driven.contains(target)) coverage.targets_without_shape.push_back(target);
  for (std::size_t w = 0; w < weights.All().size(); ++w)
    if (!driving.contains(w)) coverage.shapes_without_target.push_back(weights.All()[w]);
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
                               const WeightNames& weights, WeightKind kind) {
  if (targets.empty())
    throw InputError(Code::Unmatched, head.file, "",
                     "the head has no named morph targets for shapes to drive",
                     "export it with its shape keys and their names");
  throw InputError(Code::Unmatched, head.file, "",
                   fmt::format("none of the head's morph targets ({}) has the name of a shape ({})",
                               SomeQuoted(targets), SomeQuoted(weights.All())),
                   kind == WeightKind::Templates
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
    for (std::size_t t = 0; t < bound.drivers->size(); ++t)
      if (const auto meaning = FindArkitName((*bound.node.targets)[t]);
          meaning && (*bound.drivers)[t] && kArkitNames[meaning->name].starts_with("eyeLook"))
        return true;
  return false;
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
  if (HasGazeTarget(binding))
    binding.coverage.notes.push_back(
        {Code::Doubtful, "", "the eyes turn by their nodes, and morph targets follow them as well"});
  binding.eye_nodes = nodes;
}

/// The nodes with usual names of eyes, unless they follow something else already.
void BindUsualEyes(const Glb& head, HeadBinding& binding) {
  if (HasGazeTarget(binding)) return;
  const auto nodes = FindEyeNodes(head);
  if (!nodes) return;
  for (const std::size_t node : *nodes)
    if (FollowsCluster(binding, node) || binding.head_node == node) return;
  binding.eye_nodes = nodes;
}

} // namespace

HeadBinding BindHead(const AnimationLayout& layout, const Glb& head, const HeadNodes& nodes, bool has_eyes) {
  HeadBinding binding;
  binding.weights = layout.shapes.empty() ? WeightKind::Templates : WeightKind::Shapes;
  MorphTargets targets = FindMorphTargets(head);
  std::vector<Note>& notes = binding.coverage.notes;
  notes = std::move(targets.notes);
  if (const auto note = NoteOnFilesBeside(head)) notes.push_back(*note);
  if (const std::size_t own = JsonAt(head).ElementsOf("animations").size(); own > 0)
    notes.push_back({Code::Doubtful, "",
                     fmt::format("the head already has {}: this one is added after it",
                                 own == 1 ? "an animation" : Count(own, "animation"))});

  const WeightNames weights(layout.WeightNames(binding.weights));
  BindTargets(weights, targets, binding);
  const NodeNames node_names = NodesByName(head);
  BindClusters(layout.clusters, node_names, binding);
  if (binding.coverage.driven_targets == 0 && binding.coverage.driven_clusters == 0 && !nodes.head)
    FailUndriven(head, targets.Names(), weights, binding.weights);
  if (nodes.head) BindHeadNode(head, node_names, *nodes.head, binding);
  if (nodes.eyes)
    BindNamedEyes(head, node_names, *nodes.eyes, binding);
  else if (has_eyes)
    BindUsualEyes(head, binding);
  if (binding.eye_nodes)
    for (const std::size_t node : *binding.eye_nodes) {
      const auto name = JsonAt(head).At("nodes").Element(node).Find("name");
      binding.coverage.eye_nodes.push_back(name ? name->String() : "");
    }
  return binding;
}

} // namespace mien
