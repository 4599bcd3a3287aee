#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

namespace mien {

/// Gives a take without missing values frames at this rate, numbered from 1, from its first time up to its
/// last; its timecode stays. Between the file's frames, weights and angles are on the monotone cubic of
/// Fritsch and Butland (1984), which keeps within its two neighbours: nothing overshoots, and a straight line
/// stays one. Throws InputError for more than 10 million frames.
void Resample(WeightTake& take, const FrameRate& rate);

} // namespace mien
