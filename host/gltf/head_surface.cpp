#include "host/gltf/head_surface.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/gltf/accessors.h"
#include "host/gltf/json_at.h"
#include "host/gltf/morph_targets.h"
#include "host/gltf/node_tree.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string_view>

namespace mien {

namespace {

constexpr std::string_view kExportAgain = "export the head again";
constexpr std::size_t kMostVertices = 500'000, kMostNodes = 200;

/// Indices of the targets that make up each of the 52.
using TargetsOfShapes = std::array<std::vector<std::size_t>, kArkitNames.size()>;

TargetsOfShapes TargetsOf(const std::vector<std::string>& names) {
  using Half = ArkitMatch::Half;
  std::array<std::array<std::optional<std::size_t>, 3>, kArkitNames.size()> found;
  for (std::size_t t = 0; t < names.size(); ++t)
    if (const auto match = FindArkitName(names[t]))
      if (auto& target = found[match->name][static_cast<std::size_t>(match->half)]; !target) target = t;
  TargetsOfShapes targets;
  for (std::size_t s = 0; s < targets.size(); ++s) {
    const auto& of = found[s];
    if (const auto& whole = of[static_cast<std::size_t>(Half::Both)])
      targets[s] = {*whole};
    else
      for (const Half half : {Half::Left, Half::Right})
        if (const auto& target = of[static_cast<std::size_t>(half)]) targets[s].push_back(*target);
  }
  return targets;
}

/// Where a node puts the vertices of its mesh: where it stands, or if they have joints, where these put them.
class VertexPlaces {
public:
  VertexPlaces(const Glb& head, const Accessors& accessors, ScenePlaces& scene, std::size_t node)
      : accessors_(accessors), place_(scene.Of(node)) {
    const JsonAt root(head), shown = root.At("nodes").Element(node);
    const auto skin_index = shown.Find("skin");
    if (!skin_index) return;
    const std::vector<JsonAt> skins = root.ElementsOf("skins");
    const JsonAt& skin = skins[skin_index->Index(skins.size(), "skins")];
    const std::vector<JsonAt> joints = skin.At("joints").Elements();
    const auto inverses = skin.Find("inverseBindMatrices");
    const std::vector<double> numbers =
        inverses ? accessors.Numbers(*inverses, 16, joints.size()) : std::vector<double>();
    const std::size_t nodes = root.At("nodes").Value().size();
    for (std::size_t j = 0; j < joints.size(); ++j) {
      VgeAMatrix inverse;
      if (inverses)
        for (std::size_t column = 0; column < 4; ++column)
          for (std::size_t row = 0; row < 3; ++row)
            inverse.m[column][row] = numbers[16 * j + 4 * column + row];
      joints_.push_back(Product(scene.Of(joints[j].Index(nodes, "nodes")), inverse));
    }
  }

  /// Goes on to a primitive of so many vertices.
  void Begin(const JsonAt& attributes, std::size_t vertices) {
    weights_.clear();
    const auto joints = attributes.Find("JOINTS_0"), weights = attributes.Find("WEIGHTS_0");
    if (joints_.empty() || !joints || !weights) return;
    indices_ = accessors_.Numbers(*joints, 4, vertices);
    weights_ = accessors_.Numbers(*weights, 4, vertices);
    for (std::size_t i = 0; i < indices_.size(); ++i)
      if (weights_[i] != 0 && !(indices_[i] >= 0 && indices_[i] < static_cast<double>(joints_.size())))
        joints->Fail(Code::InvalidValue,
                     fmt::format("vertex {} follows a joint that its skin does not have", i / 4),
                     kExportAgain);
  }

  /// The transform of a vertex: the mean of its joints', by its weights.
  VgeAMatrix Of(std::size_t vertex) const {
    double sum = 0;
    if (!weights_.empty())
      for (std::size_t i = 4 * vertex; i < 4 * vertex + 4; ++i) sum += weights_[i];
    if (!(sum > 0)) return place_;
    VgeAMatrix mean;
    for (auto& column : mean.m) std::fill_n(column, 3, 0.0);
    for (std::size_t i = 4 * vertex; i < 4 * vertex + 4; ++i) {
      if (weights_[i] == 0) continue;
      const VgeAMatrix& joint = joints_[static_cast<std::size_t>(indices_[i])];
      for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 3; ++row) mean.m[column][row] += weights_[i] / sum * joint.m[column][row];
    }
    return mean;
  }

private:
  const Accessors& accessors_;
  VgeAMatrix place_;
  std::vector<VgeAMatrix> joints_;
  std::vector<double> indices_, weights_; // of the primitive: four for each vertex; empty without
};

/// Of a primitive, before its node moves it: x, y and z of each vertex.
class Primitive {
public:
  Primitive(const Accessors& accessors, const JsonAt& primitive)
      : accessors_(accessors), attributes_(primitive.At("attributes")),
        positions_(attributes_.At("POSITION")), targets_(primitive.ElementsOf("targets")),
        count_(accessors.Count(positions_)) {}

