#pragma once

#include "host/animation/animation.h"
#include "host/base/long_vector.h"
#include "host/takes/frame_rate.h"

#include <string>
#include <vector>

namespace mien {

/// Gives a solved take frames at this rate, numbered from 1, from its first time up to its last; its timecode
/// stays. It is for an animation without shapes and clusters of a character, which SolveCharacter makes of the
/// new frames, and for one that has shapes alone.
///
/// Between the old frames, weights, angles of the eyes and the head's place are on the monotone cubic of
/// Fritsch and Butland (1984), which keeps within its two neighbours: nothing overshoots, and a straight line
/// stays one. The head turns on a curve of the same slopes, which takes the shorter way round; about one
/// axis it is the monotone cubic of the angle.
///
/// `fitted`, unless null, are more weights of each frame, and are resampled as well. Throws InputError for more
/// than 10 million frames; `file` is the name for the message.
void Resample(Animation& animation, const FrameRate& rate, const std::string& file,
              LongVector<double>* fitted = nullptr);

} // namespace mien
