#pragma once

#include "host/formats/csv.h"
#include "host/takes/gaze.h"
#include "host/takes/take.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <optional>

namespace mien {

/// The columns of a table that say where the eyes look, all in radians. Either
///
/// - `gaze_angle_x`, `gaze_angle_y`, as trackers of landmarks write them: the direction (tan x, tan y, -1) in
///   the camera's axes (x to the image's right, y down, z away), which is (tan x, -tan y, 1) in the take's;
///   or
/// - `LeftEyeYaw`, `LeftEyePitch`, `RightEyeYaw`, `RightEyePitch`, as phone apps write them: the eyes against
///   the head, yaw positive to the performer's right, pitch positive down.
///
/// A table with both is read by the second.
class GazeColumns {
public:
  GazeColumns() = default;
  explicit GazeColumns(const CsvReader& csv);

  /// The axes of the directions; nothing if the table has no such columns, or not all of them.
  std::optional<GazeAxes> Axes() const { return axes_; }

  /// Whether this is one of the columns.
  bool Has(std::size_t column) const;

  /// The directions in the current row. A field that is empty or NaN, or an angle beyond 80 degrees, at which
  /// no eye looks, gives none.
  Gaze Read(CsvReader& csv) const;

private:
  std::optional<GazeAxes> axes_;
  std::array<std::size_t, 4> columns_ = {}; // of Take axes two
  std::size_t count_ = 0;
};

/// The same columns for a table that is written: their names and each frame's fields, each after a comma.
/// Without gaze nothing.
void AppendGazeHeader(const Take& take, fmt::appender to);
void AppendGaze(const Take& take, std::size_t frame, fmt::appender to);

} // namespace mien
