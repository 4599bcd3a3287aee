#include "samples/avatars.h"

#include "host/animation/eye_nodes.h"
#include "host/character/character_file.h"
#include "host/face/face_glb.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/humanoid.h"
#include "host/gltf/morph_targets.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

namespace mien::samples {

namespace {

using Json = nlohmann::ordered_json;

/// A preset, as weights of the 52 shapes.
struct Preset {
  const char* name;
  const char* name0; // in VRM 0.x; null for one that it does not have
  std::vector<std::pair<const char*, double>> shapes;
};

const std::vector<Preset> kPresets = {
    {"happy",
     "joy",
     {{"mouthSmileLeft", 0.8},
      {"mouthSmileRight", 0.8},
      {"cheekSquintLeft", 0.5},
      {"cheekSquintRight", 0.5}}},
    {"angry", "angry", {{"browDownLeft", 1}, {"browDownRight", 1}}},
    {"sad", "sorrow", {{"mouthFrownLeft", 0.8}, {"mouthFrownRight", 0.8}, {"browInnerUp", 0.5}}},
    {"relaxed",
     "fun",
     {{"mouthSmileLeft", 0.4}, {"mouthSmileRight", 0.4}, {"eyeSquintLeft", 0.6}, {"eyeSquintRight", 0.6}}},
    {"surprised",
     nullptr,
     {{"browInnerUp", 1},
      {"browOuterUpLeft", 1},
      {"browOuterUpRight", 1},
      {"eyeWideLeft", 1},
      {"eyeWideRight", 1}}},
    {"aa", "a", {{"jawOpen", 0.7}}},
    {"ih",
     "i",
     {{"mouthUpperUpLeft", 0.5},
      {"mouthUpperUpRight", 0.5},
      {"mouthLowerDownLeft", 0.5},
      {"mouthLowerDownRight", 0.5}}},
    {"ou", "u", {{"mouthPucker", 0.9}, {"mouthFunnel", 0.2}}},
    {"ee", "e", {{"mouthLowerDownLeft", 0.5}, {"mouthLowerDownRight", 0.5}, {"jawOpen", 0.25}}},
    {"oh", "o", {{"mouthFunnel", 0.8}, {"jawOpen", 0.4}}},
    {"blink", "blink", {{"eyeBlinkLeft", 1}, {"eyeBlinkRight", 1}}},
    {"blinkLeft", "blink_l", {{"eyeBlinkLeft", 1}}},
    {"blinkRight", "blink_r", {{"eyeBlinkRight", 1}}},
    {"lookUp", "lookup", {{"eyeLookUpLeft", 1}, {"eyeLookUpRight", 1}}},
    {"lookDown", "lookdown", {{"eyeLookDownLeft", 1}, {"eyeLookDownRight", 1}}},
    {"lookLeft", "lookleft", {{"eyeLookOutLeft", 1}, {"eyeLookInRight", 1}}},
    {"lookRight", "lookright", {{"eyeLookInLeft", 1}, {"eyeLookOutRight", 1}}},
    {"neutral", "neutral", {}},
};

/// The head, and what an avatar is made of.
struct Body {
  Glb glb = {};
  std::size_t face = 0; // the node that shows the morph targets
  std::vector<std::string> targets = {};
  std::vector<std::size_t> bones = {}; // nodes, in the order of kHumanoid
};

/// The built-in head on the head bone of a humanoid, which stands on the ground; its bust is on the chest.
Body MakeBody(bool faces_forward) {
  const Character arkit52 = LoadCharacter("arkit52");
  Body body = {.glb = MakeFaceGlb(&arkit52).glb};
  const MorphNode face = FindMorphTargets(body.glb).nodes.at(0);
  body.face = face.node;
  body.targets = *face.targets;
  Json& nodes = body.glb.json["nodes"];
  const Json roots = body.glb.json["scenes"][0]["nodes"];
  const double side = faces_forward ? 1 : -1; // of an avatar that looks along -z, left is -x
  for (const HumanoidBone& bone : kHumanoid)
    body.bones.push_back(
        AppendTo(body.glb, "nodes",
                 {{"name", bone.name},
                  {"translation", {side * bone.offset[0], bone.offset[1], side * bone.offset[2]}}}));
  for (std::size_t b = 0; b < kHumanoid.size(); ++b)
    if (b != kHipsBone) nodes[body.bones[kHumanoid[b].parent]]["children"].push_back(body.bones[b]);

  // The face stands 5 cm above its chin and 9 cm in front of its back where the neck holds the head.
  const double skull_y = -0.05, skull_z = -0.09;
  Json skull = {{"name", "skull"}, {"children", roots}, {"translation", {0, skull_y, side * skull_z}}};
  if (!faces_forward) skull["rotation"] = {0, 1, 0, 0};
  const HumanoidBone &head = kHumanoid[kHeadBone], &neck = kHumanoid[head.parent];
  Json& bust = nodes[FaceGlb::kBust];
  bust["translation"] = {0, neck.offset[1] + head.offset[1] + skull_y,
                         side * (neck.offset[2] + head.offset[2] + skull_z)};
  if (!faces_forward) bust["rotation"] = {0, 1, 0, 0};
  nodes[FaceGlb::kRoot]["children"] = {FaceGlb::kFace};
  nodes[body.bones[neck.parent]]["children"].push_back(FaceGlb::kBust);
  nodes[body.bones[kHeadBone]]["children"].push_back(AppendTo(body.glb, "nodes", std::move(skull)));
  body.glb.json["scenes"][0]["nodes"] = {body.bones[kHipsBone]};
  return body;
}

std::optional<std::size_t> TargetOf(const Body& body, const char* shape) {
  const auto found = std::find(body.targets.begin(), body.targets.end(), shape);
  if (found == body.targets.end()) return std::nullopt;
  return static_cast<std::size_t>(found - body.targets.begin());
}

/// An expression's bind of each shape that the face has. `place`: {"node", n} or {"mesh", m}.
Json BindsOf(const Body& body, const Preset& preset, const std::pair<const char*, std::size_t>& place,
             double full_weight) {
  Json binds = Json::array();
  for (const auto& [shape, weight] : preset.shapes)
    if (const auto target = TargetOf(body, shape))
      binds.push_back({{place.first, place.second}, {"index", *target}, {"weight", weight * full_weight}});
  return binds;
}

void UseExtension(Glb& glb, const char* name, Json extension) {
  glb.json["extensionsUsed"].push_back(name);
  glb.json["extensions"][name] = std::move(extension);
}

} // namespace

Glb Avatar1() {
  Body body = MakeBody(true);
  Json bones = Json::object();
  for (std::size_t b = 0; b < kHumanoid.size(); ++b)
    bones[std::string(kHumanoid[b].name)] = {{"node", body.bones[b]}};
  if (const auto eyes = FindEyeNodes(body.glb)) {
    bones["leftEye"] = {{"node", (*eyes)[0]}};
    bones["rightEye"] = {{"node", (*eyes)[1]}};
  }
  Json presets = Json::object(), customs = Json::object();
  for (const Preset& preset : kPresets) {
    if (std::string_view(preset.name).starts_with("look")) continue; // the bones show it
    presets[preset.name] = {{"morphTargetBinds", BindsOf(body, preset, {"node", body.face}, 1)}};
  }
  for (const char* const mood : {"happy", "relaxed"}) presets[mood]["overrideBlink"] = "blend";
  for (std::size_t t = 0; t < body.targets.size(); ++t)
    customs[body.targets[t]] = {{"morphTargetBinds", {{{"node", body.face}, {"index", t}, {"weight", 1.0}}}}};
  const Json range = {{"inputMaxValue", 45}, {"outputScale", 30}}; // the eyes turn by two thirds of the angle
  UseExtension(body.glb, "VRMC_vrm",
               {{"specVersion", "1.0"},
                {"meta",
                 {{"name", "mien's face"},
                  {"version", "1"},
                  {"authors", {"mien"}},
                  {"licenseUrl", "https://vrm.dev/licenses/1.0/"},
                  {"avatarPermission", "everyone"},
                  {"commercialUsage", "corporation"},
                  {"modification", "allowModificationRedistribution"},
                  {"allowRedistribution", true},
                  {"creditNotation", "unnecessary"}}},
                {"humanoid", {{"humanBones", std::move(bones)}}},
                {"firstPerson", Json::object()},
                {"lookAt",
                 {{"offsetFromHeadBone", {0, 0.06, 0}},
                  {"type", "bone"},
                  {"rangeMapHorizontalInner", range},
                  {"rangeMapHorizontalOuter", range},
                  {"rangeMapVerticalDown", range},
                  {"rangeMapVerticalUp", range}}},
                {"expressions", {{"preset", std::move(presets)}, {"custom", std::move(customs)}}}});
  return std::move(body.glb);
}

Glb Avatar0() {
  Body body = MakeBody(false);
  const auto mesh = body.glb.json["nodes"][body.face]["mesh"].get<std::size_t>();
  Json bones = Json::array(), groups = Json::array();
  for (std::size_t b = 0; b < kHumanoid.size(); ++b)
    bones.push_back({{"bone", kHumanoid[b].name}, {"node", body.bones[b]}, {"useDefaultValues", true}});
  for (const Preset& preset : kPresets)
    groups.push_back({{"name", preset.name},
                      {"presetName", preset.name0 ? preset.name0 : "unknown"},
                      {"isBinary", false},
                      {"binds", BindsOf(body, preset, {"mesh", mesh}, 100)},
                      {"materialValues", Json::array()}});
  body.glb.json["meshes"][mesh].erase("extras");
  const Json range = {{"curve", {0, 0, 0, 1, 1, 1, 1, 0}}, {"xRange", 30}, {"yRange", 1}};
  UseExtension(body.glb, "VRM",
               {{"exporterVersion", "mien"},
                {"specVersion", "0.0"},
                {"meta",
                 {{"title", "mien's face"},
                  {"version", "1"},
                  {"author", "mien"},
                  {"allowedUserName", "Everyone"},
                  {"violentUssageName", "Disallow"},
                  {"sexualUssageName", "Disallow"},
                  {"commercialUssageName", "Allow"},
                  {"licenseName", "CC0"}}},
                {"humanoid", {{"humanBones", std::move(bones)}}},
                {"firstPerson",
                 {{"firstPersonBone", body.bones[kHeadBone]},
                  {"firstPersonBoneOffset", {{"x", 0}, {"y", 0.06}, {"z", 0}}},
                  {"meshAnnotations", Json::array()},
                  {"lookAtTypeName", "BlendShape"},
                  {"lookAtHorizontalInner", range},
                  {"lookAtHorizontalOuter", range},
                  {"lookAtVerticalDown", range},
                  {"lookAtVerticalUp", range}}},
                {"blendShapeMaster", {{"blendShapeGroups", std::move(groups)}}},
                {"secondaryAnimation", {{"boneGroups", Json::array()}, {"colliderGroups", Json::array()}}},
                {"materialProperties", Json::array()}});
  return std::move(body.glb);
}

std::map<std::string, std::string> AvatarFiles() {
  std::map<std::string, std::string> files;
  for (const auto& [name, avatar] :
       {std::pair("avatar.vrm", Avatar1()), std::pair("avatar0.vrm", Avatar0())}) {
    std::ostringstream out;
    WriteGlb(avatar, out);
    files[name] = out.str();
  }
  return files;
}

} // namespace mien::samples
