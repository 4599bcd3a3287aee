#include "host/animation/animation_glb.h"

#include "host/animation/gltf_clock.h"
#include "host/base/error.h"
#include "host/base/rotation.h"
#include "host/face/face_glb.h"
#include "host/gltf/glb_animation.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/morph_targets.h"
#include "host/gltf/node_tree.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace mien {

namespace {

const ClusterTransform& LocalCluster(const Animation& animation, std::size_t frame, std::size_t cluster) {
  return animation.local_clusters[frame * animation.layout.clusters.size() + cluster];
}

double WeightOf(const Animation& animation, WeightKind kind, std::size_t frame, std::size_t weight) {
  return kind == WeightKind::Templates ? animation.Weight(frame, weight)
                                       : animation.ShapeWeight(frame, weight);
}

/// The morph targets of one node: each follows the weight that drives it, or stays at rest.
void AddWeights(GlbAnimation& glb, const Animation& animation, WeightKind kind, const BoundNode& bound) {
  glb.AddWeights(bound.node, [&](std::size_t frame, std::size_t target) {
    const std::optional<std::size_t> driver = (*bound.drivers)[target];
    return driver ? WeightOf(animation, kind, frame, *driver) : (*bound.node.defaults)[target];
  });
}

/// Completes the animation under its take's name.
void Finish(GlbAnimation& glb, const Animation& animation, HeadCoverage& coverage) {
  glb.Finish(animation.layout.take, ClockOf(animation));
  if (const auto note = NoteOnLeftOut(glb.LeftOutFrames())) coverage.notes.push_back(*note);
}

// --- Onto a head

/// A node that turns about the scene's axes, as read from the head.
struct TurningNode {
  std::size_t node = 0;
  VgeAMatrix parents; // the axes of its parents, in the scene
  VgeAMatrix own;     // its rotation
};

/// The transforms of the nodes to be moved, as read from the head.
struct HeadRest {
  std::optional<TurningNode> head;
  std::vector<TurningNode> eyes;
  std::vector<ClusterTransform> clusters; // of their nodes (size: clusters)
};

TurningNode ReadTurningNode(const Glb& head, std::size_t node) {
  TurningNode turning = {.node = node, .parents = AxesOfParents(head, node), .own = {}};
  const VgeRMatrix own = TransformOfNode(head, node).rotation;
  for (int column = 0; column < 3; ++column) std::copy_n(own.m[column], 3, turning.own.m[column]);
  return turning;
}

HeadRest ReadRest(const Glb& head, const HeadBinding& binding) {
  HeadRest rest;
  if (binding.head_node) rest.head = ReadTurningNode(head, *binding.head_node);
  if (binding.eye_nodes)
    for (const std::size_t node : *binding.eye_nodes) rest.eyes.push_back(ReadTurningNode(head, node));
  for (const auto& node : binding.cluster_nodes)
    rest.clusters.push_back(node ? TransformOfNode(head, *node) : ClusterTransform());
  return rest;
}

/// Gives the nodes to be moved a transform that can be animated.
void MakeMovable(Glb& head, const HeadBinding& binding) {
  if (binding.head_node) ReplaceMatrix(head, *binding.head_node);
  if (binding.eye_nodes)
    for (const std::size_t node : *binding.eye_nodes) ReplaceMatrix(head, node);
  for (const auto& node : binding.cluster_nodes)
    if (node) ReplaceMatrix(head, *node);
}

/// A cluster's motion from its rest, applied to a node that may have another rest: equal to the cluster's
/// transform if both have the same rest.
ClusterTransform Moved(const ClusterTransform& node, const ClusterTransform& rest,
                       const ClusterTransform& cluster) {
  ClusterTransform moved = node;
  moved.translation.x += cluster.translation.x - rest.translation.x;
  moved.translation.y += cluster.translation.y - rest.translation.y;
  moved.translation.z += cluster.translation.z - rest.translation.z;
  SetProduct(moved.rotation, moved.rotation, Transposed(rest.rotation));
  SetProduct(moved.rotation, moved.rotation, cluster.rotation);
  moved.scale = VgeSVector(node.scale.x * (cluster.scale.x / rest.scale.x),
                           node.scale.y * (cluster.scale.y / rest.scale.y),
                           node.scale.z * (cluster.scale.z / rest.scale.z));
  return moved;
}

/// Turns a node about the axes that the scene has at rest, whatever the transforms of its parents.
template <class Motion>
void AddTurn(GlbAnimation& glb, const TurningNode& turning, const Motion& motion) {
  const VgeAMatrix to_parents = InverseOfOrthogonalAxes(turning.parents);
  const VgeAMatrix from_rest = Product(turning.parents, turning.own);
  glb.AddRotation(turning.node, [&](std::size_t f) {
    return RotationOf(Product(to_parents, Product(motion(f), from_rest)));
  });
}

// --- Onto an avatar

/// The avatar's expressions in all frames (size: frames x expressions).
std::vector<double> ExpressionsOf(const Animation& animation, const HeadBinding& binding) {
  std::vector<double> expressions;
  for (std::size_t f = 0; f < animation.frames.size(); ++f) {
    const AnimationFrame frame = animation.Frame(f);
    const std::vector<double> shown = binding.vrm->Solve(frame.WeightsOf(binding.weights), frame.eyes);
    expressions.insert(expressions.end(), shown.begin(), shown.end());
  }
  return expressions;
}

/// Likewise, where expressions move some of the targets.
void AddExpressions(GlbAnimation& glb, const Animation& animation, WeightKind kind, const BoundNode& bound,
                    const std::vector<double>& expressions) {
  const std::size_t count = expressions.size() / animation.frames.size();
  glb.AddWeights(
      bound.node,
      [&](std::size_t frame, std::size_t target) {
        const auto moving = bound.expressions.find(target);
        if (moving == bound.expressions.end()) {
          const auto driver = bound.drivers ? (*bound.drivers)[target] : std::nullopt;
          return driver ? WeightOf(animation, kind, frame, *driver) : (*bound.node.defaults)[target];
        }
        double weight = 0;
        for (const auto& [expression, share] : moving->second)
          weight += share * expressions[frame * count + expression];
        return weight;
      },
      GlbAnimation::Curve::Own);
}

/// A motion in the axes of a face that looks along +z, in those of one that looks along -z.
VgeAMatrix TurnedBack(VgeAMatrix motion) {
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      if ((column == 1) != (row == 1)) motion.m[column][row] = -motion.m[column][row];
  return motion;
}

// --- The built-in head

nlohmann::ordered_json& NodeAt(Glb& glb, std::size_t node) { return glb.json["nodes"][node]; }

/// Adds a node for each cluster, below one for its part. Returns the clusters' nodes.
std::vector<std::size_t> AppendClusterNodes(Glb& glb, const AnimationLayout& layout,
                                            const Character* character) {
  std::vector<std::size_t> nodes;
  std::map<std::string, std::size_t> roots; // by part
  for (std::size_t c = 0; c < layout.clusters.size(); ++c) {
    const auto& [part, name] = layout.clusters[c];
    const auto [root, is_new] = roots.try_emplace(part);
    if (is_new) {
      ClusterTransform transform;
      if (character)
        for (const Character::Part& known : character->parts)
          if (known.name == part) transform = known.root;
      root->second = AppendNode(glb, part, transform);
      NodeAt(glb, FaceGlb::kRoot)["children"].push_back(root->second);
    }
    nodes.push_back(AppendNode(glb, name, layout.rest_clusters[c]));
    NodeAt(glb, root->second)["children"].push_back(nodes.back());
  }
  return nodes;
}

/// The face's targets have the names of weights: of templates, or of the character's shapes.
BoundNode BindFace(const Glb& face, const std::vector<std::string>& weights) {
  const MorphNode node = FindMorphTargets(face).nodes[0];
  TargetDrivers drivers;
  for (const std::string& target : *node.targets) {
    const auto found = std::find(weights.begin(), weights.end(), target);
    drivers.push_back(found != weights.end()
                          ? std::optional(static_cast<std::size_t>(found - weights.begin()))
                          : std::nullopt);
  }
  return {node, std::make_shared<const TargetDrivers>(std::move(drivers))};
}

} // namespace

