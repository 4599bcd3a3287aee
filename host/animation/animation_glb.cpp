#include "host/animation/animation_glb.h"

#include "host/base/error.h"
#include "host/base/rotation.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/gltf/face_mesh.h"
#include "host/gltf/json_at.h"
#include "host/gltf/morph_targets.h"
#include "host/gltf/node_tree.h"
#include "mien/base/affine.h"
#include "mien/character/rotation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFloat = 5126, kUnsignedShort = 5123;               // component types
constexpr int kNoTarget = 0, kVertices = 34962, kIndices = 34963; // buffer view targets

// --- Data: each piece a buffer view at the end of buffer 0, and its accessor.

void Append(std::string& bytes, std::uint32_t number, int size) {
  for (int byte = 0; byte < size; ++byte) bytes.push_back(static_cast<char>(number >> 8 * byte & 0xFF));
}

/// The index of `element` in the list under `key`.
std::size_t Append(Json& root, const char* key, Json element) {
  Json& list = root[key];
  list.push_back(std::move(element));
  return list.size() - 1;
}

std::size_t AppendView(Glb& glb, const std::string& bytes, int target) {
  glb.binary.resize((glb.binary.size() + 3) / 4 * 4);
  Json view = {{"buffer", 0}, {"byteOffset", glb.binary.size()}, {"byteLength", bytes.size()}};
  if (target != kNoTarget) view["target"] = target;
  glb.binary += bytes;
  glb.json["buffers"][0]["byteLength"] = glb.binary.size();
  return Append(glb.json, "bufferViews", std::move(view));
}

enum class Bounds { Without, With };

/// `type` has `size` components: "VEC3" has 3.
std::size_t AppendFloats(Glb& glb, const std::vector<float>& values, const char* type, std::size_t size,
                         Bounds bounds, int target = kNoTarget) {
  std::string bytes;
  bytes.reserve(4 * values.size());
  for (const float value : values) Append(bytes, std::bit_cast<std::uint32_t>(value), 4);
  Json accessor = {{"bufferView", AppendView(glb, bytes, target)},
                   {"componentType", kFloat},
                   {"count", values.size() / size},
                   {"type", type}};
  if (bounds == Bounds::With) {
    Json least = Json::array(), most = Json::array();
    for (std::size_t c = 0; c < size; ++c) {
      float lowest = values[c], highest = values[c];
      for (std::size_t v = c; v < values.size(); v += size) {
        lowest = std::min(lowest, values[v]);
        highest = std::max(highest, values[v]);
      }
      least.push_back(static_cast<double>(lowest)); // reads back to the same float
      most.push_back(static_cast<double>(highest));
    }
    accessor["min"] = std::move(least);
    accessor["max"] = std::move(most);
  }
  return Append(glb.json, "accessors", std::move(accessor));
}

// --- What moves

/// The weights that drive morph targets: a character's shapes or, without one, the templates.
struct Curves {
  explicit Curves(const Animation& animation, bool of_shapes) {
    if (of_shapes) {
      names = animation.shapes;
      weights = &animation.shape_weights;
    } else {
      for (const TemplateColumn& column : animation.templates) names.push_back(column.name);
      weights = &animation.weights;
    }
    for (std::size_t n = 0; n < names.size(); ++n) {
      by_name.emplace(names[n], n);
      meanings.push_back(FindArkitName(names[n]));
    }
  }

  float Weight(std::size_t frame, std::size_t curve) const {
    return static_cast<float>((*weights)[frame * names.size() + curve]);
  }

  /// The one of this name.
  std::optional<std::size_t> Named(const std::string& target) const {
    const auto same = by_name.find(target);
    return same != by_name.end() ? std::optional(same->second) : std::nullopt;
  }

  /// One that means this.
  std::optional<std::size_t> Meaning(const ArkitMatch& meaning) const {
    const ArkitMatch whole = {meaning.name, ArkitMatch::Half::Both}; // drives both halves
    for (const ArkitMatch& wanted : {meaning, whole})
      if (const auto found = std::find(meanings.begin(), meanings.end(), wanted); found != meanings.end())
        return static_cast<std::size_t>(found - meanings.begin());
    return std::nullopt;
  }

