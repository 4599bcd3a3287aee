#pragma once

/// @file
/// A part's volume, and the box around its markers. Not installed.

#include "mien/base/affine.h"

namespace mien::detail {

/// A volume: the axes of the identity, each scaled, around `centre`. Volumes are never rotated.
inline VgeAMatrix Volume(const VgeSVector& size, const VgeTVector& centre) {
  VgeAMatrix volume;
  volume.m[0][0] = size.x;
  volume.m[1][1] = size.y;
  volume.m[2][2] = size.z;
  SetColumn(volume, 3, centre);
  return volume;
}

/// A box around points; inside out while it is empty. NaN coordinates are ignored.
struct Box {
  VgeTVector min, max;

  /// An empty box from `limit` to -`limit`. Coordinates beyond them are ignored.
  explicit Box(double limit) : min{limit, limit, limit}, max{-limit, -limit, -limit} {}

  void Add(const VgeTVector& p) {
    if (p.x < min.x) min.x = p.x;
    if (p.y < min.y) min.y = p.y;
    if (p.z < min.z) min.z = p.z;
    if (p.x > max.x) max.x = p.x;
    if (p.y > max.y) max.y = p.y;
    if (p.z > max.z) max.z = p.z;
  }

  VgeTVector Centre() const { return {(min.x + max.x) / 2, (min.y + max.y) / 2, (min.z + max.z) / 2}; }
};

/// The limit of the boxes that do not start from infinity: 100 km in millimetres.
inline constexpr double kFarAway = 1e8;

} // namespace mien::detail