HeadCoverage WriteAnimationOntoHead(const Animation& animation, Glb head, const HeadNodes& nodes,
                                    std::ostream& out) {
  CheckAppendable(head);
  HeadBinding binding = BindHead(animation.layout, head, nodes,
                                 {.head = animation.HeadMoves(), .eyes = !animation.eyes.empty()});
  if (animation.frames.empty())
    throw InputError(Code::Empty, animation.layout.take, "", "the take has no frames",
                     "solve a take with frames");
  const HeadRest rest = ReadRest(head, binding);
  MakeMovable(head, binding);

  GlbAnimation glb(head, animation.times);
  const std::vector<double> expressions =
      binding.vrm ? ExpressionsOf(animation, binding) : std::vector<double>();
  for (const BoundNode& node : binding.nodes)
    if (node.expressions.empty())
      AddWeights(glb, animation, binding.weights, node);
    else
      AddExpressions(glb, animation, binding.weights, node, expressions);
  const bool turned_back = binding.vrm && !binding.vrm->Avatar().faces_forward;
  const auto in_scene = [&](const VgeAMatrix& motion) { return turned_back ? TurnedBack(motion) : motion; };
  if (rest.head) AddTurn(glb, *rest.head, [&](std::size_t f) { return in_scene(animation.HeadMotion(f)); });
  for (std::size_t eye = 0; eye < rest.eyes.size(); ++eye)
    AddTurn(glb, rest.eyes[eye], [&](std::size_t f) {
      const Eyes eyes = animation.eyes.empty() ? Eyes() : animation.eyes[f];
      return in_scene(RotationBy((binding.vrm ? binding.vrm->TurnOf(eyes) : eyes)[eye]));
    });
  for (std::size_t c = 0; c < binding.cluster_nodes.size(); ++c)
    if (binding.cluster_nodes[c])
      glb.AddTransform(*binding.cluster_nodes[c], [&](std::size_t f) {
        return Moved(rest.clusters[c], animation.layout.rest_clusters[c], LocalCluster(animation, f, c));
      });
  Finish(glb, animation, binding.coverage);
  WriteGlb(head, out);
  return std::move(binding.coverage);
}