  std::vector<std::string> names;
  const std::vector<double>* weights; // frame by frame
  std::map<std::string, std::size_t> by_name;
  std::vector<std::optional<ArkitMatch>> meanings;
};

/// Builds one animation of a GLB, channel by channel.
class AnimationBuilder {
public:
  AnimationBuilder(Glb& glb, const Animation& animation) : glb_(glb), animation_(animation) {
    for (std::size_t f = 0; f < animation.times.size(); ++f) {
      const auto time = static_cast<float>(animation.times[f] - animation.times[0]);
      if (!keys_.empty() && time <= times_.back()) continue; // a key must be later than the one before it
      keys_.push_back(f);
      times_.push_back(time);
    }
  }

  std::size_t LeftOutFrames() const { return animation_.times.size() - keys_.size(); }

  /// All targets of a mesh are one curve. `drivers`: for each the curve that drives it.
  void AddWeights(const MorphNode& node, const Curves& curves,
                  const std::vector<std::optional<std::size_t>>& drivers) {
    const auto [known, is_new] = weights_.try_emplace({node.targets, node.defaults});
    if (is_new) {
      std::vector<float> values;
      values.reserve(keys_.size() * drivers.size());
      for (const std::size_t f : keys_)
        for (std::size_t t = 0; t < drivers.size(); ++t)
          values.push_back(drivers[t] ? curves.Weight(f, *drivers[t]) : static_cast<float>(node.defaults[t]));
      known->second = AddSampler(values, "SCALAR", 1);
    }
    AddChannel(node.node, "weights", known->second);
  }

  /// `rotation(frame)` is proper.
  template <class Function>
  void AddRotation(std::size_t node, const Function& rotation) {
    std::vector<float> values;
    values.reserve(4 * keys_.size());
    VgeQuaternion last(0, 0, 0, 1);
    for (const std::size_t f : keys_) {
      last = QuaternionNear(last, rotation(f));
      for (const double component : {last.x, last.y, last.z, last.w})
        values.push_back(static_cast<float>(component));
    }
    AddChannel(node, "rotation", AddSampler(values, "VEC4", 4));
  }

  /// `transform(frame)` has a proper rotation.
  template <class Function>
  void AddTransform(std::size_t node, const Function& transform) {
    std::vector<float> translations, scales;
    for (const std::size_t f : keys_) {
      const auto [t, rotation, s] = transform(f);
      for (const double component : {t.x, t.y, t.z}) translations.push_back(static_cast<float>(component));
      for (const double component : {s.x, s.y, s.z}) scales.push_back(static_cast<float>(component));
    }
    AddChannel(node, "translation", AddSampler(translations, "VEC3", 3));
    AddRotation(node, [&](std::size_t f) { return transform(f).rotation; });
    AddChannel(node, "scale", AddSampler(scales, "VEC3", 3));
  }

  void Finish() {
    Append(glb_.json, "animations",
           {{"name", animation_.take},
            {"channels", std::move(channels_)},
            {"samplers", std::move(samplers_)},
            {"extras", Clock()}});
  }

private:
  std::size_t AddSampler(const std::vector<float>& values, const char* type, std::size_t size) {
    if (!input_) input_ = AppendFloats(glb_, times_, "SCALAR", 1, Bounds::With);
    const std::size_t output = AppendFloats(glb_, values, type, size, Bounds::Without);
    samplers_.push_back({{"input", *input_}, {"interpolation", "LINEAR"}, {"output", output}});
    return samplers_.size() - 1;
  }

  void AddChannel(std::size_t node, const char* path, std::size_t sampler) {
    channels_.push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
  }

  Glb& glb_;
  const Animation& animation_;
  std::vector<std::size_t> keys_; // frames
  std::vector<float> times_;      // s, from the first (size: keys)
  std::optional<std::size_t> input_;
  std::map<std::pair<std::vector<std::string>, std::vector<double>>, std::size_t>
      weights_; // samplers by targets and defaults
  /// What glTF's seconds cannot tell: the numbers of the frames, their exact rate, the time of day.
  Json Clock() const {
    Json clock = {{"first_frame", animation_.frames.empty() ? 0 : animation_.frames.front()},
                  {"rate", ToText(animation_.rate)}};
    if (animation_.timecode) clock["timecode"] = ToText(*animation_.timecode);
    return clock;
  }

