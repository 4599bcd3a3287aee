#pragma once

#include "host/animation/csv_animation_writer.h"
#include "host/character/arkit_names.h"

#include <array>
#include <cstddef>
#include <optional>
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
/// eyes are 0: the face has no gaze.
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
  std::array<std::vector<std::size_t>, kArkitNames.size()> columns_; // the shapes that mean each of the 52
  double start_ = 0;                                                 // added to a frame's time
};

} // namespace mien
