#pragma once

#include "host/gltf/glb.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// The eye that a node's name means, in the usual spellings: "LeftEye", "eye.L", "Eye_Left", "eyeball_l",
/// "mixamorig:LeftEye", "CC_Base_L_Eye", "J_Adj_L_FaceEye", "DEF-eye.L". 0: left, 1: right; nothing for any
/// other name, such as "LeftEyelid".
std::optional<std::size_t> EyeMeant(std::string_view name);

/// The two nodes whose names mean the left and the right eye. Of several for an eye, the only one that is a
/// joint of a skin. Nothing if either eye has none, or several.
std::optional<std::array<std::size_t, 2>> FindEyeNodes(const Glb& head);

} // namespace mien