  Json channels_ = Json::array(), samplers_ = Json::array();
};

const ClusterTransform& LocalCluster(const Animation& animation, std::size_t frame, std::size_t cluster) {
  return animation.local_clusters[frame * animation.clusters.size() + cluster];
}

// --- Onto a head

/// A cluster's motion from its rest, on a node that may rest elsewhere: the same as the cluster's transform where the two
/// rest alike.
ClusterTransform Moved(const ClusterTransform& node, const ClusterTransform& rest,
                       const ClusterTransform& cluster) {
  ClusterTransform moved = node;
  moved.translation.x += cluster.translation.x - rest.translation.x;
  moved.translation.y += cluster.translation.y - rest.translation.y;
  moved.translation.z += cluster.translation.z - rest.translation.z;
  detail::SetProduct(moved.rotation, moved.rotation, detail::Transposed(rest.rotation));
  detail::SetProduct(moved.rotation, moved.rotation, cluster.rotation);
  moved.scale = VgeSVector(node.scale.x * (cluster.scale.x / rest.scale.x),
                           node.scale.y * (cluster.scale.y / rest.scale.y),
                           node.scale.z * (cluster.scale.z / rest.scale.z));
  return moved;
}

/// The curve that drives each target of a mesh: that of its name, or else one that means the same. It drives one target,
/// or one for each half; further spellings on the same mesh would move it twice, and go to `spare`.
std::vector<std::optional<std::size_t>> FindDrivers(const MorphNode& node, const Curves& curves,
                                                    std::set<std::string>& spare) {
  using Half = ArkitMatch::Half;
  std::vector<std::optional<std::size_t>> drivers(node.targets.size());
  std::map<std::size_t, std::set<Half>> taken; // by curve
  for (const bool by_name : {true, false})
    for (std::size_t t = 0; t < node.targets.size(); ++t) {
      if (drivers[t]) continue;
      const auto meaning = FindArkitName(node.targets[t]);
      const auto curve = by_name   ? curves.Named(node.targets[t])
                         : meaning ? curves.Meaning(*meaning)
                                   : std::nullopt;
      if (!curve) continue;
      const Half half = meaning ? meaning->half : Half::Both;
      std::set<Half>& halves = taken[*curve];
      if (halves.contains(half) || halves.contains(Half::Both) || (half == Half::Both && !halves.empty())) {
        spare.insert(node.targets[t]);
        continue;
      }
      halves.insert(half);
      drivers[t] = curve;
    }
  return drivers;
}

/// What is appended to has to be a list.
void CheckLists(const JsonAt& root) {
  for (const char* key : {"accessors", "bufferViews", "animations"}) root.ElementsOf(key);
}

/// The binary chunk is buffer 0, and holds all of it.
void CheckBuffer(const JsonAt& root, const Glb& head) {
  constexpr std::string_view kOneFile = "export it again as one .glb";
  const std::vector<JsonAt> buffers = root.ElementsOf("buffers");
  if (head.binary.empty() || buffers.empty())
    throw InputError(Code::Missing, head.file, "", "the head's data is not in this file", kOneFile);
  if (const auto uri = buffers[0].Find("uri")) uri->Fail("the head's data is not in this file", kOneFile);
  const JsonAt length = buffers[0].At("byteLength");
  const Json& bytes = length.Value();
  if (!bytes.is_number_integer() || bytes < 0 || bytes.get<std::size_t>() > head.binary.size())
    length.Fail(
        fmt::format("the buffer is not one of the {} bytes that the file holds for it", head.binary.size()),
        kOneFile);
}

void NoteFilesBeside(const JsonAt& root, std::vector<std::string>& notes) {
  for (const char* key : {"buffers", "images"})
    for (const JsonAt& object : root.ElementsOf(key)) {
      const auto uri = object.Find("uri");
      if (uri && !uri->String().starts_with("data:"))
        notes.push_back(fmt::format("the head refers to {} beside it: keep it beside the output too",
                                    Quoted(uri->String())));
    }
}

using NodeNames = std::map<std::string, std::vector<std::size_t>>;

