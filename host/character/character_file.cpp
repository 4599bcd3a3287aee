#include "host/character/character_file.h"

#include "host/base/error.h"
#include "host/base/json_file.h"
#include "host/base/json_text.h"
#include "host/base/rotation.h"
#include "host/base/text.h"
#include "host/character/arkit52.h"
#include "host/character/vrm1.h"
#include "host/files/built_in.h"
#include "host/files/foreign_file.h"
#include "host/files/standard_streams.h"
#include "mien/base/bounded_text.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

constexpr std::string_view kFormat = "mien character 1";

constexpr BuiltIn kBuiltIn[] = {
    {"arkit52", kArkit52},
    {"vrm1", kVrm1},
};

class CharacterReader {
public:
  CharacterReader(std::string_view text, const std::string& file) : file_(text, file) {
    character_.file = file;
    const VFace& face = *GetGlobalFace();
    for (std::size_t p = 0; p < character_.templates.size(); ++p)
      character_.templates[p].resize(static_cast<std::size_t>(face.mParts[p].mTemplates.GetCount()));
  }

  Character Read() {
    character_.name = file_.ReadHeading(kFormat, "character");
    const Json& root = file_.Root();
    const Pointer here;
    file_.CheckKeys(here, root, {"format", "name", "range", "parts", "templates", "expressions"});
    if (root.contains("range")) ReadRange(here / "range", root["range"]);
    if (!root.contains("parts"))
      file_.Mistake(Code::Missing, here / "parts", "the character has no parts",
                    "write \"parts\": { \"face\": { \"shapes\": [...] } }");
    else
      ReadParts(here / "parts", root["parts"]);
    if (!root.contains("templates"))
      file_.Mistake(Code::Missing, here / "templates", "no template of the face moves the character",
                    "write \"templates\": { \"Mouth\": { \"Open\": { \"SHAPE\": 1 } } }");
    else
      ReadFaceParts(here / "templates", root["templates"],
                    [this](const Pointer& place, const Json& weights, std::size_t part, std::size_t slot) {
                      character_.templates[part][slot] = ReadShapeWeights(place, weights);
                    });
    if (root.contains("expressions")) ReadExpressions(here / "expressions", root["expressions"]);
    file_.ThrowMistakes();
    return std::move(character_);
  }

private:
  static constexpr std::size_t kLongestPlace = 4096; // bytes; every place below a name repeats it

  void ReadRange(const Pointer& place, const Json& range) {
    if (!range.is_array() || range.size() != 2 || !range[0].is_number() || !range[1].is_number() ||
        range[0].get<double>() > range[1].get<double>())
      file_.Mistake(Code::InvalidValue, place, "these are not two numbers in order", "write [LEAST, MOST]");
    else
      character_.range = Character::Range{range[0].get<double>(), range[1].get<double>()};
  }

  void ReadParts(const Pointer& place, const Json& parts) {
    if (!file_.RequireObject(place, parts)) return;
    if (parts.empty())
      file_.Mistake(Code::Missing, place, "the character has no parts", "name at least one, with its shapes");
    if (parts.size() > Character::kMostParts)
      file_.Mistake(Code::Limit, place, fmt::format("{} parts", parts.size()),
                    fmt::format("combine some: a character has at most {}", Character::kMostParts));
    for (const auto& [name, part] : parts.items()) {
      const Pointer here = place / name;
      file_.CheckName(here, name, "part");
      if (name.size() > kLongestPlace || !file_.RequireObject(here, part)) continue;
      file_.CheckKeys(here, part, {"shapes", "clusters"});
      Character::Part& read = character_.parts.emplace_back();
      read.name = name;
      if (!part.contains("shapes"))
        file_.Mistake(Code::Missing, here / "shapes", "the part has no shapes",
                      "write \"shapes\": [\"NAME\", ...]");
      else
        ReadShapes(here / "shapes", part["shapes"], read);
      if (part.contains("clusters")) ReadClusters(here / "clusters", part["clusters"], read);
    }
  }

