#include "host/gltf/node_tree.h"

#include "host/base/error.h"
#include "host/base/rotation.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/json_at.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace mien {

namespace {

/// Of axes whose columns are nearly orthogonal.
ClusterTransform TransformOfMatrix(const JsonAt& matrix) {
  const std::vector<double> m = matrix.Numbers(16); // column by column
  VgeTVector axes[3];
  double lengths[3];
  for (std::size_t a = 0; a < 3; ++a) {
    axes[a] = {m[4 * a], m[4 * a + 1], m[4 * a + 2], 0};
    lengths[a] = Length(axes[a]);
    if (!(lengths[a] > 0))
      matrix.Fail(Code::InvalidValue,
                  "this matrix scales its node to 0 along an axis, so that it cannot be turned",
                  "give the node a scale other than 0 and export the head again");
    axes[a] = {axes[a].x / lengths[a], axes[a].y / lengths[a], axes[a].z / lengths[a], 0};
  }
  constexpr double kShear = 1e-4; // exporters write six digits
  if (std::fabs(Dot(axes[0], axes[1])) > kShear || std::fabs(Dot(axes[1], axes[2])) > kShear ||
      std::fabs(Dot(axes[2], axes[0])) > kShear)
    matrix.Fail(Code::InvalidValue, "this matrix shears its node, which no rotation and scale can express",
                "apply the node's transform in the program that made the head and export it again");
  const bool mirrors = Dot(Cross(axes[0], axes[1]), axes[2]) < 0;

  ClusterTransform transform;
  transform.translation = {m[12], m[13], m[14]};
  transform.scale = VgeSVector(mirrors ? -lengths[0] : lengths[0], lengths[1], lengths[2]);
  // Made exactly orthogonal: y stays, x and z are corrected.
  const VgeTVector y = axes[1], z = Unit(mirrors ? Cross(y, axes[0]) : Cross(axes[0], y)), x = Cross(y, z);
  const VgeTVector proper[] = {x, y, z};
  for (std::size_t a = 0; a < 3; ++a) {
    transform.rotation.m[a][0] = proper[a].x;
    transform.rotation.m[a][1] = proper[a].y;
    transform.rotation.m[a][2] = proper[a].z;
  }
  return transform;
}

ClusterTransform TransformOf(const JsonAt& node) {
  ClusterTransform transform;
  const auto translation = node.Find("translation"), rotation = node.Find("rotation"),
             scale = node.Find("scale");
  if (const auto matrix = node.Find("matrix")) {
    if (translation || rotation || scale)
      node.Fail(Code::Contradiction, "this node has both a matrix and a translation, rotation or scale",
                "export the head again");
    return TransformOfMatrix(*matrix);
  }
  if (translation) {
    const auto t = translation->Numbers(3);
    transform.translation = {t[0], t[1], t[2]};
  }
  if (rotation) {
    const auto q = rotation->Numbers(4);
    if (q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 0)
      rotation->Fail(Code::InvalidValue, "this is not a rotation: the quaternion is 0",
                     "export the head again");
    transform.rotation = RotationOf(VgeQuaternion(q[0], q[1], q[2], q[3]));
  }
  if (scale) {
    const auto s = scale->Numbers(3);
    transform.scale = VgeSVector(s[0], s[1], s[2]);
  }
  return transform;
}

void SetTransform(nlohmann::ordered_json& node, const ClusterTransform& transform) {
  const VgeQuaternion rotation(transform.rotation);
  node["translation"] = {transform.translation.x, transform.translation.y, transform.translation.z};
  node["rotation"] = {rotation.x, rotation.y, rotation.z, rotation.w};
  node["scale"] = {transform.scale.x, transform.scale.y, transform.scale.z};
}

/// The parent of each node that has one.
std::vector<std::optional<std::size_t>> ParentsOf(const std::vector<JsonAt>& nodes) {
  std::vector<std::optional<std::size_t>> parents(nodes.size());
  for (std::size_t n = 0; n < nodes.size(); ++n)
    for (const JsonAt& child : nodes[n].ElementsOf("children")) {
      auto& parent = parents[child.Index(nodes.size(), "nodes")];
      if (parent)
        child.Fail(Code::Duplicate, fmt::format("this node is already a child of node {}", *parent),
                   "export the head again");
      parent = n;
    }
  return parents;
}

[[noreturn]] void FailOwnAncestor(const JsonAt& node) {
  node.Fail(Code::Contradiction, "this node is its own ancestor", "export the head again");
}

JsonAt NodeAt(const Glb& glb, std::size_t node) { return JsonAt(glb).At("nodes").Element(node); }

} // namespace