std::size_t FindHeadNode(const Glb& head, const NodeNames& nodes, const std::string& name) {
  const auto found = nodes.find(name);
  if (found == nodes.end()) {
    std::vector<std::string> names;
    for (const auto& [known, indices] : nodes) names.push_back(known);
    throw InputError(Code::NotFound, head.file, "", fmt::format("no node has the name {}", Quoted(name)),
                     names.empty() ? "give the head's node a name, and export again"
                                   : "name one that there is: " + SomeQuoted(names));
  }
  if (found->second.size() > 1)
    throw InputError(Code::Duplicate, head.file, "",
                     fmt::format("{} nodes have the name {}", found->second.size(), Quoted(name)),
                     "give the one that is the head a name of its own, and export again");
  return found->second[0];
}

[[noreturn]] void FailUndriven(const Glb& head, const std::vector<std::string>& targets, const Curves& curves,
                               const Animation& animation) {
  if (targets.empty())
    throw InputError(Code::Unmatched, head.file, "",
                     "the head has no morph targets with names, which shapes could drive",
                     "export it with its shape keys and their names");
  throw InputError(Code::Unmatched, head.file, "",
                   fmt::format("none of the head's morph targets ({}) has the name of a shape ({})",
                               SomeQuoted(targets), SomeQuoted(curves.names)),
                   animation.shapes.empty()
                       ? "solve with a character (-c), or give the targets the names of templates"
                       : "solve with a character whose shapes the head has");
}

/// The node that each cluster drives.
std::vector<std::optional<std::size_t>> FindClusterNodes(const Animation& animation, const NodeNames& names,
                                                         HeadReport& report) {
  std::vector<std::optional<std::size_t>> nodes;
  std::set<std::size_t> driven;
  for (const ClusterColumn& cluster : animation.clusters) {
    const auto known = names.find(cluster.name);
    const std::vector<std::size_t> found = known == names.end() ? std::vector<std::size_t>() : known->second;
    const bool one = found.size() == 1 && driven.insert(found[0]).second;
    nodes.push_back(one ? std::optional(found[0]) : std::nullopt);
    if (one) {
      ++report.driven_clusters;
      continue;
    }
    report.clusters_without_node.push_back(cluster.name);
    if (found.size() > 1)
      report.notes.push_back(fmt::format("{} nodes have the name of the cluster {}, and stay as they are",
                                         found.size(), Quoted(cluster.name)));
    else if (found.size() == 1)
      report.notes.push_back(
          fmt::format("the node {} follows the first of the clusters of its name", Quoted(cluster.name)));
  }
  return nodes;
}

void NoteLeftOut(std::size_t frames, HeadReport& report) {
  if (frames > 0)
    report.notes.push_back(fmt::format("{} left out: too soon after the one before for the times of glTF",
                                       frames == 1 ? "1 frame was" : fmt::format("{} frames were", frames)));
}

// --- The built-in face

std::vector<float> Flat(const std::vector<FaceMesh::Vector>& vectors) {
  std::vector<float> flat;
  flat.reserve(3 * vectors.size());
  for (const FaceMesh::Vector& v : vectors) flat.insert(flat.end(), v.begin(), v.end());
  return flat;
}

/// A morph target of the face: how much it has of each template.
struct FaceTarget {
  std::string name;
  std::vector<std::pair<std::size_t, double>> shares; // by column of TemplateColumns()
};

std::vector<FaceTarget> TargetsOfTemplates() {
  std::vector<FaceTarget> targets;
  for (const TemplateColumn& column : TemplateColumns())
    targets.push_back({column.name, {{targets.size(), 1.0}}});
  return targets;
}

/// One for each shape that a template produces. With w the weights above 0 that a template gives its shapes, each shape
/// has the share w / sum w^2 of it: driven by w, the shapes sum up to the template.
std::vector<FaceTarget> TargetsOfShapes(const Character& character) {
  std::map<std::string, FaceTarget> produced;
  const std::vector<TemplateColumn> columns = TemplateColumns();
  for (std::size_t c = 0; c < columns.size(); ++c) {
    const ShapeWeights& weights =
        character
            .templates[static_cast<std::size_t>(columns[c].part)][static_cast<std::size_t>(columns[c].slot)];
    double squares = 0;
    for (const auto& [shape, weight] : weights)
      if (weight > 0) squares += weight * weight;
    for (const auto& [shape, weight] : weights)
      if (weight > 0) produced[shape].shares.emplace_back(c, weight / squares);
  }
  std::vector<FaceTarget> targets;
  for (const std::string& shape : character.Shapes())
    if (const auto found = produced.find(shape); found != produced.end())
      targets.push_back({shape, std::move(found->second.shares)});
  return targets;
}

