#pragma once

#include "host/weights/weight_take.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string_view>
#include <vector>

namespace mien {

/// How the head and the eyes are turned in one result of a tracker, as its JSON has them: a matrix of the head, as web
/// trackers write it, or angles as phone apps do.
struct ResultPose {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  std::vector<double> matrix; ///< the 16 elements in the file's order; empty without one
  bool in_rows = false;       ///< they are a list of four lists
  std::array<std::array<double, 3>, 3> angles = {
      {{kNone, kNone, kNone}, {kNone, kNone, kNone}, {kNone, kNone, kNone}}};
  bool has_position = false; ///< of the head, in a unit that is not known

  /// Reads a number of an object within the result: `member` x, y or z of `object`, a key in small letters without
  /// underscores. Ignores any other.
  void Read(std::string_view object, std::string_view member, double value);

  bool IsEmpty() const;
};

/// Whether a key, in small letters without underscores, is one of matrices of the head.
bool IsMatrixKey(std::string_view key);

/// Sets a take's heads, their places and the eyes from the pose of each result, and notes what was assumed and
/// ignored. Does nothing if no result has one. `order`, if not empty, is the place of each frame in the file.
///
/// A matrix turns a face that looks at the camera (x to its left, y up, z out of it) and moves it by
/// centimetres in front of a camera that looks along -z. It is read by columns, or if it is in rows by rows, unless
/// its last row and column show the other. Places are from that of the first frame with a matrix.
///
/// Angles are in degrees: x is the pitch downward, y the yaw to the performer's left, z the roll towards the right
/// shoulder.
void SetPoses(const std::vector<ResultPose>& poses, const std::vector<std::size_t>& order, WeightTake& take);

} // namespace mien
