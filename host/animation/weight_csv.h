#pragma once

#include "host/animation/csv_animation_writer.h"

#include <optional>
#include <ostream>

namespace mien {

/// Writes one row per frame: `frame`, `time` in seconds, `timecode` if the layout has one, and a column per
/// template, named Part.Template ("Mouth.Open"), or per shape of the character, by its name. A name with a
/// comma, a quote or a line break is quoted. Numbers are written with the fewest digits that read back to the
/// same doubles.
class WeightCsvWriter : public CsvAnimationWriter {
public:
  /// Writes the header. `weights` selects templates or shapes. `out` must outlive this.
  WeightCsvWriter(const AnimationLayout& layout, WeightKind weights, std::ostream& out);

private:
  void Begin(const AnimationFrame& first) override;
  void AppendRow(Rows& rows, const AnimationFrame& frame) const override;

  WeightKind weights_;
  std::optional<Timecode> timecode_;
  double timecode_offset_s_ = 0; // of the first frame
  double first_time_ = 0;        // of the first frame
};

} // namespace mien
