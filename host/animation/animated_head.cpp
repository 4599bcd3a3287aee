#include "host/animation/animated_head.h"

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/rotation.h"
#include "host/face/face_glb.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/node_tree.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <map>
#include <utility>

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
AnimatedHead::Morphs MorphsOf(const Animation& animation, WeightKind kind, const BoundNode& bound) {
  return {bound.node, bound.drivers, [&animation, kind, bound](std::size_t frame, std::size_t target) {
            const std::optional<std::size_t> driver = (*bound.drivers)[target];
            return driver ? WeightOf(animation, kind, frame, *driver) : (*bound.node.defaults)[target];
          }};
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
AnimatedHead::Turning TurnOf(const TurningNode& turning,
                             std::function<VgeAMatrix(std::size_t frame)> motion) {
  const VgeAMatrix to_parents = InverseOfOrthogonalAxes(turning.parents);
  const VgeAMatrix from_rest = Product(turning.parents, turning.own);
  return {turning.node, [to_parents, from_rest, motion = std::move(motion)](std::size_t f) {
            return RotationOf(Product(to_parents, Product(motion(f), from_rest)));
          }};
}

// --- Onto an avatar

/// The avatar's expressions in all frames (size: frames x expressions).
LongVector<double> ExpressionsOf(const Animation& animation, const HeadBinding& binding) {
  LongVector<double> expressions;
  for (std::size_t f = 0; f < animation.frames.size(); ++f) {
    const AnimationFrame frame = animation.Frame(f);
    const std::vector<double> shown = binding.vrm->Solve(frame.WeightsOf(binding.weights), frame.eyes);
    expressions.append(shown);
  }
  return expressions;
}

/// Likewise, where expressions move some of the targets. `expressions`: of the avatar, in all frames.
AnimatedHead::Morphs ExpressedMorphsOf(const Animation& animation, WeightKind kind, const BoundNode& bound,
                                       const std::shared_ptr<const LongVector<double>>& expressions) {
  const std::size_t count = expressions->size() / animation.frames.size();
  return {bound.node, nullptr,
          [&animation, kind, bound, expressions, count](std::size_t frame, std::size_t target) {
            const auto moving = bound.expressions.find(target);
            if (moving == bound.expressions.end()) {
              const auto driver = bound.drivers ? (*bound.drivers)[target] : std::nullopt;
              return driver ? WeightOf(animation, kind, frame, *driver) : (*bound.node.defaults)[target];
            }
            double weight = 0;
            for (const auto& [expression, share] : moving->second)
              weight += share * (*expressions)[frame * count + expression];
            return weight;
          }};
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

AnimatedHead AnimateHead(const Animation& animation, Glb glb, const HeadNodes& nodes) {
  CheckAppendable(glb);
  HeadBinding binding = BindHead(animation.layout, glb, nodes,
                                 {.head = animation.HeadMoves(), .eyes = !animation.eyes.empty()});
  if (animation.frames.empty())
    throw InputError(Code::Empty, animation.layout.take, "", "the take has no frames",
                     "solve a take with frames");
  const HeadRest rest = ReadRest(glb, binding);
  MakeMovable(glb, binding);

  AnimatedHead head;
  head.weights = binding.weights;
  const std::shared_ptr<const VrmBinding> vrm =
      binding.vrm ? std::make_shared<const VrmBinding>(*binding.vrm) : nullptr;
  const auto expressions =
      vrm ? std::make_shared<const LongVector<double>>(ExpressionsOf(animation, binding)) : nullptr;
  for (const BoundNode& node : binding.nodes)
    head.morphs.push_back(node.expressions.empty()
                              ? MorphsOf(animation, binding.weights, node)
                              : ExpressedMorphsOf(animation, binding.weights, node, expressions));
  const auto in_scene = [turned_back = vrm && !vrm->Avatar().faces_forward](const VgeAMatrix& motion) {
    return turned_back ? TurnedBack(motion) : motion;
  };
  if (rest.head) {
    head.head_node = rest.head->node;
    head.turning.push_back(TurnOf(
        *rest.head, [&animation, in_scene](std::size_t f) { return in_scene(animation.HeadMotion(f)); }));
  }
  for (std::size_t eye = 0; eye < rest.eyes.size(); ++eye)
    head.turning.push_back(TurnOf(rest.eyes[eye], [&animation, in_scene, vrm, eye](std::size_t f) {
      const Eyes eyes = animation.eyes.empty() ? Eyes() : animation.eyes[f];
      return in_scene(RotationBy((vrm ? vrm->TurnOf(eyes) : eyes)[eye]));
    }));
  for (std::size_t c = 0; c < binding.cluster_nodes.size(); ++c)
    if (const auto& node = binding.cluster_nodes[c])
      head.moving.push_back({*node, [&animation, at_rest = rest.clusters[c], c](std::size_t f) {
                               return Moved(at_rest, animation.layout.rest_clusters[c],
                                            LocalCluster(animation, f, c));
                             }});
  head.glb = std::move(glb);
  head.coverage = std::move(binding.coverage);
  return head;
}

AnimatedHead AnimateFace(const Animation& animation, const Character* character) {
  FaceGlb face = MakeFaceGlb(character);
  const std::vector<std::size_t> cluster_nodes = AppendClusterNodes(face.glb, animation.layout, character);
  AnimatedHead head;
  head.coverage.shapes_without_target = std::move(face.shapes_without_target);
  head.coverage.notes = std::move(face.notes);
  head.coverage.driven_clusters = cluster_nodes.size();
  head.weights = face.has_shapes ? WeightKind::Shapes : WeightKind::Templates;
  if (!animation.frames.empty()) { // otherwise the face at rest
    const BoundNode bound = BindFace(face.glb, animation.layout.WeightNames(head.weights));
    head.morphs.push_back(MorphsOf(animation, head.weights, bound));
    head.head_node = FaceGlb::kFace;
    head.turning.push_back(
        {FaceGlb::kFace, [&animation](std::size_t f) { return RotationOf(animation.HeadMotion(f)); }});
    if (!animation.eyes.empty()) {
      const std::size_t eyes[] = {FaceGlb::kLeftEye, FaceGlb::kRightEye};
      for (std::size_t eye = 0; eye < 2; ++eye)
        head.turning.push_back({eyes[eye], [&animation, eye](std::size_t f) {
                                  return RotationOf(RotationBy(animation.eyes[f][eye]));
                                }});
      head.coverage.eye_nodes = {"LeftEye", "RightEye"};
    }
    for (std::size_t c = 0; c < cluster_nodes.size(); ++c)
      head.moving.push_back(
          {cluster_nodes[c], [&animation, c](std::size_t f) { return LocalCluster(animation, f, c); }});
    head.coverage.driven_targets = bound.node.targets->size();
    head.coverage.driven_nodes = 1;
  }
  head.glb = std::move(face.glb);
  return head;
}

} // namespace mien
