// Any bytes, and any JSON in a sound container, are either a head that is written back as it was read, and onto which an
// animation is written or refused with an InputError, or an InputError.

#include "host/animation/animation_glb.h"
#include "host/base/error.h"
#include "host/character/character_from_head.h"
#include "host/gltf/glb.h"
#include "host/gltf/head_surface.h"
#include "host/gltf/morph_targets.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

/// Two frames in which everything moves that can: names of the 52, clusters, the head.
mien::Animation MakeAnimation() {
  mien::Animation animation;
  animation.layout.take = "fuzz";
  animation.frames = {1, 2};
  animation.times = {0.5, 0.6};
  animation.weights.assign(2 * animation.layout.templates.size(), 0.25);
  animation.heads.resize(2);
  animation.eyes.resize(2);
  animation.heads[1].m[0][0] = animation.heads[1].m[2][2] = -1; // half a turn
  animation.layout.shapes = {"jawOpen", "browInnerUp", "a"};
  animation.shape_weights = {0, 0.5, 1, 1, 0.5, 0};
  animation.layout.clusters = {{"part", "face"}, {"part", "b"}};
  animation.layout.rest_clusters.resize(2);
  animation.local_clusters.resize(4);
  animation.global_clusters.resize(4);
  return animation;
}

std::string Written(const mien::Glb& glb) {
  std::ostringstream out;
  mien::WriteGlb(glb, out);
  return out.str();
}

/// The head with the animation, or nothing where it is refused.
std::optional<mien::Glb> Animated(const mien::Glb& head, const std::optional<std::string>& head_node) {
  static const mien::Animation animation = MakeAnimation();
  std::ostringstream out;
  try {
    mien::WriteAnimationOntoHead(animation, head, {.head = head_node, .eyes = {}}, out);
  } catch (const mien::InputError&) {
    Require(out.str().empty()); // nothing is half written
    return std::nullopt;
  }
  try {
    return mien::ReadGlb(out.str(), "written");
  } catch (const mien::InputError&) { std::abort(); } // what was written can be read
}

/// A container of this JSON and a few bytes of data. A fuzzer would hardly find one: its heading holds lengths.
std::string WithJson(std::string_view json) {
  const auto number = [](std::size_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    return bytes;
  };
  std::string chunks = number(json.size()) + "JSON";
  chunks.append(json).append(number(8)).append("BIN\0datadata", 12);
  return "glTF" + number(2) + number(12 + chunks.size()) + chunks;
}

/// The vertices that shapes move, as a basis of the fit has them.
void ReadSurface(const mien::Glb& head) {
  try {
    const mien::HeadSurface surface = mien::ReadHeadSurface(head);
    Require(surface.moved.size() == surface.shapes.size() && !surface.rest.empty());
    for (const auto& moved : surface.moved) Require(moved.size() == surface.rest.size());
  } catch (const mien::InputError&) {} // a head without shapes, for instance
}

void ReadHead(std::string_view bytes) {
  try {
    const mien::Glb head = mien::ReadGlb(bytes, "fuzz");
    const std::string written = Written(head);
    Require(Written(mien::ReadGlb(written, "written")) == written);
    for (const auto& head_node : {std::optional<std::string>(), std::optional<std::string>("Head")}) {
      const auto animated = Animated(head, head_node);
      if (!animated) continue;
      Require(animated->binary.size() >= head.binary.size() &&
              std::equal(head.binary.begin(), head.binary.end(), animated->binary.begin()) &&
              animated->further_chunks == head.further_chunks);
      const auto animations = head.json.find("animations");
      Require(animated->json["animations"].size() ==
              (animations == head.json.end() ? 0 : animations->size()) + 1);
    }
    ReadSurface(head);
    mien::MatchHead("fuzz", mien::FindMorphTargets(head).Names());
  } catch (const mien::InputError&) {} // the input is at fault, and says so
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ReadHead(bytes);
  ReadHead(WithJson(bytes));
  return 0;
}