std::vector<float> Displacements(const FaceTarget& target, const FaceMesh::Piece& piece) {
  std::vector<double> sums(3 * piece.positions.size(), 0.0);
  for (const auto& [column, share] : target.shares)
    for (std::size_t v = 0; v < piece.positions.size(); ++v)
      for (std::size_t axis = 0; axis < 3; ++axis)
        sums[3 * v + axis] += share * static_cast<double>(piece.displacements[column][v][axis]);
  std::vector<float> displacements;
  displacements.reserve(sums.size());
  for (const double sum : sums) displacements.push_back(static_cast<float>(sum));
  return displacements;
}

std::size_t AppendIndices(Glb& glb, const std::vector<std::uint16_t>& indices) {
  std::string bytes;
  bytes.reserve(2 * indices.size());
  for (const std::uint16_t index : indices) Append(bytes, index, 2);
  return Append(glb.json, "accessors",
                {{"bufferView", AppendView(glb, bytes, kIndices)},
                 {"componentType", kUnsignedShort},
                 {"count", indices.size()},
                 {"type", "SCALAR"}});
}

/// The face as the only mesh of a scene of two nodes, of which this is the second.
constexpr std::size_t kFaceRoot = 0, kFaceNode = 1;

Glb MakeFaceGlb(const std::vector<FaceTarget>& targets) {
  Glb glb;
  glb.file = "the face";
  glb.json = {{"asset", {{"version", "2.0"}, {"generator", "mien"}}},
              {"scene", 0},
              {"scenes", {{{"nodes", {kFaceRoot}}}}},
              {"nodes", {{{"name", "mien"}, {"children", {kFaceNode}}}, {{"name", "face"}, {"mesh", 0}}}},
              {"meshes", Json::array()},
              {"materials", Json::array()},
              {"accessors", Json::array()},
              {"bufferViews", Json::array()},
              {"buffers", {{{"byteLength", 0}}}}};
  Json primitives = Json::array(), names = Json::array();
  for (const FaceTarget& target : targets) names.push_back(target.name);
  std::map<std::size_t, std::size_t> still; // accessors of zeros, by their number of vertices
  for (const FaceMesh::Piece& piece : MakeFaceMesh().pieces) {
    const std::size_t material =
        Append(glb.json, "materials",
               {{"name", piece.name},
                {"pbrMetallicRoughness",
                 {{"baseColorFactor", piece.colour}, {"metallicFactor", 0}, {"roughnessFactor", 0.9}}},
                {"doubleSided", true}});
    Json morphs = Json::array();
    const std::size_t positions =
        AppendFloats(glb, Flat(piece.positions), "VEC3", 3, Bounds::With, kVertices);
    for (const FaceTarget& target : targets) {
      const std::vector<float> moved = Displacements(target, piece);
      const bool moves = std::any_of(moved.begin(), moved.end(), [](float d) { return d != 0; });
      std::size_t accessor = 0;
      if (moves) {
        accessor = AppendFloats(glb, moved, "VEC3", 3, Bounds::With, kVertices);
      } else {
        const auto [known, is_new] = still.try_emplace(piece.positions.size());
        if (is_new) known->second = AppendFloats(glb, moved, "VEC3", 3, Bounds::With, kVertices);
        accessor = known->second;
      }
      morphs.push_back({{"POSITION", accessor}});
    }
    primitives.push_back({{"attributes", {{"POSITION", positions}}},
                          {"indices", AppendIndices(glb, piece.triangles)},
                          {"material", material},
                          {"targets", std::move(morphs)}});
  }
  Append(glb.json, "meshes",
         {{"name", "face"},
          {"primitives", std::move(primitives)},
          {"weights", std::vector<double>(targets.size(), 0.0)},
          {"extras", {{"targetNames", std::move(names)}}}});
  return glb;
}

