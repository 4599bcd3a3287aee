#pragma once

// Heads as other programs write them, from a few characters of JSON.

#include "host/gltf/glb.h"
#include "tests/host/glb_binary.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace tests {

/// A head with these nodes and meshes, and three bytes of data, so that padding is needed.
inline mien::Glb Head(const std::string& nodes, const std::string& meshes = "[]",
                      const std::string& more = "") {
  return {nlohmann::ordered_json::parse(R"({"asset":{"version":"2.0","generator":"theirs"},"nodes":)" +
                                        nodes + R"(,"meshes":)" + meshes +
                                        R"(,"buffers":[{"byteLength":3,"name":"b"}])" + more + "}"),
          Binary("abc"), "", "h.glb"};
}

/// A mesh with morph targets with these names (as JSON: "a", "b").
inline std::string Mesh(const std::string& names, const std::string& more = "") {
  const auto count = static_cast<std::size_t>(std::count(names.begin(), names.end(), ',')) + 1;
  std::string targets = "{}";
  for (std::size_t t = 1; t < count; ++t) targets += ",{}";
  return R"({"primitives":[{"targets":[)" + targets + R"(]}],"extras":{"targetNames":[)" + names + "]}" +
         more + "}";
}

/// One node "Head" with one mesh, and `more` members of the file.
inline mien::Glb HeadOf(const std::string& names, const std::string& more = "") {
  return Head(R"([{"mesh":0,"name":"Head"}])", "[" + Mesh(names) + "]", more);
}

} // namespace tests
