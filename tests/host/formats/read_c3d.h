#pragma once

// A file that the builder made, read, and all of what was read.

#include "host/formats/read_take.h"
#include "tests/host/formats/c3d_builder.h"
#include "tests/host/input_error.h"

#include <string>
#include <tuple>
#include <vector>

namespace tests {

inline mien::Take Read(const C3dBuilder& file) { return mien::ReadTake(file.Bytes(), "take.c3d"); }

inline std::string ErrorOf(const std::string& bytes) {
  return InputErrorOf([&] { mien::ReadTake(bytes, "take.c3d"); });
}
inline std::string ErrorOf(const C3dBuilder& file) { return ErrorOf(file.Bytes()); }

/// What a take has of one position: origin, x, y, z, cameras, residual (the last two -1 without a sighting).
using Cell = std::tuple<mien::Origin, double, double, double, int, int>;
inline Cell CellOf(const mien::Take& take, std::size_t frame, std::size_t marker) {
  const mien::Point* const p = take.At(frame, marker);
  if (!p) return {mien::Origin::None, 0, 0, 0, 0, 0};
  const auto sighting = take.SightingAt(frame, marker);
  return {take.OriginAt(frame, marker),      p->x, p->y, p->z, sighting ? sighting->cameras : -1,
          sighting ? sighting->residual : -1};
}
inline std::vector<Cell> Cells(const mien::Take& take) {
  std::vector<Cell> cells;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      cells.push_back(CellOf(take, frame, marker));
  return cells;
}

/// Of the builder's own take, whose coordinates are multiples of the scale, the same in integers and floats.
inline const std::vector<Cell> kCells = {
    {mien::Origin::Measured, 1, 2, 3, 3, 2},          {mien::Origin::Measured, 4, 5, 6, 1, 1},
    {mien::Origin::Measured, 1.5, 2.5, 3.5, 0x7F, 1}, {mien::Origin::None, 0, 0, 0, 0, 0},
    {mien::Origin::Computed, -8, -16.5, 300, -1, -1}, {mien::Origin::Measured, 7, 8, 9, 0, 255}};

} // namespace tests
