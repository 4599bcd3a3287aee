#pragma once

#include "host/animation/csv_animation_writer.h"

#include <optional>
#include <ostream>

namespace mien {

/// One row per frame: `frame`, `time` in seconds, `timecode` where the layout has one, and a column per template, named
/// Part.Template ("Mouth.Open"), or per shape of the character, by its name, which stands in quotes where it has a comma, a
/// quote or a line break. Numbers are written with the fewest digits that read back to the same doubles.
class WeightCsvWriter : public CsvAnimationWriter {
public:
  /// `weights`: which of them. Writes the header. `out` must outlive this.
  WeightCsvWriter(const AnimationLayout& layout, WeightKind weights, std::ostream& out);

  void Frame(const AnimationFrame& frame) override;

private:
  WeightKind weights_;
  std::optional<Timecode> timecode_;
  std::optional<double> first_time_; // of the first frame, once it came
};

} // namespace mien
