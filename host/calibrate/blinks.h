#pragma once

#include "host/animation/animation.h"
#include "host/performer/calibration.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace mien {

/// A blink: both lids close and open again within half a second.
struct Blink {
  std::size_t take = 0;
  std::size_t frame = 0;            ///< of the lids' lowest point, by its place in the take
  double strength = 0;              ///< how far the mean of the lids rises from before and falls again
  std::array<double, 2> peaks = {}; ///< of the left and the right lid; 0 for an eye that is not measured
};

/// The blinks of a performer's takes.
///
/// A blink is where the mean of the eyes' Close is the largest from 0.25 s before to 0.4 s after it, and has
/// risen and falls again by at least 0.05 within these. Each lid takes part with at least half of what the
/// other one does. Of these motions blinks are the strong ones, with at least half of the strength of a usual
/// blink: the median of those that have half of the fourth strongest. What is weaker is a glance, a twitch or
/// noise.
///
/// The lids are the templates LeftEye.Close and RightEye.Close, or the shapes eyeBlinkLeft and eyeBlinkRight,
/// which every take has for the eyes that are measured. `eyes`: whether the left and the right one are.
/// Nothing is measured across dropped frames.
std::vector<Blink> FindBlinks(const std::vector<Animation>& takes, const std::array<bool, 2>& eyes,
                              WeightKind kind = WeightKind::Templates);

/// The range of an eye, and what the 95th percentile of the quiet frames reads by it.
struct BlinkRange {
  Range range;
  double quiet = 0;
};

/// The ranges of the left and the right lid that the blinks show: none without blinks and for an eye
/// without markers.
///
/// A blink reads 1: `high` is the median of the peaks. Between blinks the lids read 0: `low` is the median of
/// the quiet frames, which are those that do not belong to a blink. (A blink ends where the mean of the lids
/// crosses half of its height, and 0.1 s are added on both sides.) A higher low would make glances read less,
/// but cuts off the beginning of each blink and lowers the correlation with the face's motion.
///
/// Trusted are at least four blinks
///
/// - whose lids travel by a tenth of the template or more, about a millimetre;
/// - that rise from open lids and fall back to them: by three quarters of the height that is read, or more;
/// - next to which noise is small: 30 % at most. It is the 95th percentile of what quiet frames are away from
///   their median over half a second;
/// - whose median is known to 15 % (its standard error).
std::vector<BlinkRange> BlinkRanges(const std::vector<Animation>& takes, const std::vector<Blink>& blinks,
                                    const std::array<bool, 2>& eyes, WeightKind kind = WeightKind::Templates);

/// The names of the left and the right lid's weight.
std::array<std::string_view, 2> LidNames(WeightKind kind);

} // namespace mien