/// Of a transform that is not animated.
Json NodeOf(const std::string& name, const ClusterTransform& transform) {
  const VgeQuaternion rotation(transform.rotation);
  return {{"name", name},
          {"translation", {transform.translation.x, transform.translation.y, transform.translation.z}},
          {"rotation", {rotation.x, rotation.y, rotation.z, rotation.w}},
          {"scale", {transform.scale.x, transform.scale.y, transform.scale.z}}};
}

/// A node for each cluster, below one for its part. Answers the clusters' nodes.
std::vector<std::size_t> AppendClusterNodes(Glb& glb, const Animation& animation,
                                            const Character* character) {
  std::vector<std::size_t> nodes;
  std::map<std::string, std::size_t> roots;
  for (const ClusterColumn& column : animation.clusters) {
    ClusterTransform root, rest;
    if (character)
      for (const Character::Part& part : character->parts) {
        if (part.name != column.part) continue;
        root = part.root;
        for (const Character::Cluster& cluster : part.clusters)
          if (cluster.name == column.name) rest = cluster.rest;
      }
    const auto [known, is_new] = roots.try_emplace(column.part);
    if (is_new) {
      known->second = Append(glb.json, "nodes", NodeOf(column.part, root));
      glb.json["nodes"][kFaceRoot]["children"].push_back(known->second);
    }
    nodes.push_back(Append(glb.json, "nodes", NodeOf(column.name, rest)));
    glb.json["nodes"][known->second]["children"].push_back(nodes.back());
  }
  return nodes;
}

struct FaceTargets {
  std::vector<FaceTarget> targets;
  bool of_shapes; // otherwise of templates
};

/// The morph targets of the face; the report hears what the character's shapes have to do with them.
FaceTargets MakeFaceTargets(const Character* character, HeadReport& report) {
  if (!character) return {TargetsOfTemplates(), false};
  std::vector<FaceTarget> targets = TargetsOfShapes(*character);
  std::set<std::string_view> produced;
  for (const FaceTarget& target : targets) produced.insert(target.name);
  for (const std::string& shape : character->Shapes())
    if (!produced.contains(shape)) report.shapes_without_target.push_back(shape);
  if (!targets.empty()) return {std::move(targets), true};
  report.notes.emplace_back("no template produces a shape of the character: the face shows the templates");
  return {TargetsOfTemplates(), false};
}

} // namespace

