#pragma once

// What the ways of finding volumes share. Not installed.

#include "mien/actor/part.h"
#include "mien/base/affine.h"

namespace mien {

/// The parts' indices, and for each side's parts their counterparts.
enum Part { Mouth, LeftBrow, RightBrow, LeftEye, RightEye, LeftCheek, RightCheek, LeftNostril, RightNostril };

/// A volume: the identity's axes, each scaled, around `centre`. Volumes are never turned: the take is.
inline VgeAMatrix Volume(const VgeSVector& size, const VgeTVector& centre) {
  VgeAMatrix volume;
  volume.m[0][0] = size.x;
  volume.m[1][1] = size.y;
  volume.m[2][2] = size.z;
  SetColumn(volume, 3, centre);
  return volume;
}

/// A box around points, inside out until it has seen one. A NaN coordinate is passed over.
struct Box {
  VgeTVector min, max;

  /// An empty box between `limit` and -`limit`, which therefore has to lie beyond every coordinate.
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

/// Beyond every coordinate of a take, whatever its units.
inline constexpr double kBeyondAnyTake = 1e8;

} // namespace mien
