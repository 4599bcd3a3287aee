#include "host/animation/animation_vrma.h"

#include "host/animation/gltf_clock.h"
#include "host/base/error.h"
#include "host/base/rotation.h"
#include "host/gltf/glb.h"
#include "host/gltf/glb_animation.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/humanoid.h"
#include "host/gltf/vrm.h"

#include <algorithm>
#include <utility>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

/// A node at the end of the list, below the root.
std::size_t AddRootNode(Glb& glb, const std::string& name) {
  const std::size_t node = AppendTo(glb, "nodes", {{"name", name}});
  glb.json["scenes"][0]["nodes"].push_back(node);
  return node;
}

/// The bones, which are the first nodes.
Json AddHumanoid(Glb& glb) {
  Json bones = Json::object();
  for (std::size_t b = 0; b < kHumanoid.size(); ++b) {
    const HumanoidBone& bone = kHumanoid[b];
    AppendTo(glb, "nodes", {{"name", bone.name}, {"translation", bone.offset}});
    if (b != kHipsBone) glb.json["nodes"][bone.parent]["children"].push_back(b);
    bones[std::string(bone.name)] = {{"node", b}};
  }
  glb.json["scenes"][0]["nodes"].push_back(kHipsBone);
  return {{"humanBones", std::move(bones)}};
}

EyeAngles MeanOf(const Eyes& eyes) {
  return {.yaw = (eyes[0].yaw + eyes[1].yaw) / 2, .pitch = (eyes[0].pitch + eyes[1].pitch) / 2};
}

bool IsPreset(const std::string& shape) {
  return std::find(kVrmPresets.begin(), kVrmPresets.end(), shape) != kVrmPresets.end();
}

} // namespace

VrmaCoverage WriteVrma(const Animation& animation, std::ostream& out) {
  const AnimationLayout& layout = animation.layout;
  if (animation.frames.empty())
    throw InputError(Code::Empty, layout.take, "", "the take has no frames", "solve a take with frames");
  Glb glb;
  glb.file = layout.take;
  glb.json = {{"asset", {{"version", "2.0"}, {"generator", "mien"}}},
              {"extensionsUsed", {"VRMC_vrm_animation"}},
              {"scene", 0},
              {"scenes", {{{"nodes", Json::array()}}}},
              {"nodes", Json::array()},
              {"buffers", {{{"byteLength", 0}}}}};
  Json extension = {{"specVersion", "1.0"}, {"humanoid", AddHumanoid(glb)}};

  VrmaCoverage coverage;
  GlbAnimation curves(glb, animation.times);
  if (const auto note = NoteOnLeftOut(curves.LeftOutFrames())) coverage.notes.push_back(*note);
  for (std::size_t s = 0; s < layout.shapes.size(); ++s) {
    const std::string& shape = layout.shapes[s];
    if (shape.starts_with("look") && IsPreset(shape)) continue;
    const std::size_t node = AddRootNode(glb, shape);
    extension["expressions"][IsPreset(shape) ? "preset" : "custom"][shape] = {{"node", node}};
    ++(IsPreset(shape) ? coverage.presets : coverage.customs);
    curves.AddTranslation(node, [&](std::size_t f) { return VgeTVector{animation.ShapeWeight(f, s), 0, 0}; });
  }
  if (!animation.eyes.empty()) {
    coverage.has_look = true;
    const std::size_t node = AddRootNode(glb, "lookAt");
    extension["lookAt"] = {{"node", node}};
    curves.AddRotation(node,
                       [&](std::size_t f) { return RotationOf(RotationBy(MeanOf(animation.eyes[f]))); });
  }
  if (animation.HeadMoves()) {
    coverage.has_head = true;
    curves.AddRotation(kHeadBone, [&](std::size_t f) { return RotationOf(animation.HeadMotion(f)); });
  }
  curves.Finish(layout.take, ClockOf(animation));
  glb.json["extensions"]["VRMC_vrm_animation"] = std::move(extension);
  WriteGlb(glb, out);
  return coverage;
}

} // namespace mien
