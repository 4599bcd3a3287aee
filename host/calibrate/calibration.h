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

/// What takes show of one template, or of one of a recording's weights.
struct TemplateCalibration {
  std::string name;                 ///< "LeftEye.Close", "eyeBlinkLeft"
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

/// The same of every weight of recordings without missing values: of the shapes of the first take, or of
/// its templates. A lid that a take lacks is not measured on blinks. Throws InputError where no range is trusted.
std::vector<TemplateCalibration> CalibrateWeights(const std::vector<Animation>& takes, WeightKind kind,
                                                  const std::vector<PoseMark>& guided);

/// The ranges of those that have one, as files keep them: ends rounded to four decimals, without
/// those that are narrower than a file permits.
std::vector<Range> RangesOf(const std::vector<TemplateCalibration>& templates);

} // namespace mien
