#pragma once

// Reads the numbers of a GLB back as glTF defines them.

#include "host/gltf/glb.h"
#include "mien/base/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tests {

using Json = nlohmann::ordered_json;

inline std::size_t Number(const Json& json) { return json.get<std::size_t>(); }

/// The numbers of an accessor of floats. Checks the position and layout of its view.
inline std::vector<float> Floats(const mien::Glb& glb, const Json& accessor_index) {
  const Json& accessor = glb.json["accessors"][Number(accessor_index)];
  EXPECT_EQ(accessor["componentType"], 5126);
  const std::map<std::string, std::size_t> sizes = {{"SCALAR", 1}, {"VEC3", 3}, {"VEC4", 4}};
  const std::size_t count = Number(accessor["count"]) * sizes.at(accessor["type"].get<std::string>());
  const Json& view = glb.json["bufferViews"][Number(accessor["bufferView"])];
  EXPECT_EQ(view["buffer"], 0);
  EXPECT_EQ(view["byteLength"], 4 * count);
  const std::size_t offset = Number(view["byteOffset"]);
  EXPECT_EQ(offset % 4, 0u);
  EXPECT_LE(offset + 4 * count, Number(glb.json["buffers"][0]["byteLength"]));
  std::vector<float> floats;
  EXPECT_LE(offset + 4 * count, glb.binary.size());
  if (::testing::Test::HasFailure()) return floats;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t bits = 0;
    for (std::size_t byte = 4; byte-- > 0;)
      bits = bits << 8 | static_cast<unsigned char>(glb.binary[offset + 4 * i + byte]);
    floats.push_back(std::bit_cast<float>(bits));
  }
  return floats;
}

/// The last animation's sampler for a node's path.
inline std::optional<Json> Sampler(const mien::Glb& glb, std::size_t node, const std::string& path) {
  const Json& animation = glb.json["animations"].back();
  for (const Json& channel : animation["channels"])
    if (channel["target"]["node"] == node && channel["target"]["path"] == path)
      return animation["samplers"][Number(channel["sampler"])];
  return std::nullopt;
}

/// The values of the curve; empty without one.
inline std::vector<float> Curve(const mien::Glb& glb, std::size_t node, const std::string& path) {
  const auto sampler = Sampler(glb, node, path);
  return sampler ? Floats(glb, (*sampler)["output"]) : std::vector<float>();
}

inline VgeRMatrix Rotation(double x, double y, double z) {
  VgeRMatrix rotation;
  VTxRotationOrder().V2M(rotation, VgeRVector(x, y, z));
  return rotation;
}

inline VgeAMatrix Affine(const VgeRMatrix& rotation) {
  VgeAMatrix affine;
  for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, affine.m[column]);
  return affine;
}

/// A vector rotated by a quaternion.
inline std::array<double, 3> Turned(const float* q, const std::array<double, 3>& v) {
  const double x = static_cast<double>(q[0]), y = static_cast<double>(q[1]), z = static_cast<double>(q[2]),
               w = static_cast<double>(q[3]);
  const std::array<double, 3> t = {2 * (y * v[2] - z * v[1]), 2 * (z * v[0] - x * v[2]),
                                   2 * (x * v[1] - y * v[0])};
  return {v[0] + w * t[0] + y * t[2] - z * t[1], v[1] + w * t[1] + z * t[0] - x * t[2],
          v[2] + w * t[2] + x * t[1] - y * t[0]};
}

inline constexpr double kFloatRounding = 1e-6; // of quaternions stored as floats

inline void ExpectTurns(const float* q, const VgeRMatrix& rotation) {
  for (std::size_t column = 0; column < 3; ++column) {
    std::array<double, 3> axis = {0, 0, 0};
    axis[column] = 1;
    const auto turned = Turned(q, axis);
    for (std::size_t row = 0; row < 3; ++row)
      EXPECT_NEAR(turned[row], rotation.m[column][row], kFloatRounding) << column << ' ' << row;
  }
}

} // namespace tests
