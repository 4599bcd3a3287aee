#include "host/gltf/vrm.h"

#include "host/gltf/json_at.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace mien {

namespace {

// The presets of VRM 0.x that 1.0 renamed.
constexpr std::pair<std::string_view, std::string_view> kRenamedPresets[] = {
    {"joy", "happy"},
    {"sorrow", "sad"},
    {"fun", "relaxed"},
    {"a", "aa"},
    {"i", "ih"},
    {"u", "ou"},
    {"e", "ee"},
    {"o", "oh"},
    {"blink_l", "blinkLeft"},
    {"blink_r", "blinkRight"},
    {"lookup", "lookUp"},
    {"lookdown", "lookDown"},
    {"lookleft", "lookLeft"},
    {"lookright", "lookRight"},
};

/// A member that is a number; `otherwise` where it is absent, or is none.
double NumberOf(const JsonAt& object, const char* key, double otherwise) {
  const auto member = object.Find(key);
  return member && member->Value().is_number() ? member->Value().get<double>() : otherwise;
}

std::string TextOf(const JsonAt& object, const char* key) {
  const auto member = object.Find(key);
  return member && member->Value().is_string() ? member->String() : "";
}

bool FlagOf(const JsonAt& object, const char* key) {
  const auto member = object.Find(key);
  return member && member->Value().is_boolean() && member->Value().get<bool>();
}

/// An object that is a member; programs leave it out, or write null.
std::optional<JsonAt> ObjectOf(const JsonAt& object, const char* key) {
  const auto member = object.Find(key);
  return member && member->Value().is_object() ? member : std::nullopt;
}

VrmLookRange RangeOf(const std::optional<JsonAt>& look, const char* key, const char* input,
                     const char* output, double otherwise) {
  VrmLookRange range = {.most_degrees = 90, .most = otherwise};
  const auto map = look ? ObjectOf(*look, key) : std::nullopt;
  if (!map) return range;
  constexpr double kLeastDegrees = 0.01; // an angle that is always exceeded
  range.most_degrees = std::max(NumberOf(*map, input, 90), kLeastDegrees);
  range.most = NumberOf(*map, output, otherwise);
  return range;
}

class Reader {
public:
  explicit Reader(const Glb& glb) : root_(glb), nodes_(root_.ElementsOf("nodes")) {
    for (const JsonAt& mesh : root_.ElementsOf("meshes")) {
      const std::vector<JsonAt> primitives = mesh.At("primitives").Elements();
      meshes_.push_back({primitives.empty() ? 0 : primitives[0].ElementsOf("targets").size(), {}});
    }
    for (std::size_t n = 0; n < nodes_.size(); ++n)
      if (const auto mesh = MeshOf(n)) meshes_[*mesh].nodes.push_back(n);
  }

  VrmAvatar Read1(const JsonAt& vrm) {
    avatar_.version = 1;
    if (const auto expressions = ObjectOf(vrm, "expressions"))
      for (const char* kind : {"preset", "custom"})
        if (const auto group = ObjectOf(*expressions, kind))
          for (const auto& [name, value] : group->Value().items())
            if (value.is_object()) AddExpression1(name, group->At(name));
    if (const auto humanoid = ObjectOf(vrm, "humanoid"))
      if (const auto bones = ObjectOf(*humanoid, "humanBones"))
        SetBones([&](const char* bone) -> std::optional<std::size_t> {
          const auto named = ObjectOf(*bones, bone);
          if (!named) return std::nullopt;
          return NodeOf(named->At("node"));
        });
    const auto look = ObjectOf(vrm, "lookAt");
    avatar_.looks_by_expressions = look && TextOf(*look, "type") == "expression";
    ReadRanges(
        look,
        {"rangeMapHorizontalInner", "rangeMapHorizontalOuter", "rangeMapVerticalDown", "rangeMapVerticalUp"},
        "inputMaxValue", "outputScale");
    return std::move(avatar_);
  }

  VrmAvatar Read0(const JsonAt& vrm) {
    avatar_.version = 0;
    avatar_.faces_forward = false;
    if (const auto master = ObjectOf(vrm, "blendShapeMaster"))
      for (const JsonAt& group : master->ElementsOf("blendShapeGroups")) AddExpression0(group);
    if (const auto humanoid = ObjectOf(vrm, "humanoid")) {
      const std::vector<JsonAt> bones = humanoid->ElementsOf("humanBones");
      SetBones([&](const char* name) -> std::optional<std::size_t> {
        for (const JsonAt& bone : bones)
          if (TextOf(bone, "bone") == name) return NodeOf(bone.At("node"));
        return std::nullopt;
      });
    }
    const auto look = ObjectOf(vrm, "firstPerson");
    avatar_.looks_by_expressions = look && TextOf(*look, "lookAtTypeName") == "BlendShape";
    // Their curves between the two ends are taken as straight.
    ReadRanges(look,
               {"lookAtHorizontalInner", "lookAtHorizontalOuter", "lookAtVerticalDown", "lookAtVerticalUp"},
               "xRange", "yRange");
    return std::move(avatar_);
  }

private:
  /// `keys`: of the ranges inward, outward, down and up.
  void ReadRanges(const std::optional<JsonAt>& look, const std::array<const char*, 4>& keys,
                  const char* input, const char* output) {
    VrmLookRange* const ranges[] = {&avatar_.look_in, &avatar_.look_out, &avatar_.look_down,
                                    &avatar_.look_up};
    const double otherwise = avatar_.looks_by_expressions ? 1 : 10;
    for (std::size_t r = 0; r < keys.size(); ++r)
      *ranges[r] = RangeOf(look, keys[r], input, output, otherwise);
  }

