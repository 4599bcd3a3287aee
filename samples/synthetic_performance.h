#pragma once

// A performer and a performance that exist in arithmetic alone: template weights are decided, a face follows
// them, markers follow the face, the head moves, the cameras are a little noisy. So of these two takes, unlike
// of any recorded one, the right answer is known.

#include "host/animation/animation.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <map>
#include <string>

namespace mien::samples {

/// What is performed: 12 seconds at 30 Hz. First every template by itself, left before right where there are
/// two; from frame 263 on talk, with blinks, a smile and raised brows. The eyes are open and the lips together
/// in more than half of the frames. `heads` is empty.
Animation KnownWeights();

/// How it is filmed. The noise is the same either way.
enum class Head { Moves, Still };

/// As a tracker of face landmarks sees it: the markers lm0 to lm67, in the axes of ReadLandmarkCsv. The face is
/// lost in a few frames.
Take FilmLandmarks(Head head = Head::Moves);

/// As an optical system sees it: 45 markers on the face and 5 on the head, in a room whose z is up and to
/// whose axes the performer does not keep. A few markers have gaps.
Take FilmMarkers(Head head = Head::Moves);

/// For FilmMarkers. Its neutral pose is to be found in the take.
Performer MarkerPerformer();

/// The generated files of this folder, each whole, by name.
std::map<std::string, std::string> SampleFiles();

} // namespace mien::samples
