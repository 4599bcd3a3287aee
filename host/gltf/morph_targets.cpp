#include "host/gltf/morph_targets.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/gltf/json_at.h"

#include <fmt/format.h>

#include <optional>
#include <set>
#include <string_view>

namespace mien {

namespace {

struct Mesh {
  std::size_t target_count;
  std::vector<std::string> names; // none, or as many
  std::vector<double> defaults;
};

/// How many targets each of its primitives has.
std::size_t CountTargets(const std::vector<JsonAt>& primitives) {
  std::optional<std::size_t> count;
  for (const JsonAt& primitive : primitives) {
    const std::size_t own = primitive.ElementsOf("targets").size();
    if (count && own != *count)
      primitive.Fail(
          Code::Contradiction,
          fmt::format("this primitive has {} morph targets, and the mesh's first one {}", own, *count),
          "give every material of the mesh the same targets, then export the head again");
    count = own;
  }
  return count.value_or(0);
}

/// An object may carry anything as its extras.
std::optional<JsonAt> FindTargetNames(const JsonAt& object) {
  const auto extras = object.Find("extras");
  return extras && extras->Value().is_object() ? extras->Find("targetNames") : std::nullopt;
}

Mesh ReadMesh(const JsonAt& mesh) {
  Mesh read;
  const std::vector<JsonAt> primitives = mesh.At("primitives").Elements();
  read.target_count = CountTargets(primitives);
  auto names = FindTargetNames(mesh);
  if (!names && !primitives.empty()) names = FindTargetNames(primitives[0]);
  if (names) {
    for (const JsonAt& name : names->Elements()) read.names.push_back(name.String());
    if (read.names.size() != read.target_count)
      names->Fail(Code::Contradiction,
                  fmt::format("{} names for {} morph targets: which is whose cannot be told",
                              read.names.size(), read.target_count),
                  "export the head again with a name for each target");
  }
  const auto weights = mesh.Find("weights");
  read.defaults = weights ? weights->Numbers(read.target_count) : std::vector<double>(read.target_count, 0.0);
  return read;
}

} // namespace

std::vector<std::string> MorphTargets::Names() const {
  std::vector<std::string> names;
  std::set<std::string_view> known;
  for (const MorphNode& node : nodes)
    for (const std::string& name : node.targets)
      if (known.insert(name).second) names.push_back(name);
  return names;
}

MorphTargets FindMorphTargets(const Glb& head) {
  const JsonAt root(head);
  MorphTargets found;
  std::vector<Mesh> meshes;
  for (const JsonAt& mesh : root.ElementsOf("meshes")) {
    const Mesh& read = meshes.emplace_back(ReadMesh(mesh));
    if (read.target_count == 0 || !read.names.empty()) continue;
    const auto name = mesh.Find("name");
    const std::string which = name ? Quoted(name->String()) : std::to_string(meshes.size() - 1);
    found.notes.push_back(
        {Code::Ignored, "",
         read.target_count == 1
             ? fmt::format("the morph target of mesh {} has no name, and stays as it is", which)
             : fmt::format("the {} morph targets of mesh {} have no names, and stay as they are",
                           read.target_count, which)});
  }
  const std::vector<JsonAt> nodes = root.ElementsOf("nodes");
  for (std::size_t n = 0; n < nodes.size(); ++n) {
    const auto shown = nodes[n].Find("mesh");
    if (!shown) continue;
    const Mesh& mesh = meshes[shown->Index(meshes.size(), "meshes")];
    if (mesh.names.empty()) continue;
    const auto weights = nodes[n].Find("weights");
    found.nodes.push_back({n, mesh.names, weights ? weights->Numbers(mesh.target_count) : mesh.defaults});
  }
  return found;
}

} // namespace mien
