#pragma once

#include "host/animation/animation.h"
#include "host/calibrate/pose_marks.h"
#include "host/performer/calibration.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <string>
#include <vector>

namespace mien {

/// The ranges that the poses of a guided take show, for each template (or each of the 52 shapes) that a marked
/// pose shows, in the order of the take's.
///
/// The level of a recording of a pose is the median of its frames. Of several recordings those count that
/// reach at least half of the strongest, so that the two sides may also be recorded one after the other;
/// `high` is the median of their levels. `low` is the median over the frames at rest, 0 without any.
///
/// Trusted where the weight moves by at least a tenth, is seen in at least five frames, is held (the
/// medians of the two halves of a recording are within 30 % of each other), and noise leaves the level
/// uncertain by at most 15 % (its standard error).
std::vector<Range> GuidedRanges(const Animation& take, const std::vector<PoseMark>& marks,
                                WeightKind kind = WeightKind::Templates);

/// The poses as they were recorded: the face's markers in the head's frame. `animation` is the solved `take`.
///
/// Throws InputError if in one of them, except in that at rest, no marker is a millimetre or more from its
/// place at rest (without a recording of that, on the neutral face). `file`: the name of the marks, for the
/// message.
std::vector<CalibrationRecord::Pose> RecordPoses(const Take& take, const Animation& animation,
                                                 const Performer& performer, const NeutralPose& neutral,
                                                 const std::vector<PoseMark>& marks, const std::string& file);

} // namespace mien