  std::size_t NodeOf(const JsonAt& index) const { return index.Index(nodes_.size(), "nodes"); }

  template <class FindBone>
  void SetBones(const FindBone& find) {
    avatar_.head = find("head");
    const auto left = find("leftEye"), right = find("rightEye");
    if (left && right) avatar_.eyes = {*left, *right};
  }

  struct Mesh {
    std::size_t targets;
    std::vector<std::size_t> nodes; // that show it
  };

  /// The mesh that a node shows.
  std::optional<std::size_t> MeshOf(std::size_t node) const {
    const auto mesh = nodes_[node].Find("mesh");
    if (!mesh) return std::nullopt;
    return mesh->Index(meshes_.size(), "meshes");
  }

  /// A place in the list of expressions; null for a name that is taken, or empty.
  VrmExpression* Append(std::string name) {
    if (name.empty() || !names_.insert(name).second) return nullptr;
    avatar_.expressions.emplace_back().name = std::move(name);
    return &avatar_.expressions.back();
  }

  void AddExpression1(const std::string& name, const JsonAt& read) {
    VrmExpression* const expression = Append(name);
    if (!expression) return;
    expression->is_binary = FlagOf(read, "isBinary");
    const auto override_of = [&](const char* key) {
      const std::string text = TextOf(read, key);
      return text == "block"   ? VrmExpression::Override::Block
             : text == "blend" ? VrmExpression::Override::Blend
                               : VrmExpression::Override::None;
    };
    expression->blink = override_of("overrideBlink");
    expression->look = override_of("overrideLookAt");
    expression->mouth = override_of("overrideMouth");
    for (const JsonAt& bind : read.ElementsOf("morphTargetBinds")) {
      const std::size_t node = NodeOf(bind.At("node"));
      const auto mesh = MeshOf(node);
      if (!mesh)
        bind.At("node").Fail(Code::Contradiction, "this node shows no mesh", "export the avatar again");
      Bind(*expression, bind,
           {.node = node,
            .target = bind.At("index").Index(meshes_[*mesh].targets, "morph targets"),
            .weight = NumberOf(bind, "weight", 1)});
    }
  }

  void AddExpression0(const JsonAt& read) {
    std::string name = TextOf(read, "presetName");
    for (const auto& [before, now] : kRenamedPresets)
      if (name == before) name = now;
    const bool is_preset = std::find(kVrmPresets.begin(), kVrmPresets.end(), name) != kVrmPresets.end();
    VrmExpression* const expression = Append(is_preset ? name : TextOf(read, "name"));
    if (!expression) return;
    expression->is_binary = FlagOf(read, "isBinary");
    for (const JsonAt& bind : read.ElementsOf("binds")) {
      const Mesh& mesh = meshes_[bind.At("mesh").Index(meshes_.size(), "meshes")];
      const std::size_t target = bind.At("index").Index(mesh.targets, "morph targets");
      for (const std::size_t node : mesh.nodes)
        Bind(*expression, bind,
             {.node = node, .target = target, .weight = NumberOf(bind, "weight", 100) / 100});
    }
  }

  void Bind(VrmExpression& expression, const JsonAt& read, const VrmExpression::Bind& bind) {
    constexpr std::size_t kMostBinds = 1000000; // thousands of nodes may show one mesh
    if (++binds_ > kMostBinds)
      read.Fail(Code::Limit, fmt::format("with this, expressions change more than {} targets", kMostBinds),
                "remove expressions from the avatar");
    expression.binds.push_back(bind);
  }

  JsonAt root_;
  std::vector<JsonAt> nodes_;
  std::vector<Mesh> meshes_;
  std::size_t binds_ = 0;
  std::set<std::string> names_;
  VrmAvatar avatar_;
};

} // namespace

double VrmLookRange::operator()(double degrees) const { return most * std::min(degrees / most_degrees, 1.0); }

std::optional<VrmAvatar> ReadVrm(const Glb& glb) {
  const auto extensions = ObjectOf(JsonAt(glb), "extensions");
  if (!extensions) return std::nullopt;
  if (const auto vrm = ObjectOf(*extensions, "VRMC_vrm")) return Reader(glb).Read1(*vrm);
  if (const auto vrm = ObjectOf(*extensions, "VRM")) return Reader(glb).Read0(*vrm);
  return std::nullopt;
}

} // namespace mien
