#include "host/view/animation_side.h"

#include "host/base/long_vector.h"
#include "host/base/rotation.h"
#include "host/gltf/glb_data.h"
#include "host/gltf/vrm.h"

#include <fmt/format.h>

#include <numbers>

namespace mien {

namespace {

constexpr const char* kTemplates = "Templates";
constexpr const char* kShapes = "Shapes";
constexpr double kWeightStep = 0.001;
constexpr double kDegreeStep = 0.01;
constexpr double kMillimetreStep = 0.01;

/// Three curves of the head, from its motion in each frame.
template <class Values>
ViewCurves HeadCurves(const Animation& animation, ViewCurves curves, const Values& values) {
  for (std::size_t f = 0; f < animation.frames.size(); ++f)
    for (const double value : values(animation.HeadMotion(f))) curves.values.push_back(value);
  return curves;
}

/// Turns the scene half round about y, below a root of its own.
void TurnRound(Glb& glb) {
  nlohmann::ordered_json& scenes = glb.json["scenes"];
  const auto scene = glb.json.value("scene", std::size_t{0});
  if (!scenes.is_array() || scene >= scenes.size()) return;
  nlohmann::ordered_json roots = scenes[scene]["nodes"];
  const std::size_t root = AppendTo(
      glb, "nodes", {{"name", "turned round"}, {"rotation", {0, 1, 0, 0}}, {"children", std::move(roots)}});
  glb.json["scenes"][scene]["nodes"] = {root};
}

} // namespace

std::vector<ViewCurves> CurvesOf(const Animation& animation, bool has_head) {
  const AnimationLayout& layout = animation.layout;
  std::vector<ViewCurves> curves;
  const auto add = [&](const char* name, WeightKind kind, const LongVector<double>& weights) {
    std::vector<std::string> names = layout.WeightNames(kind);
    if (!names.empty())
      curves.push_back({.name = name,
                        .unit = "",
                        .step = kWeightStep,
                        .curves = std::move(names),
                        .values = {weights.begin(), weights.end()}});
  };
  add(kTemplates, WeightKind::Templates, animation.weights);
  add(kShapes, WeightKind::Shapes, animation.shape_weights);
  if (has_head) {
    curves.push_back(HeadCurves(animation,
                                {.name = "Head",
                                 .unit = "deg",
                                 .step = kDegreeStep,
                                 .curves = {"Yaw left", "Pitch down", "Roll right"},
                                 .values = {}},
                                [](const VgeAMatrix& motion) {
                                  VgeRVector degrees;
                                  const VTxRotationOrder roll_first = {.mOrder = 4}; // z, x, y
                                  roll_first.M2V(degrees, RotationOf(motion));
                                  return std::array{degrees.y, degrees.x, -degrees.z};
                                }));
    curves.push_back(HeadCurves(animation,
                                {.name = "Head position",
                                 .unit = "mm",
                                 .step = kMillimetreStep,
                                 .curves = {"Left", "Up", "Forward"},
                                 .values = {}},
                                [](const VgeAMatrix& motion) {
                                  return std::array{motion.m[3][0], motion.m[3][1], motion.m[3][2]};
                                }));
  }
  if (!animation.eyes.empty()) {
    ViewCurves eyes = {
        .name = "Eyes",
        .unit = "deg",
        .step = kDegreeStep,
        .curves = {"Left eye to the left", "Left eye down", "Right eye to the left", "Right eye down"},
        .values = {}};
    for (const Eyes& frame : animation.eyes)
      for (const EyeAngles& eye : frame)
        for (const double angle : {eye.yaw, eye.pitch}) eyes.values.push_back(angle * 180 / std::numbers::pi);
    curves.push_back(std::move(eyes));
  }
  return curves;
}

ViewHead HeadOf(AnimatedHead head, std::string name) {
  if (const auto avatar = ReadVrm(head.glb); avatar && !avatar->faces_forward) TurnRound(head.glb);
  const char* const weights = head.weights == WeightKind::Templates ? kTemplates : kShapes;
  return {.name = std::move(name), .head = std::move(head), .weights = weights, .place = {}};
}

ViewSide SideOfAnimation(const Animation& animation) {
  const AnimationLayout& layout = animation.layout;
  ViewSide side;
  side.name = layout.take;
  ViewFacts facts = {.title = "Animation", .rows = {}};
  const auto add = [&](const char* name, std::string value) {
    if (!value.empty()) facts.rows.emplace_back(name, std::move(value));
  };
  add("Take", layout.take);
  add("Performer", layout.performer);
  add("Character", layout.character);
  add("Frames", fmt::format("{}", animation.frames.size()));
  add("Rate", ToText(layout.rate) + " Hz");
  if (layout.timecode) add("Timecode", ToText(*layout.timecode));
  side.facts.push_back(std::move(facts));
  side.curves = CurvesOf(animation, animation.HeadMoves());
  if (animation.HeadMoves())
    for (std::size_t f = 0; f < animation.frames.size(); ++f)
      side.head_motion.push_back(animation.HeadMotion(f));
  return side;
}

ViewPage PageOf(const Animation& animation, ViewSide side) {
  ViewPage page;
  page.title = animation.layout.take;
  page.rate = animation.layout.rate;
  page.timecode = animation.layout.timecode;
  page.timecode_offset_s = animation.layout.timecode_offset_s;
  page.frames = {animation.frames.begin(), animation.frames.end()};
  page.times = {animation.times.begin(), animation.times.end()};
  page.sides.push_back(std::move(side));
  return page;
}

} // namespace mien
