#pragma once

#include "host/gltf/glb.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The presets of VRM 1.0: names that every avatar may give a meaning.
inline constexpr std::array<std::string_view, 18> kVrmPresets = {
    "happy",     "angry",      "sad",   "relaxed", "surprised", "aa",       "ih",        "ou",     "ee", "oh",
    "blinkLeft", "blinkRight", "blink", "lookUp",  "lookDown",  "lookLeft", "lookRight", "neutral"};

/// A face that an avatar can make: morph targets, each with the weight that it has at the expression's weight
/// of 1.
struct VrmExpression {
  struct Bind {
    std::size_t node = 0;   ///< that shows the mesh
    std::size_t target = 0; ///< of the mesh
    double weight = 0;
  };

  /// What becomes of another expression under this one: its weight is multiplied by 1 - w for Blend, or by 0
  /// for Block, of all such expressions together.
  enum class Override { None, Blend, Block };

  std::string name; ///< one of kVrmPresets, also in VRM 0.x, which spells them otherwise; or the avatar's own
  bool is_binary = false; ///< its weight counts as 1 above a half, otherwise as 0
  Override blink = Override::None, look = Override::None, mouth = Override::None;
  std::vector<Bind> binds; ///< empty for one that changes materials only
};

/// How far an eye turns, or how much an expression shows, for an angle at which the eye is to look: in
/// proportion up to `most_degrees`, and `most` from there on.
struct VrmLookRange {
  double most_degrees = 90; ///< above 0
  double most = 10;         ///< degrees of a bone, or the weight of an expression

  double operator()(double degrees) const;
};

/// What an avatar says about its face, from the extension VRMC_vrm (VRM 1.0) or VRM (0.x).
struct VrmAvatar {
  int version = 1;                                ///< 1, or 0 for 0.x
  bool faces_forward = true;                      ///< along +z of the scene; avatars of VRM 0.x look along -z
  std::vector<VrmExpression> expressions;         ///< each name once
  std::optional<std::size_t> head;                ///< the bone
  std::optional<std::array<std::size_t, 2>> eyes; ///< the bones of the left and the right eye
  bool looks_by_expressions = false; ///< lookUp and the like show where the eyes look, not the bones
  VrmLookRange look_in, look_out, look_down, look_up;
};

/// Nothing for a GLB that is not an avatar. Expressions without a name, and of a name that an earlier one has,
/// are left out, as are binds of VRM 0.x to meshes that no node shows. Throws InputError where the extension
/// refers to nodes, meshes or targets that do not exist.
std::optional<VrmAvatar> ReadVrm(const Glb& glb);

} // namespace mien
