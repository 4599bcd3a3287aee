#pragma once

#include "host/animation/animation.h"
#include "host/base/error.h"
#include "host/calibrate/pose_marks.h"
#include "host/performer/calibration.h"
#include "host/performer/performer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What takes show of one template.
struct TemplateCalibration {
  std::string name;                 ///< "LeftEye.Close"
  std::optional<Range> range = {};  ///< nothing if it was not seen
  std::string why_none = {};        ///< then: "no markers"
  std::optional<double> quiet = {}; ///< of a range from blinks: what the 95th percentile between them reads
};

/// What the takes of a performer, solved without ranges, show of every template. `guided`: the marks of the
/// first take, may be empty. A trusted range from a guided pose takes precedence over one from blinks, and a
/// trusted one over one that is not.
///
/// Throws InputError where no range is trusted.
std::vector<TemplateCalibration> Calibrate(const std::vector<Animation>& takes, const Performer& performer,
                                           const std::vector<PoseMark>& guided);

/// The ranges of those that have one, as a performer file keeps them: ends rounded to four decimals, without
/// those that are narrower than a file permits.
std::vector<Range> RangesOf(const std::vector<TemplateCalibration>& templates);

} // namespace mien