  void ReadShapes(const Pointer& place, const Json& shapes, Character::Part& part) {
    part.shapes = file_.ReadNames(place, shapes, "shape");
    std::size_t i = 0; // the index in the file, which also has the elements that are not names
    for (const std::string& shape : part.shapes) {
      while (shapes[i] != shape) ++i;
      const auto [known, is_new] = part_of_shape_.emplace(shape, part.name);
      if (!is_new)
        file_.Mistake(
            Code::Duplicate, place / i,
            fmt::format("the part {} already has the shape {}", Quoted(known->second), Quoted(shape)),
            "name it once; templates find a shape only by its name");
    }
    if (shapes.is_array() && shapes.size() > Character::kMostShapesInAPart)
      file_.Mistake(
          Code::Limit, place, fmt::format("{} shapes", shapes.size()),
          fmt::format("move some to another part: a part has at most {}", Character::kMostShapesInAPart));
  }

  void ReadClusters(const Pointer& place, const Json& clusters, Character::Part& part) {
    if (!file_.RequireObject(place, clusters)) return;
    file_.CheckKeys(place, clusters, {"root", "rest", "poses"});
    if (clusters.contains("root")) part.root = ReadTransform(place / "root", clusters["root"], {});
    if (!clusters.contains("rest"))
      file_.Mistake(Code::Missing, place / "rest", "the clusters have no rest pose",
                    "write \"rest\": { \"CLUSTER\": {} }");
    else if (file_.RequireObject(place / "rest", clusters["rest"])) {
      if (clusters["rest"].empty())
        file_.Mistake(Code::Missing, place / "rest", "the rest pose has no clusters",
                      "name them, or leave \"clusters\" out");
      for (const auto& [name, rest] : clusters["rest"].items()) {
        file_.CheckName(place / "rest" / name, name, "cluster");
        part.clusters.push_back({name, ReadTransform(place / "rest" / name, rest, {})});
      }
    }
    if (clusters.contains("poses")) ReadPoses(place / "poses", clusters["poses"], part);
  }

  void ReadPoses(const Pointer& place, const Json& poses, Character::Part& part) {
    if (!file_.RequireObject(place, poses)) return;
    posed_clusters_ += poses.size() * part.clusters.size();
    if (posed_clusters_ > Character::kMostPosedClusters) {
      file_.Mistake(Code::Limit, place,
                    fmt::format("{} poses of {} clusters; with the parts before, {} posed clusters",
                                poses.size(), part.clusters.size(), posed_clusters_),
                    fmt::format("leave some out: there may be {} at most", Character::kMostPosedClusters));
      return;
    }
    const std::set<std::string_view> shapes(part.shapes.begin(), part.shapes.end());
    std::map<std::string_view, std::size_t> clusters; // by name
    for (std::size_t c = 0; c < part.clusters.size(); ++c) clusters.emplace(part.clusters[c].name, c);
    for (const auto& [shape, pose] : poses.items()) {
      if (!shapes.contains(shape))
        file_.Mistake(Code::NotFound, place / shape,
                      fmt::format("the part {} has no shape of this name", Quoted(part.name)),
                      "list it under \"shapes\" of the part");
      ReadPose(place / shape, shape, pose, clusters, part);
    }
  }

