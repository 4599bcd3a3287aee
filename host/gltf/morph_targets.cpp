#include "host/gltf/morph_targets.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/gltf/json_at.h"

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

/// Lists of which equal ones are one object.
template <typename Element>
class Lists {
public:
  using Shared = std::shared_ptr<const std::vector<Element>>;

  Shared Find(std::vector<Element> list) {
    return *lists_.insert(std::make_shared<const std::vector<Element>>(std::move(list))).first;
  }

private:
  struct Less {
    bool operator()(const Shared& a, const Shared& b) const { return *a < *b; }
  };
  std::set<Shared, Less> lists_;
};

struct Mesh {
  std::size_t target_count;
  Lists<std::string>::Shared names; // none, or as many
  Lists<double>::Shared defaults;
};

/// How many targets each of its primitives has.
std::size_t CountTargets(const std::vector<JsonAt>& primitives) {
  std::optional<std::size_t> count;
  for (const JsonAt& primitive : primitives) {
    const std::size_t own = primitive.ElementsOf("targets").size();
    if (count && own != *count)
      primitive.Fail(Code::Contradiction,
                     fmt::format("this primitive has {}, and the mesh's first one {}",
                                 Count(own, "morph target"), *count),
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

Mesh ReadMesh(const JsonAt& mesh, UnnamedTargets unnamed, Lists<std::string>& known_names,
              Lists<double>& known_defaults) {
  Mesh read;
  std::vector<std::string> named;
  const std::vector<JsonAt> primitives = mesh.At("primitives").Elements();
  read.target_count = CountTargets(primitives);
  auto names = FindTargetNames(mesh);
  if (!names && !primitives.empty()) names = FindTargetNames(primitives[0]);
  if (names) {
    for (const JsonAt& name : names->Elements()) named.push_back(name.String());
    if (named.size() != read.target_count)
      names->Fail(Code::Contradiction,
                  fmt::format("{} for {}, so that none can be matched", Count(named.size(), "name"),
                              Count(read.target_count, "morph target")),
                  "export the head again with a name for each target");
  }
  if (!names && unnamed == UnnamedTargets::Numbered)
    for (std::size_t t = 0; t < read.target_count; ++t) named.push_back(fmt::format("target {}", t));
  read.names = known_names.Find(std::move(named));
  const auto weights = mesh.Find("weights");
  read.defaults = known_defaults.Find(weights ? weights->Numbers(read.target_count)
                                              : std::vector<double>(read.target_count, 0.0));
  return read;
}

} // namespace

std::vector<std::string> MorphTargets::Names() const {
  std::vector<std::string> names;
  std::set<const std::vector<std::string>*> lists;
  std::set<std::string_view> known;
  for (const MorphNode& node : nodes) {
    if (!lists.insert(node.targets.get()).second) continue;
    for (const std::string& name : *node.targets)
      if (known.insert(name).second) names.push_back(name);
  }
  return names;
}

MorphTargets FindMorphTargets(const Glb& head, UnnamedTargets unnamed) {
  const JsonAt root(head);
  MorphTargets found;
  Lists<std::string> names;
  Lists<double> defaults;
  std::vector<Mesh> meshes;
  for (const JsonAt& mesh : root.ElementsOf("meshes")) {
    const Mesh& read = meshes.emplace_back(ReadMesh(mesh, unnamed, names, defaults));
    if (read.target_count == 0 || !read.names->empty()) continue;
    const auto name = mesh.Find("name");
    const std::string which = name ? Quoted(name->String()) : std::to_string(meshes.size() - 1);
    found.notes.push_back(
        {Code::Ignored, "",
         read.target_count == 1
             ? fmt::format("the morph target of mesh {} has no name and stays as it is", which)
             : fmt::format("the {} morph targets of mesh {} have no names and stay as they are",
                           read.target_count, which)});
  }
  const std::vector<JsonAt> nodes = root.ElementsOf("nodes");
  for (std::size_t n = 0; n < nodes.size(); ++n) {
    const auto shown = nodes[n].Find("mesh");
    if (!shown) continue;
    const Mesh& mesh = meshes[shown->Index(meshes.size(), "meshes")];
    if (mesh.names->empty()) continue;
    const auto weights = nodes[n].Find("weights");
    found.nodes.push_back(
        {n, mesh.names, weights ? defaults.Find(weights->Numbers(mesh.target_count)) : mesh.defaults});
  }
  return found;
}

} // namespace mien