  const JsonAt& Attributes() const { return attributes_; }
  const JsonAt& Positions() const { return positions_; }
  std::size_t Count() const { return count_; }

  std::vector<double> Rest() const { return accessors_.Numbers(positions_, 3); }

  /// Adds `weight` times what a target moves; it may move nothing.
  void AddTarget(std::vector<double>& sum, std::size_t target, double weight) const {
    const auto moved = targets_[target].Find("POSITION");
    if (!moved) return;
    const std::vector<double> numbers = accessors_.Numbers(*moved, 3, count_);
    for (std::size_t i = 0; i < numbers.size(); ++i) sum[i] += weight * numbers[i];
  }

private:
  const Accessors& accessors_;
  JsonAt attributes_, positions_;
  std::vector<JsonAt> targets_;
  std::size_t count_;
};

Point PointOf(const VgeTVector& v) { return {v.x, v.y, v.z}; }

/// By the 52, also those that no mesh has.
using MovedByShapes = std::array<std::vector<Point>, kArkitNames.size()>;

void AddPrimitive(const Primitive& primitive, const MorphNode& node, const TargetsOfShapes& targets,
                  VertexPlaces& places, std::vector<Point>& rest, MovedByShapes& moved) {
  const std::size_t first = rest.size();
  if (primitive.Count() > kMostVertices - first)
    primitive.Positions().Fail(
        Code::Limit,
        fmt::format("with these the meshes with shapes have more than {} vertices", kMostVertices),
        "export the head with fewer vertices");
  std::vector<double> numbers = primitive.Rest();
  for (std::size_t t = 0; t < node.defaults->size(); ++t)
    if ((*node.defaults)[t] != 0 && !FindArkitName((*node.targets)[t]))
      primitive.AddTarget(numbers, t, (*node.defaults)[t]);
  places.Begin(primitive.Attributes(), primitive.Count());
  std::vector<VgeAMatrix> at;
  for (std::size_t v = 0; v < primitive.Count(); ++v) {
    at.push_back(places.Of(v));
    rest.push_back(PointOf(TransformPoint(at[v], {numbers[3 * v], numbers[3 * v + 1], numbers[3 * v + 2]})));
  }
  for (std::size_t s = 0; s < targets.size(); ++s) {
    if (targets[s].empty()) continue;
    std::vector<double> sum(3 * primitive.Count(), 0.0);
    for (const std::size_t target : targets[s]) primitive.AddTarget(sum, target, 1);
    moved[s].resize(first);
    for (std::size_t v = 0; v < primitive.Count(); ++v)
      moved[s].push_back(PointOf(TransformDirection(at[v], {sum[3 * v], sum[3 * v + 1], sum[3 * v + 2], 0})));
  }
}

bool IsFinite(const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

} // namespace

HeadSurface ReadHeadSurface(const Glb& head) {
  const JsonAt root(head);
  const Accessors accessors(head);
  ScenePlaces scene(head);
  HeadSurface surface;
  MovedByShapes moved;
  std::size_t nodes = 0;
  const MorphTargets morphs = FindMorphTargets(head);
  for (const MorphNode& node : morphs.nodes) {
    const TargetsOfShapes targets = TargetsOf(*node.targets);
    if (std::all_of(targets.begin(), targets.end(), [](const auto& of) { return of.empty(); })) continue;
    const JsonAt shown = root.At("nodes").Element(node.node);
    if (++nodes > kMostNodes)
      shown.Fail(Code::Limit, fmt::format("with this more than {} nodes show meshes with shapes", kMostNodes),
                 "export only the head");
    VertexPlaces places(head, accessors, scene, node.node);
    const JsonAt mesh = root.At("meshes").Element(shown.At("mesh").Value().get<std::size_t>());
    for (const JsonAt& primitive : mesh.At("primitives").Elements())
      AddPrimitive(Primitive(accessors, primitive), node, targets, places, surface.rest, moved);
  }
  if (nodes == 0)
    throw InputError(Code::Unmatched, head.file, "",
                     morphs.nodes.empty() ? "the head has no morph targets with names"
                                          : "none of the head's morph targets means one of the 52 shapes: " +
                                                SomeQuoted(morphs.Names()),
                     "export a head whose shape keys have the names of the 52, such as jawOpen");
  if (surface.rest.empty())
    throw InputError(Code::Empty, head.file, "/meshes", "the meshes with shapes have no vertices",
                     kExportAgain);
  for (std::size_t s = 0; s < moved.size(); ++s) {
    if (moved[s].empty()) continue;
    moved[s].resize(surface.rest.size());
    surface.shapes.emplace_back(kArkitNames[s]);
    surface.moved.push_back(std::move(moved[s]));
  }
  const auto all_finite = [](const std::vector<Point>& points) {
    return std::all_of(points.begin(), points.end(), IsFinite);
  };
  if (!all_finite(surface.rest) || !std::all_of(surface.moved.begin(), surface.moved.end(), all_finite))
    throw InputError(Code::InvalidValue, head.file, "/nodes", "the nodes put vertices infinitely far away",
                     kExportAgain);
  return surface;
}

} // namespace mien
