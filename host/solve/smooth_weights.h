#pragma once

#include "host/base/long_vector.h"
#include "host/takes/frame_rate.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mien {

/// Removes motion above `cutoff_hz`, without delay, from each column of weights (size: frames x columns).
/// Frames whose numbers skip some begin anew.
void SmoothWeights(LongVector<double>& weights, std::size_t columns, std::span<const std::int64_t> frames,
                   const FrameRate& rate, double cutoff_hz);

} // namespace mien
