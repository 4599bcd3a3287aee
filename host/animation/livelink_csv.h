#pragma once

#include "host/animation/arkit_columns.h"
#include "host/animation/csv_animation_writer.h"

#include <ostream>
#include <string>
#include <vector>

namespace mien {

/// The CSV that phone face-capture apps write: Timecode, BlendShapeCount, the 52 shapes in their fixed order,
/// then the angles of head and eyes.
///
/// Timecode is HH:MM:SS:FF.fff with 60 counts per second whatever the take's rate, the take's own time since
/// midnight. A column has the shape of the animation that means its name (FindArkitName), or the mean of its
/// two halves; 0 without one. The head's angles are radians from the neutral pose, with roll applied first:
/// yaw is positive to its own left, pitch downward, roll towards its own right shoulder. The angles of the
/// eyes are 0 where the animation does not have them.
class LiveLinkCsvWriter : public CsvAnimationWriter {
public:
  /// Writes the header. `layout` and `out` must outlive this.
  LiveLinkCsvWriter(const AnimationLayout& layout, std::ostream& out);

  /// Those of the 52 names that no shape of the layout means, in their order.
  std::vector<std::string> Missing() const;

private:
  void Begin(const AnimationFrame& first) override;
  void AppendRow(Rows& rows, const AnimationFrame& frame) const override;

  const AnimationLayout& layout_;
  const ArkitColumns columns_;
  double start_ = 0; // added to a frame's time
};

} // namespace mien