std::map<std::string, std::vector<std::size_t>> NodesByName(const Glb& glb) {
  std::map<std::string, std::vector<std::size_t>> nodes;
  const std::vector<JsonAt> all = JsonAt(glb).ElementsOf("nodes");
  for (std::size_t n = 0; n < all.size(); ++n)
    if (const auto name = all[n].Find("name")) nodes[name->String()].push_back(n);
  return nodes;
}

ClusterTransform TransformOfNode(const Glb& glb, std::size_t node) { return TransformOf(NodeAt(glb, node)); }

std::size_t AppendNode(Glb& glb, const std::string& name, const ClusterTransform& transform) {
  nlohmann::ordered_json node = {{"name", name}};
  SetTransform(node, transform);
  return AppendTo(glb, "nodes", std::move(node));
}

void ReplaceMatrix(Glb& glb, std::size_t node) {
  const ClusterTransform transform = TransformOfNode(glb, node);
  auto& json = glb.json["nodes"][node];
  if (json.erase("matrix") > 0) SetTransform(json, transform);
}

VgeAMatrix AxesOfParents(const Glb& glb, std::size_t node) {
  const std::vector<JsonAt> nodes = JsonAt(glb).At("nodes").Elements();
  const auto parents = ParentsOf(nodes);
  VgeAMatrix axes;
  std::size_t steps = 0;
  for (auto parent = parents[node]; parent; parent = parents[*parent]) {
    if (++steps > nodes.size()) FailOwnAncestor(nodes[node]);
    const ClusterTransform transform = TransformOf(nodes[*parent]);
    const double signs[] = {transform.scale.x < 0 ? -1.0 : 1.0, transform.scale.y < 0 ? -1.0 : 1.0,
                            transform.scale.z < 0 ? -1.0 : 1.0};
    VgeAMatrix own;
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row)
        own.m[column][row] = transform.rotation.m[column][row] * signs[column];
    axes = Product(own, axes);
  }
  return axes;
}

ScenePlaces::ScenePlaces(const Glb& glb)
    : nodes_(JsonAt(glb).ElementsOf("nodes")), parents_(ParentsOf(nodes_)) {}

const VgeAMatrix& ScenePlaces::Of(std::size_t node) {
  std::vector<std::size_t> unknown; // from the node upwards
  for (auto n = std::optional(node); n && !known_.contains(*n); n = parents_[*n]) {
    if (unknown.size() == nodes_.size()) FailOwnAncestor(nodes_[node]);
    unknown.push_back(*n);
  }
  for (std::size_t i = unknown.size(); i-- > 0;) {
    const std::size_t n = unknown[i];
    const ClusterTransform own = TransformOf(nodes_[n]);
    const double scale[] = {own.scale.x, own.scale.y, own.scale.z};
    VgeAMatrix place;
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) place.m[column][row] = own.rotation.m[column][row] * scale[column];
    SetColumn(place, 3, {own.translation.x, own.translation.y, own.translation.z});
    known_[n] = parents_[n] ? Product(known_.at(*parents_[n]), place) : place;
  }
  return known_.at(node);
}

} // namespace mien