HeadCoverage WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out) {
  FaceGlb face = MakeFaceGlb(character);
  const std::vector<std::size_t> cluster_nodes = AppendClusterNodes(face.glb, animation.layout, character);
  HeadCoverage coverage;
  coverage.shapes_without_target = std::move(face.shapes_without_target);
  coverage.notes = std::move(face.notes);
  coverage.driven_clusters = cluster_nodes.size();
  if (!animation.frames.empty()) { // otherwise the face at rest
    const WeightKind kind = face.has_shapes ? WeightKind::Shapes : WeightKind::Templates;
    GlbAnimation glb(face.glb, animation.times);
    const BoundNode bound = BindFace(face.glb, animation.layout.WeightNames(kind));
    AddWeights(glb, animation, kind, bound);
    glb.AddRotation(FaceGlb::kFace, [&](std::size_t f) { return RotationOf(animation.HeadMotion(f)); });
    if (!animation.eyes.empty()) {
      const std::size_t eyes[] = {FaceGlb::kLeftEye, FaceGlb::kRightEye};
      for (std::size_t eye = 0; eye < 2; ++eye)
        glb.AddRotation(eyes[eye],
                        [&](std::size_t f) { return RotationOf(RotationBy(animation.eyes[f][eye])); });
      coverage.eye_nodes = {"LeftEye", "RightEye"};
    }
    for (std::size_t c = 0; c < cluster_nodes.size(); ++c)
      glb.AddTransform(cluster_nodes[c], [&](std::size_t f) { return LocalCluster(animation, f, c); });
    Finish(glb, animation, coverage);
    coverage.driven_targets = bound.node.targets->size();
    coverage.driven_nodes = 1;
  }
  WriteGlb(face.glb, out);
  return coverage;
}

} // namespace mien