  void ReadPose(const Pointer& place, const std::string& shape, const Json& pose,
                const std::map<std::string_view, std::size_t>& clusters, Character::Part& part) {
    if (!file_.RequireObject(place, pose)) return;
    Character::Pose& read = part.poses.emplace_back();
    read.shape = shape;
    for (const Character::Cluster& cluster : part.clusters) read.clusters.push_back(cluster.rest);
    for (const auto& [name, transform] : pose.items()) {
      const auto cluster = clusters.find(name);
      if (cluster == clusters.end()) {
        file_.Mistake(Code::NotFound, place / name, "the rest pose has no cluster of this name",
                      "add it under \"rest\"");
        continue;
      }
      const ClusterTransform& at_rest = part.clusters[cluster->second].rest;
      const ClusterTransform target = ReadTransform(place / name, transform, at_rest);
      const auto turned_over = [](double scale, double rest) { return (scale < 0) != (rest < 0); };
      const VgeSVector &scale = target.scale, &rest = at_rest.scale;
      if (turned_over(scale.x, rest.x) || turned_over(scale.y, rest.y) || turned_over(scale.z, rest.z))
        file_.Mistake(Code::Contradiction, place / name / "scale", "the sign differs from the rest pose",
                      "scale by a factor above 0: between the two poses the cluster would vanish");
      read.clusters[cluster->second] = target;
    }
  }

  /// Omitted members are those of `rest`.
  ClusterTransform ReadTransform(const Pointer& place, const Json& transform, const ClusterTransform& rest) {
    ClusterTransform read = rest;
    if (!file_.RequireObject(place, transform)) return read;
    file_.CheckKeys(place, transform, {"translation", "rotation", "scale"});
    if (transform.contains("translation")) {
      const Json& t = transform["translation"];
      if (!AreNumbers(t, 3))
        file_.Mistake(Code::InvalidValue, place / "translation", "this is not a translation",
                      "write [x, y, z]");
      else
        read.translation = {t[0].get<double>(), t[1].get<double>(), t[2].get<double>()};
    }
    if (transform.contains("rotation")) {
      const Json& r = transform["rotation"];
      if (AreNumbers(r, 3))
        VTxRotationOrder().V2M(read.rotation, {{r[0].get<double>(), r[1].get<double>(), r[2].get<double>()}});
      else if (AreNumbers(r, 4) && std::any_of(r.begin(), r.end(), [](const Json& c) { return c != 0; }))
        read.rotation = RotationOf(
            VgeQuaternion(r[0].get<double>(), r[1].get<double>(), r[2].get<double>(), r[3].get<double>()));
      else
        file_.Mistake(Code::InvalidValue, place / "rotation", "this is not a rotation",
                      "write [x, y, z] in degrees, or a quaternion [x, y, z, w]");
    }
    if (transform.contains("scale")) {
      const Json& s = transform["scale"];
      if (!AreNumbers(s, 3))
        file_.Mistake(Code::InvalidValue, place / "scale", "this is not a scale", "write [x, y, z]");
      else if (std::any_of(s.begin(), s.end(), [](const Json& c) { return c == 0; }))
        file_.Mistake(Code::InvalidValue, place / "scale", "a scale of 0",
                      "scale by another factor: a cluster may not vanish");
      else
        read.scale = VgeSVector(s[0].get<double>(), s[1].get<double>(), s[2].get<double>());
    }
    return read;
  }

  static bool AreNumbers(const Json& json, std::size_t count) {
    return json.is_array() && json.size() == count &&
           std::all_of(json.begin(), json.end(), [](const Json& number) { return number.is_number(); });
  }

  /// Calls `read` for each template of each part that is named.
  template <class Function>
  void ReadFaceParts(const Pointer& place, const Json& parts, const Function& read) {
    if (!file_.RequireObject(place, parts)) return;
    const VFace& face = *GetGlobalFace();
    std::vector<std::string_view> known_parts;
    for (const VFacePart& part : face.mParts) known_parts.emplace_back(part.mName);
    file_.CheckKeys(place, parts, known_parts);
    for (const auto& [part_name, templates] : parts.items()) {
      const int p = face.PartIndexByName(part_name.c_str());
      const Pointer here = place / part_name;
      if (p < 0 || !file_.RequireObject(here, templates)) continue;
      const VFacePart& part = face.mParts[p];
      std::vector<std::string_view> known;
      for (int t = 0; t < part.mTemplates.GetCount(); ++t) known.emplace_back(part.mTemplates[t]->GetName());
      file_.CheckKeys(here, templates, known);
      for (const auto& [name, value] : templates.items()) {
        const int t = part.TemplateIndexByName(name.c_str());
        if (t >= 0) read(here / name, value, static_cast<std::size_t>(p), static_cast<std::size_t>(t));
      }
    }
  }

