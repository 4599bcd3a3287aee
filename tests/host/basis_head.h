#pragma once

// A basis as a head: a .glb whose vertices are its points and whose morph targets are its shapes.

#include "host/fit/shape_basis.h"
#include "host/gltf/glb.h"
#include "host/gltf/glb_data.h"

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// In metres, as glTF has it.
inline mien::Glb HeadOfBasis(const mien::ShapeBasis& basis, const std::string& file = "head.glb") {
  using Json = nlohmann::ordered_json;
  mien::Glb glb;
  glb.file = file;
  glb.json = {{"asset", {{"version", "2.0"}}},
              {"nodes", {{{"name", "Head"}, {"mesh", 0}}}},
              {"buffers", {{{"byteLength", 0}}}}};
  const auto append = [&](const std::vector<mien::Point>& points) {
    std::vector<float> numbers;
    for (const mien::Point& p : points)
      for (const double number : {p.x, p.y, p.z}) numbers.push_back(static_cast<float>(number / 1000));
    return mien::AppendFloats(glb, numbers, mien::ElementType::Vec3, mien::Bounds::With,
                              mien::ViewTarget::Vertices);
  };
  Json targets = Json::array();
  const std::size_t positions = append(basis.rest);
  for (std::size_t s = 0; s < basis.shapes.size(); ++s) {
    std::vector<mien::Point> moved;
    for (std::size_t p = 0; p < basis.points.size(); ++p) moved.push_back(basis.Moved(p, s));
    targets.push_back({{"POSITION", append(moved)}});
  }
  Json primitive = {{"attributes", {{"POSITION", positions}}}, {"targets", std::move(targets)}};
  glb.json["meshes"] = Json::array(
      {{{"primitives", Json::array({std::move(primitive)})}, {"extras", {{"targetNames", basis.shapes}}}}});
  return glb;
}

/// The table of where the landmarks of such a head are.
inline std::string LandmarksOfBasis(const mien::ShapeBasis& basis) {
  std::string text = "landmark,x,y,z\n";
  for (std::size_t p = 0; p < basis.points.size(); ++p)
    if (basis.points[p].starts_with("lm"))
      text += fmt::format("{},{},{},{}\n", basis.points[p], basis.rest[p].x / 1000, basis.rest[p].y / 1000,
                          basis.rest[p].z / 1000);
  return text;
}

} // namespace tests
