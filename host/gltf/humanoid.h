#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace mien {

/// The bones that every humanoid of VRM has, and those between spine and head, in the T-pose of an adult who
/// looks along +z. https://github.com/vrm-c/vrm-specification has the names and which are required.
struct HumanoidBone {
  std::string_view name;
  std::size_t parent;           ///< index; of the hips, which have none, their own
  std::array<double, 3> offset; ///< from the parent, in metres; of the hips from the ground
};

inline constexpr std::size_t kHipsBone = 0, kHeadBone = 4;
inline constexpr std::array<HumanoidBone, 17> kHumanoid = {{
    {"hips", 0, {0, 0.95, 0}},
    {"spine", 0, {0, 0.1, 0}},
    {"chest", 1, {0, 0.15, 0}},
    {"neck", 2, {0, 0.25, 0}},
    {"head", 3, {0, 0.1, 0.02}},
    {"leftUpperArm", 2, {0.17, 0.2, 0}},
    {"leftLowerArm", 5, {0.28, 0, 0}},
    {"leftHand", 6, {0.26, 0, 0}},
    {"rightUpperArm", 2, {-0.17, 0.2, 0}},
    {"rightLowerArm", 8, {-0.28, 0, 0}},
    {"rightHand", 9, {-0.26, 0, 0}},
    {"leftUpperLeg", 0, {0.09, -0.05, 0}},
    {"leftLowerLeg", 11, {0, -0.42, 0}},
    {"leftFoot", 12, {0, -0.4, -0.02}},
    {"rightUpperLeg", 0, {-0.09, -0.05, 0}},
    {"rightLowerLeg", 14, {0, -0.42, 0}},
    {"rightFoot", 15, {0, -0.4, -0.02}},
}};

} // namespace mien