  ShapeWeights ReadShapeWeights(const Pointer& place, const Json& weights) {
    ShapeWeights read;
    if (!file_.RequireObject(place, weights)) return read;
    for (const auto& [shape, weight] : weights.items()) {
      if (!part_of_shape_.contains(shape))
        file_.Mistake(Code::NotFound, place / shape, "no part has a shape of this name",
                      "list it under \"shapes\" of a part");
      else if (weight.is_number())
        read.emplace_back(shape, weight.get<double>());
      else
        file_.Mistake(Code::InvalidValue, place / shape, "this is not a weight", "write a number");
    }
    return read;
  }

  void ReadExpressions(const Pointer& place, const Json& expressions) {
    if (!file_.RequireObject(place, expressions)) return;
    if (expressions.size() > Character::kMostExpressions)
      file_.Mistake(Code::Limit, place, fmt::format("{} expressions", expressions.size()),
                    fmt::format("leave some out: a character has at most {}", Character::kMostExpressions));
    for (const auto& [name, expression] : expressions.items()) {
      if (character_.expressions.size() == Character::kMostExpressions) return;
      const Pointer here = place / name;
      file_.CheckName(here, name, "expression");
      if (name.size() > kLongestPlace) continue;
      const auto same_name = [&key = name](const Character::Expression& other) {
        return EqualIgnoringCase(other.name.c_str(), key.c_str());
      };
      if (const auto other =
              std::find_if(character_.expressions.begin(), character_.expressions.end(), same_name);
          other != character_.expressions.end())
        file_.Mistake(
            Code::Duplicate, here,
            fmt::format("the name differs from {} only in the case of its letters", Quoted(other->name)),
            "give each expression a different name");
      Character::Expression& read = character_.expressions.emplace_back();
      read.name = name;
      if (!file_.RequireObject(here, expression)) continue;
      file_.CheckKeys(here, expression, {"templates", "shapes"});
      if (expression.contains("templates"))
        ReadFaceParts(
            here / "templates", expression["templates"],
            [&](const Pointer& template_place, const Json& weight, std::size_t part, std::size_t slot) {
              if (weight.is_number())
                read.templates.mParts[part].mWeights[slot] = weight.get<double>();
              else
                file_.Mistake(Code::InvalidValue, template_place, "this is not a weight", "write a number");
            });
      if (expression.contains("shapes"))
        read.shapes = ReadShapeWeights(here / "shapes", expression["shapes"]);
    }
  }

  JsonFile file_;
  Character character_;
  std::map<std::string, std::string> part_of_shape_; // the first of those that list it
  std::size_t posed_clusters_ = 0;
};

// --- Writing.

JsonValue Written(const ShapeWeights& weights) {
  std::vector<JsonMember> members;
  for (const auto& [shape, weight] : weights) members.push_back({shape, JsonDecimal(weight)});
  return JsonObject(members);
}

JsonValue Written(const ClusterTransform& transform) {
  VgeRVector degrees;
  VTxRotationOrder().M2V(degrees, transform.rotation);
  const auto list = [](double x, double y, double z) {
    return JsonTightList({JsonDecimal(x), JsonDecimal(y), JsonDecimal(z)});
  };
  const VgeTVector& t = transform.translation;
  const VgeSVector& s = transform.scale;
  return JsonObject({{"translation", list(t.x, t.y, t.z)},
                     {"rotation", list(degrees.x + 0.0, degrees.y + 0.0, degrees.z + 0.0)}, // no -0.0
                     {"scale", list(s.x, s.y, s.z)}});
}

