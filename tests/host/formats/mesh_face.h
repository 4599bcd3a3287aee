#pragma once

#include "host/base/point.h"
#include "host/formats/mesh_mirror.h"
#include "host/formats/read_take.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

/// A symmetric face of the mesh's points in millimetres, y up and z towards the camera, with the outer eye
/// corners and the sides where the canonical face has them. The other places are made up, each unlike the
/// rest.
inline std::vector<mien::Point> MeshFace(std::size_t points = mien::kMeshPoints) {
  std::vector<mien::Point> face(points);
  for (std::size_t i = 0; i < points; ++i) {
    const std::size_t other = mien::MirroredMeshPoint(i);
    const auto k = static_cast<double>(i < other ? i : other);
    const double side = i == other  ? 0
                        : i < other ? -1
                                    : 1; // the lower of two is not always the right one: no matter
    face[i] = {side * (1 + k / 8), 40 - k / 5, 20 + k / 16};
  }
  face[33] = {-44.459, 26, 31};
  face[263] = {44.459, 26, 31};
  face[234] = {-76, 6, -24};
  face[454] = {76, 6, -24};
  face[1] = {0, -11, 75};
  face[10] = {0, 82, 44};
  face[152] = {0, -94, 42};
  return face;
}

/// The face as a tracker sees it in an image of this many millimetres: parts of its width and height.
inline mien::Point InImage(const mien::Point& p, double width = 640, double height = 360) {
  return {0.5 + p.x / width, 0.5 - p.y / height, -p.z / width};
}

/// Reads a take that a tracker saw in such an image.
inline mien::ReadOptions With640x360() {
  mien::ReadOptions options;
  options.mesh.image = {{640, 360}};
  return options;
}

/// Checks that a frame of a take, read with With640x360, has the face, `shift` millimetres to the left.
inline void ExpectFace(const mien::Take& take, std::size_t frame, double shift) {
  const std::vector<mien::Point> face = MeshFace(take.MarkerCount());
  for (std::size_t i = 0; i < face.size(); ++i) {
    const mien::Point* const p = take.At(frame, i);
    ASSERT_NE(p, nullptr) << "frame " << frame << " point " << i;
    EXPECT_NEAR(p->x, 320 + face[i].x + shift, 1e-9); // rounding of the text's decimals: 1e-13 of 640 mm
    EXPECT_NEAR(p->y, -180 + face[i].y, 1e-9);
    EXPECT_NEAR(p->z, face[i].z, 1e-9);
  }
}