HeadReport WriteAnimationOntoHead(const Animation& animation, Glb head,
                                  const std::optional<std::string>& head_node, std::ostream& out) {
  HeadReport report;
  const JsonAt root(head);
  CheckLists(root);
  CheckBuffer(root, head);
  MorphTargets targets = FindMorphTargets(head);
  report.notes = std::move(targets.notes);
  NoteFilesBeside(root, report.notes);
  if (const std::size_t own = root.ElementsOf("animations").size(); own > 0)
    report.notes.push_back(fmt::format("the head has {} of its own: this one comes after",
                                       own == 1 ? "an animation" : fmt::format("{} animations", own)));
  const std::vector<std::string> target_names = targets.Names();

  const Curves curves(animation, !animation.shapes.empty());
  std::vector<std::vector<std::optional<std::size_t>>> drivers; // by node of `targets`
  std::set<std::string> driven_targets, spare_targets;
  std::set<std::size_t> driving; // curves
  for (const MorphNode& node : targets.nodes) {
    drivers.push_back(FindDrivers(node, curves, spare_targets));
    for (std::size_t t = 0; t < node.targets.size(); ++t)
      if (drivers.back()[t]) {
        driven_targets.insert(node.targets[t]);
        driving.insert(*drivers.back()[t]);
      }
  }
  report.driven_targets = driven_targets.size();
  for (const std::string& target : target_names)
    if (!driven_targets.contains(target)) report.targets_without_shape.push_back(target);
  for (std::size_t c = 0; c < curves.names.size(); ++c)
    if (!driving.contains(c)) report.shapes_without_target.push_back(curves.names[c]);
  if (!spare_targets.empty())
    report.notes.push_back(
        fmt::format("left at rest, since another target of the same mesh means the same: {}",
                    SomeQuoted({spare_targets.begin(), spare_targets.end()})));

  const NodeNames node_names = NodesByName(head);
  const auto cluster_nodes = FindClusterNodes(animation, node_names, report);
  if (report.driven_targets == 0 && report.driven_clusters == 0 && !head_node)
    FailUndriven(head, target_names, curves, animation);
  if (animation.times.empty())
    throw InputError(Code::Empty, animation.take, "", "the take has no frames", "solve one that has some");

  // Before anything is appended, all that is asked of the head as it was.
  std::optional<std::size_t> turned;
  VgeAMatrix parents, rest;
  if (head_node) {
    turned = FindHeadNode(head, node_names, *head_node);
    if (std::find(cluster_nodes.begin(), cluster_nodes.end(), turned) != cluster_nodes.end())
      throw InputError(Code::Contradiction, head.file, "",
                       fmt::format("the node {} is to follow the head, and the cluster of its name as well",
                                   Quoted(*head_node)),
                       "name another node as the head, or take the cluster out of the character");
    if (JsonAt(head).At("nodes").Element(*turned).Find("skin"))
      report.notes.push_back(
          fmt::format("the node {} shows a skinned mesh, which follows its bones alone: for the "
                      "head to turn, name its bone",
                      Quoted(*head_node)));
    parents = AxesOfParents(head, *turned);
    const VgeRMatrix own = TransformOfNode(head, *turned).rotation;
    for (int column = 0; column < 3; ++column) std::copy_n(own.m[column], 3, rest.m[column]);
    ReplaceMatrix(head, *turned);
  }
  std::vector<ClusterTransform> rests; // of the nodes (size: clusters)
  for (const auto& node : cluster_nodes) {
    rests.push_back(node ? TransformOfNode(head, *node) : ClusterTransform());
    if (node) ReplaceMatrix(head, *node);
  }

  AnimationBuilder builder(head, animation);
  for (std::size_t n = 0; n < targets.nodes.size(); ++n) {
    if (std::none_of(drivers[n].begin(), drivers[n].end(),
                     [](const auto& driver) { return driver.has_value(); }))
      continue;
    builder.AddWeights(targets.nodes[n], curves, drivers[n]);
    ++report.driven_nodes;
  }
  if (turned) {
    const VgeAMatrix to_parents = detail::InverseOfOrthogonalAxes(parents);
    const VgeAMatrix from_rest = detail::Product(parents, rest);
    builder.AddRotation(*turned, [&](std::size_t f) {
      return RotationOf(detail::Product(to_parents, detail::Product(animation.HeadMotion(f), from_rest)));
    });
  }
  for (std::size_t c = 0; c < cluster_nodes.size(); ++c)
    if (cluster_nodes[c])
      builder.AddTransform(*cluster_nodes[c], [&](std::size_t f) {
        return Moved(rests[c], animation.rest_clusters[c], LocalCluster(animation, f, c));
      });
  builder.Finish();
  NoteLeftOut(builder.LeftOutFrames(), report);
  WriteGlb(head, out);
  return report;
}

HeadReport WriteFaceAnimation(const Animation& animation, const Character* character, std::ostream& out) {
  HeadReport report;
  const auto [targets, of_shapes] = MakeFaceTargets(character, report);
  Glb face = MakeFaceGlb(targets);
  const std::vector<std::size_t> cluster_nodes = AppendClusterNodes(face, animation, character);
  report.driven_clusters = cluster_nodes.size();
  if (!animation.times.empty()) {
    const Curves curves(animation, of_shapes);
    const MorphNode node = FindMorphTargets(face).nodes[0];
    std::vector<std::optional<std::size_t>> drivers;
    for (const FaceTarget& target : targets) drivers.push_back(curves.Named(target.name));
    AnimationBuilder builder(face, animation);
    builder.AddWeights(node, curves, drivers);
    builder.AddRotation(kFaceNode, [&](std::size_t f) { return RotationOf(animation.HeadMotion(f)); });
    for (std::size_t c = 0; c < cluster_nodes.size(); ++c)
      builder.AddTransform(cluster_nodes[c], [&](std::size_t f) { return LocalCluster(animation, f, c); });
    builder.Finish();
    NoteLeftOut(builder.LeftOutFrames(), report);
    report.driven_targets = targets.size();
    report.driven_nodes = 1;
  }
  WriteGlb(face, out);
  return report;
}

HeadReport WriteFace(const Character* character, std::ostream& out) {
  HeadReport report;
  WriteGlb(MakeFaceGlb(MakeFaceTargets(character, report).targets), out);
  return report;
}

} // namespace mien