JsonValue WrittenClusters(const Character::Part& part) {
  std::vector<JsonMember> rest, poses;
  for (const Character::Cluster& cluster : part.clusters)
    rest.push_back({cluster.name, Written(cluster.rest)});
  for (const Character::Pose& pose : part.poses) {
    std::vector<JsonMember> clusters;
    for (std::size_t c = 0; c < part.clusters.size(); ++c)
      clusters.push_back({part.clusters[c].name, Written(pose.clusters[c])});
    poses.push_back({pose.shape, JsonObjectOnLines(clusters)});
  }
  return JsonObjectOnLines(
      {{"root", Written(part.root)}, {"rest", JsonObjectOnLines(rest)}, {"poses", JsonObjectOnLines(poses)}});
}

JsonValue Written(const Character::Part& part) {
  std::vector<JsonMember> members = {{"shapes", JsonTightList({part.shapes.begin(), part.shapes.end()})}};
  if (!part.clusters.empty()) members.push_back({"clusters", WrittenClusters(part)});
  return JsonObjectOnLines(members);
}

/// The parts of the face and their templates for which `written(part, template)` returns a value. `object`
/// joins the templates of a part.
template <class Function>
std::vector<JsonMember> ByTemplate(JsonValue (*object)(const std::vector<JsonMember>&),
                                   const Function& written) {
  std::vector<JsonMember> parts;
  const VFace& face = *GetGlobalFace();
  for (std::size_t p = 0; p < std::size(face.mParts); ++p) {
    std::vector<JsonMember> templates;
    for (int t = 0; t < face.mParts[p].mTemplates.GetCount(); ++t)
      if (const std::optional<JsonValue> value = written(p, static_cast<std::size_t>(t)))
        templates.push_back({face.mParts[p].mTemplates[t]->GetName(), *value});
    if (!templates.empty()) parts.push_back({face.mParts[p].mName, object(templates)});
  }
  return parts;
}

JsonValue Written(const Character::Expression& expression) {
  const auto templates =
      ByTemplate(JsonObject, [&](std::size_t p, std::size_t t) -> std::optional<JsonValue> {
        const double weight = expression.templates.mParts[p].mWeights[t];
        if (weight == 0) return std::nullopt;
        return JsonDecimal(weight);
      });
  return JsonObjectOnLines({{"templates", JsonObject(templates)}, {"shapes", Written(expression.shapes)}});
}

} // namespace

Character ReadCharacter(std::string_view text, const std::string& file) {
  RefuseForeignFile(text, file, "a character file",
                    "name a character file; mien character from-glb makes one for a head");
  return CharacterReader(text, file).Read();
}

Character LoadCharacter(const std::string& name_or_path) {
  return ReadCharacter(ReadBuiltInOrFile(kBuiltIn, name_or_path, "character"), InputName(name_or_path));
}

std::vector<std::string> BuiltInCharacters() { return NamesOf(kBuiltIn); }

void WriteCharacter(const Character& character, std::ostream& out) {
  std::vector<JsonMember> root = {{"format", kFormat}, {"name", character.name}};
  if (character.range)
    root.push_back(
        {"range", JsonTightList({JsonDecimal(character.range->least), JsonDecimal(character.range->most)})});

  std::vector<JsonMember> parts;
  for (const Character::Part& part : character.parts) parts.push_back({part.name, Written(part)});
  root.push_back({"parts", JsonObjectOnLines(parts)});

  const auto templates =
      ByTemplate(JsonObjectOnLines, [&](std::size_t p, std::size_t t) -> std::optional<JsonValue> {
        const ShapeWeights& weights = character.templates[p][t];
        if (weights.empty()) return std::nullopt;
        return Written(weights);
      });
  root.push_back({"templates", JsonObjectOnLines(templates)});

  if (!character.expressions.empty()) {
    std::vector<JsonMember> expressions;
    for (const Character::Expression& expression : character.expressions)
      expressions.push_back({expression.name, Written(expression)});
    root.push_back({"expressions", JsonObjectOnLines(expressions)});
  }
  out << JsonObjectOnLines(root).Text() << '\n';
}

} // namespace mien
